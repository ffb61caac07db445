// Device registers mapped into this process: each call is exactly one 32-bit access, neither merged with others nor moved
// past them. `ullAddress` is a multiple of 4 inside a mapping that the driver made for this process and that still exists;
// anything else ends the process. Never fails, takes no lock.
#pragma once

#include <cstdint>

namespace vxt::platform {

uint32_t ReadMapped(uint64_t ullAddress);
void WriteMapped(uint64_t ullAddress, uint32_t uValue);

}  // namespace vxt::platform
