// The CPUID instruction on the processor that the calling thread runs on.
#pragma once

#include <cstdint>

namespace vxt::platform {

struct CCpuidRegisters {
    uint32_t uEax, uEbx, uEcx, uEdx;
};

CCpuidRegisters Cpuid(uint32_t uLeaf);

}  // namespace vxt::platform
