// Device registers mapped into this process: each call is exactly one 32-bit access.
#pragma once

#include <cstdint>

namespace vxt::platform {

uint32_t ReadMapped(uint64_t ullAddress);
void WriteMapped(uint64_t ullAddress, uint32_t uValue);

}  // namespace vxt::platform
