// Numbers as settings files spell them: decimal, with a point, in whatever country.
#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace vxt {

/// The whole text, white space around it apart, as a number; nothing for what is none, not finite or out of range.
std::optional<double> g_ParseNumber(std::wstring_view sText);

inline constexpr size_t kNumberSize = 32;  ///< with the terminating zero
/// The shortest text that reads back as the same finite number.
void g_FormatNumber(double dNumber, std::span<wchar_t, kNumberSize> Text);

}  // namespace vxt
