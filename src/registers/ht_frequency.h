// The frequency register of a HyperTransport link: both ends of a link lay it out alike.
// Source: HyperTransport I/O Link 3.0, 7.5 (link frequency, link frequency capability).
#pragma once

#include <bit>

#include "registers/value_table.h"

namespace vxt::ht {

/// Link clock in units of 200 MHz. Kept: the half units of codes 1 and 3 are not offered; 15 is the maker's.
inline constexpr double kFrequencyValues[] = {1, kReserved, 2,  kReserved, 3,  4,  5,         6,          7,
                                              8, 9,         10, 11,        12, 13, kReserved, kEndOfTable};
inline constexpr CValueTable kFrequencies(kFrequencyValues);
inline constexpr double kTolerance = 1e-5;  ///< of requested frequencies and widths

/// Where word `uWord` of a block keeps the frequency's code.
consteval CRegisterField g_FrequencyField(uint8_t uWord) { return {uWord, CBitField(11, 8)}; }
static_assert(kFrequencies.Covers(g_FrequencyField(0)));
/// Bit n: code n can be set.
inline constexpr CBitField kCapabilities(30, 16);

/// The highest frequency that the register says can be set; 0.0 when it names none.
constexpr double g_MaxFrequency(uint32_t uRegister) {
    const auto uCodes = static_cast<uint32_t>(std::bit_width(kCapabilities.Get(uRegister)));
    return uCodes ? kFrequencies.Decode(uCodes - 1) : 0.0;
}

}  // namespace vxt::ht
