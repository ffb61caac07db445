// Words of a machine file, for those who read and write it.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vxtsim {

inline constexpr std::string_view kBlanks = " \t\r";
inline constexpr uint32_t kMillion = 1'000'000;

std::string_view g_TrimLeft(std::string_view s);
std::string_view g_Trim(std::string_view s);
/// Cuts the first word off `rsText`; empty at its end.
std::string_view g_TakeWord(std::string_view& rsText);
/// A whole word of 1 to `uDigits` hexadecimal digits, with or without 0x.
std::optional<uint64_t> g_Hex(std::string_view sWord, size_t uDigits);
/// A decimal number in millionths, at most six digits on either side of the point.
std::optional<uint64_t> g_Millionths(std::string_view sWord);
/// A decimal number, a whole word of it.
std::optional<int64_t> g_Decimal(std::string_view sWord);
/// A name of a class, method or property: letters, digits and _, no digit and no __ in front.
bool g_IsName(std::string_view sText);

}  // namespace vxtsim
