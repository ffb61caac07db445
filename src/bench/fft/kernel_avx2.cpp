// The step with AVX2 and FMA. Compiled with these instructions (src/CMakeLists.txt): include nothing that has code.
#include "bench/fft/kernel.h"
#include "bench/fft/vector_avx2.h"
// Below the vectors it is written over.
#include "bench/fft/kernel_passes.h"

namespace vxt::fft {

// 32-bit Windows aligns a thread's stack to 4 bytes only.
[[gnu::force_align_arg_pointer]] bool g_StepAvx2(CStepFrame& rFrame, EChecks eChecks) {
    return g_Step(rFrame, eChecks);
}

}  // namespace vxt::fft
