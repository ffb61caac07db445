// Texts of the machine as a machine file holds them.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace vxtdiag {

template <class TChar> std::string g_LineOf(std::basic_string_view<TChar> sText) {
    std::string sLine;
    for (const TChar c : sText) sLine += c >= ' ' && c <= '~' ? static_cast<char>(c) : '?';
    const size_t uBegin = std::min(sLine.find_first_not_of(' '), sLine.size());
    return sLine.substr(uBegin, sLine.find_last_not_of(' ') + 1 - uBegin);
}

/// One line: printable ASCII without blanks at its ends; what it cannot hold becomes a question mark.
inline std::string g_Line(std::string_view sText) { return g_LineOf(sText); }
inline std::string g_Line(std::wstring_view sText) { return g_LineOf(sText); }

}  // namespace vxtdiag
