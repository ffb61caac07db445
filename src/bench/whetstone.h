// The Whetstone benchmark (H. J. Curnow, B. A. Wichmann, Computer Journal 19, 1976): floating-point work in the proportions
// that scientific programs of its time had.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vxt {

/// What a module leaves: up to four numbers, then zeros.
using CWhetstoneValues = std::array<double, 4>;
inline constexpr size_t kWhetstoneModules = 7;
using CWhetstoneResults = std::array<CWhetstoneValues, kWhetstoneModules>;

/// Runs every module `uLoops` times its weight.
CWhetstoneResults g_RunWhetstone(uint32_t uLoops);

/// Within 1e-9 of each number: mathematical libraries and registers of 80 bits change the last digits.
bool g_IsSame(const CWhetstoneResults& rFound, const CWhetstoneResults& rExpected);

}  // namespace vxt
