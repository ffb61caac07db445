#include "common/markup.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>

#include "common/text.h"

namespace vxttools {
namespace {

constexpr double kMostSteps = 9;  ///< of an axis
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/// A character in UTF-8. Unicode 15, table 3-7: no detours, no surrogates, nothing beyond 10FFFFh.
struct CCharacter {
    char32_t uCode;
    size_t uLength;  ///< bytes; 0: none is there
};
CCharacter g_First(std::string_view sText) {
    const auto Byte = [&](size_t i) { return i < sText.size() ? static_cast<uint8_t>(sText[i]) : 0u; };
    const uint32_t uLead = Byte(0);
    if (uLead < 0x80) return {uLead, 1};
    const size_t uLength = uLead >= 0xF0 ? 4 : uLead >= 0xE0 ? 3 : 2;
    if (uLead < 0xC2 || uLead > 0xF4) return {0, 0};
    char32_t uCode = uLead & (0xFFu >> (uLength + 1));
    for (size_t i = 1; i < uLength; ++i) {
        if ((Byte(i) & 0xC0) != 0x80) return {0, 0};
        uCode = uCode << 6 | (Byte(i) & 0x3F);
    }
    constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool bIsOne = uCode >= kLeast[uLength] && uCode <= 0x10FFFF && !(uCode >= 0xD800 && uCode < 0xE000);
    return bIsOne ? CCharacter{uCode, uLength} : CCharacter{0, 0};
}

/// What neither HTML nor XML 1.0 has a way to write.
bool g_IsNone(char32_t uCode) {
    return (uCode >= 0x7F && uCode < 0xA0) || (uCode & 0xFFFE) == 0xFFFE || (uCode >= 0xFDD0 && uCode < 0xFDF0);
}

}  // namespace

std::string g_Markup(std::string_view sText) {
    std::string sMarkup;
    while (!sText.empty()) {
        const auto [uCode, uLength] = g_First(sText);
        if (uLength == 0 || g_IsNone(uCode))
            sMarkup += kReplacement;
        else if (uCode < ' ')
            sMarkup += ' ';
        else if (uCode == '&')
            sMarkup += "&amp;";
        else if (uCode == '<')
            sMarkup += "&lt;";
        else if (uCode == '>')
            sMarkup += "&gt;";
        else if (uCode == '"')
            sMarkup += "&quot;";
        else if (uCode == '\'')
            sMarkup += "&#39;";
        else
            sMarkup += sText.substr(0, uLength);
        sText.remove_prefix(std::max<size_t>(uLength, 1));
    }
    return sMarkup;
}

std::string g_At(double d) { return g_Trimmed(d, 1); }

std::string g_MoveTo(double dX, double dY) { return "M" + g_At(dX) + " " + g_At(dY); }

std::string g_SvgText(double dX, double dY, const std::string& sText, const char* pszClass) {
    return "<text class=\"" + std::string(pszClass) + "\" x=\"" + g_At(dX) + "\" y=\"" + g_At(dY) + "\">" +
           g_Markup(sText) + "</text>\n";
}

std::string g_SvgPath(const std::string& sClass, const std::string& sWay, const std::string& sTitle) {
    return "<path class=\"" + sClass + "\" d=\"" + sWay + "\"" +
           (sTitle.empty() ? "/>\n" : "><title>" + g_Markup(sTitle) + "</title></path>\n");
}

std::string g_TimeText(double dSeconds, bool bHours) {
    const auto ullSeconds = static_cast<uint64_t>(std::llround(dSeconds));
    const auto Two = [](uint64_t ull) { return (ull < 10 ? ":0" : ":") + std::to_string(ull); };
    const uint64_t ullHours = ullSeconds / 3600, ullMinutes = ullSeconds / 60 % 60;
    return (ullHours || bHours ? std::to_string(ullHours) + Two(ullMinutes) : std::to_string(ullMinutes)) +
           Two(ullSeconds % 60);
}

double g_AxisStep(double dRange, double dLeast) {
    double dStep = std::pow(10, std::floor(std::log10(std::max(dRange / kMostSteps, dLeast))));
    for (const double dFactor : {1, 2, 5, 10})
        if (dRange / (dStep * dFactor) <= kMostSteps) return dStep * dFactor;
    return dStep * 10;
}

double g_TimeStep(double dRange) {
    constexpr double kSteps[] = {1, 2, 5, 10, 20, 30, 60, 120, 300, 600, 1200, 1800, 3600, 7200, 21600};
    const auto it = std::ranges::find_if(kSteps, [&](double d) { return dRange / d <= kMostSteps; });
    return it != std::end(kSteps) ? *it : 86400 * std::ceil(dRange / kMostSteps / 86400);
}

}  // namespace vxttools
