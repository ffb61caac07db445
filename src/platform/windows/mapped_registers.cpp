#include "platform/mapped_registers.h"

namespace vxt::platform {

// Volatile: one access each, neither merged nor dropped nor moved past another one.
static volatile uint32_t& g_Register(uint64_t ullAddress) {
    return *reinterpret_cast<volatile uint32_t*>(static_cast<uintptr_t>(ullAddress));
}

uint32_t ReadMapped(uint64_t ullAddress) { return g_Register(ullAddress); }

void WriteMapped(uint64_t ullAddress, uint32_t uValue) { g_Register(ullAddress) = uValue; }

}  // namespace vxt::platform
