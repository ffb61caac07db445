// Text on its way out of the tools: UTF-8, printable, numbers without noise.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vxttools {

/// A device's text as UTF-8: UTF-16 or UTF-32, whichever wchar_t is. Broken units and control characters (a terminal
/// would obey them) become U+FFFD; blanks at both ends go. A null pointer gives an empty text.
std::string g_Utf8(const wchar_t* pszText);

/// Firmware's 8-bit identifiers: ends at the first zero byte, anything but printable ASCII becomes '?', trailing blanks
/// go.
std::string g_Printable(std::string_view sText);

/// ASCII letters in lower case, whatever the locale.
std::string g_Lower(std::string sText);

/// At most `nDecimals` digits behind the point, none of them a trailing zero.
std::string g_Trimmed(double dValue, int nDecimals);

/// A whole text that is a decimal number; nothing otherwise.
std::optional<uint32_t> g_ParseUnsigned(std::string_view sText);

/// A whole text that is a finite decimal number like "-1.25", with a point and without an exponent; nothing otherwise.
/// The one rule by which the tools take numbers from people: no blanks, no hexadecimal, no "inf".
std::optional<double> g_ParseNumber(std::string_view sText);

/// `nDigits` hexadecimal digits (more when it needs them), lower case, no prefix.
std::string g_Hex(uint64_t ullValue, int nDigits);

/// All bytes as one run of lower-case digits.
std::string g_HexString(std::span<const uint8_t> Data);

/// Lines of sixteen bytes, "00: 22 10 ...", as machine files take them back.
std::string g_HexDump(std::span<const uint8_t> Data);

/// Universal time as ISO 8601 with milliseconds, "2009-12-04T08:30:00.250Z".
std::string g_IsoTime(std::chrono::system_clock::time_point Time);
/// Of exactly that form; nothing for any other text, and for what is no time.
std::optional<std::chrono::system_clock::time_point> g_ParseIsoTime(std::string_view sText);

/// Columns a text takes on a terminal (code points; none of ours is wide).
size_t g_Width(std::string_view sUtf8);

/// A width that every text fits into.
inline constexpr size_t kUnlimited = SIZE_MAX;

/// The text in lines of at most `uWidth` columns, broken at blanks; each begins with the blanks that the text begins
/// with. Only a word that is longer stands out. A text that fits stays as it is.
std::vector<std::string> g_Wrap(const std::string& sText, size_t uWidth);
/// The same for each line of a text. What continues a line stands below its second column where it has two, apart by
/// blanks, else it is set in by two blanks more.
std::string g_WrapLines(const std::string& sText, size_t uWidth);

/// "; did you mean 'devices'?" where a known word begins with the unknown one or is a slip of the fingers away from it;
/// else empty.
std::string g_DidYouMean(const std::string& sUnknown, const std::vector<std::string>& rKnown);

}  // namespace vxttools
