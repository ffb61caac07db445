#include "platform/cpuid.h"

#include "platform/simulated/simulated_machine.h"

namespace vxt::platform {

CCpuidRegisters Cpuid(uint32_t uLeaf) {
    const vxtsim::CCpuidResult Result = simulated::g_GetMachine().Cpuid(0, uLeaf);
    return {Result.uEax, Result.uEbx, Result.uEcx, Result.uEdx};
}

}  // namespace vxt::platform
