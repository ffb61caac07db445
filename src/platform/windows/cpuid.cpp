#include "platform/cpuid.h"

#include <cpuid.h>

namespace vxt::platform {

CCpuidRegisters Cpuid(uint32_t uLeaf) {
    CCpuidRegisters Registers{};
    __cpuid_count(uLeaf, 0, Registers.uEax, Registers.uEbx, Registers.uEcx, Registers.uEdx);
    return Registers;
}

}  // namespace vxt::platform
