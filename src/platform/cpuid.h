// The CPUID instruction on the processor that the calling thread runs on.
#pragma once

#include <cstdint>

namespace vxt::platform {

struct CCpuidRegisters {
    uint32_t uEax, uEbx, uEcx, uEdx;
};

/// Subleaf 0. Never fails: a leaf that the processor lacks answers what the processor answers. Which processor that is the
/// calling thread's affinity decides (thread.h).
CCpuidRegisters Cpuid(uint32_t uLeaf);

}  // namespace vxt::platform
