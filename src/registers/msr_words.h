// A 64-bit model-specific register, as its two halves cross the driver.
#pragma once

#include <array>

#include "registers/bit_field.h"

namespace vxt {

using CMsrWords = std::array<uint32_t, 2>;  ///< low half first

/// Bits [uHigh:uLow] of a 64-bit register held as two words.
consteval CRegisterField g_WideBits(uint8_t uHigh, uint8_t uLow) {
    if (uHigh / 32 != uLow / 32) throw "the field crosses the halves";
    return {static_cast<uint8_t>(uLow / 32), CBitField(uHigh % 32, uLow % 32)};
}

}  // namespace vxt
