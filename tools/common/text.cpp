#include "common/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <sstream>

namespace vxttools {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

void g_Append(std::string& rsText, char32_t uCode) {
    const auto Put = [&](char32_t uByte) { rsText.push_back(static_cast<char>(uByte)); };
    if (uCode < 0x80) return Put(uCode);
    if (uCode < 0x800) return Put(0xC0 | uCode >> 6), Put(0x80 | (uCode & 0x3F));
    if (uCode < 0x10000) return Put(0xE0 | uCode >> 12), Put(0x80 | (uCode >> 6 & 0x3F)), Put(0x80 | (uCode & 0x3F));
    Put(0xF0 | uCode >> 18), Put(0x80 | (uCode >> 12 & 0x3F)), Put(0x80 | (uCode >> 6 & 0x3F)),
        Put(0x80 | (uCode & 0x3F));
}

bool g_IsSurrogate(char32_t uCode) { return uCode >= 0xD800 && uCode < 0xE000; }
bool g_IsControl(char32_t uCode) { return uCode < 0x20 || (uCode >= 0x7F && uCode < 0xA0); }

/// Next code point at `rpszText`, which is advanced.
char32_t g_Next(const wchar_t*& rpszText) {
    const auto Unit = [](wchar_t cUnit) {
        return sizeof(wchar_t) == 2 ? static_cast<char32_t>(static_cast<uint16_t>(cUnit))
                                    : static_cast<char32_t>(cUnit);
    };
    const char32_t uFirst = Unit(*rpszText++);
    if (uFirst < 0xD800 || uFirst >= 0xDC00) return g_IsSurrogate(uFirst) || uFirst > 0x10FFFF ? kReplacement : uFirst;
    if (sizeof(wchar_t) != 2) return kReplacement;
    const char32_t uSecond = Unit(*rpszText);
    if (uSecond < 0xDC00 || uSecond >= 0xE000) return kReplacement;
    ++rpszText;
    return 0x10000 + ((uFirst - 0xD800) << 10) + (uSecond - 0xDC00);
}

std::string g_Format(const char* pszFormat, auto... Arguments) {
    char szText[400];  // the longest double has 309 digits before the point
    const int nLength = std::snprintf(szText, sizeof szText, pszFormat, Arguments...);
    return std::string(szText, static_cast<size_t>(std::clamp(nLength, 0, static_cast<int>(sizeof szText) - 1)));
}

/// How many letters have to be put in, left out, replaced or swapped with their neighbour to make one of the other.
size_t g_Distance(const std::string& a, const std::string& b) {
    std::vector<std::vector<size_t>> Cost(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i)
        for (size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                Cost[i][j] = i + j;
                continue;
            }
            const bool bSame = a[i - 1] == b[j - 1];
            Cost[i][j] = std::min({Cost[i - 1][j] + 1, Cost[i][j - 1] + 1, Cost[i - 1][j - 1] + !bSame});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                Cost[i][j] = std::min(Cost[i][j], Cost[i - 2][j - 2] + 1);
        }
    return Cost[a.size()][b.size()];
}

}  // namespace

std::string g_Utf8(const wchar_t* pszText) {
    std::string sText;
    if (!pszText) return sText;
    while (*pszText) {
        const char32_t uCode = g_Next(pszText);
        g_Append(sText, g_IsControl(uCode) ? kReplacement : uCode);
    }
    const size_t uBegin = sText.find_first_not_of(' ');
    return uBegin == std::string::npos ? "" : sText.substr(uBegin, sText.find_last_not_of(' ') + 1 - uBegin);
}

std::string g_Printable(std::string_view sText) {
    std::string sPrintable(sText.substr(0, sText.find('\0')));
    for (char& rc : sPrintable)
        if (rc < 0x20 || rc > 0x7E) rc = '?';
    return sPrintable.substr(0, sPrintable.find_last_not_of(' ') + 1);
}

std::string g_Lower(std::string sText) {
    for (char& rc : sText)
        if (rc >= 'A' && rc <= 'Z') rc = static_cast<char>(rc - 'A' + 'a');
    return sText;
}

std::string g_Trimmed(double dValue, int nDecimals) {
    std::string sText = g_Format("%.*f", nDecimals, dValue);
    if (sText.find('.') != std::string::npos) sText.erase(sText.find_last_not_of('0') + 1);
    if (sText.ends_with('.')) sText.pop_back();
    return sText == "-0" ? "0" : sText;
}

std::optional<uint32_t> g_ParseUnsigned(std::string_view sText) {
    uint32_t uValue = 0;
    const auto [pRest, eError] = std::from_chars(sText.data(), sText.data() + sText.size(), uValue);
    if (eError != std::errc() || pRest != sText.data() + sText.size()) return std::nullopt;
    return uValue;
}

std::optional<double> g_ParseNumber(std::string_view sText) {
    constexpr std::string_view kCharacters = "0123456789.-";  // leaves the words out that from_chars knows
    double dValue = 0;
    const auto [pRest, eError] =
        std::from_chars(sText.data(), sText.data() + sText.size(), dValue, std::chars_format::fixed);
    if (sText.find_first_not_of(kCharacters) != sText.npos || eError != std::errc() ||
        pRest != sText.data() + sText.size())
        return std::nullopt;
    return dValue;
}

std::string g_Hex(uint64_t ullValue, int nDigits) {
    return g_Format("%0*llx", nDigits, static_cast<unsigned long long>(ullValue));
}

std::string g_HexString(std::span<const uint8_t> Data) {
    std::string sText;
    for (const uint8_t ucByte : Data) sText += g_Format("%02x", ucByte);
    return sText;
}

std::string g_HexDump(std::span<const uint8_t> Data) {
    std::string sDump;
    for (size_t i = 0; i < Data.size(); ++i) {
        if (i % 16 == 0) sDump += (i ? "\n" : "") + g_Format("%02zx:", i);
        sDump += g_Format(" %02x", Data[i]);
    }
    return Data.empty() ? sDump : sDump + "\n";
}

std::string g_IsoTime(std::chrono::system_clock::time_point Time) {
    using namespace std::chrono;
    const auto Day = floor<days>(Time);
    const year_month_day Date(Day);
    const hh_mm_ss Clock(floor<milliseconds>(Time - Day));
    return g_Format("%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(Date.year()),
                    static_cast<unsigned>(Date.month()), static_cast<unsigned>(Date.day()),
                    static_cast<int>(Clock.hours().count()), static_cast<int>(Clock.minutes().count()),
                    static_cast<int>(Clock.seconds().count()), static_cast<int>(Clock.subseconds().count()));
}

std::optional<std::chrono::system_clock::time_point> g_ParseIsoTime(std::string_view sText) {
    using namespace std::chrono;
    constexpr std::string_view kForm = "dddd-dd-ddTdd:dd:dd.dddZ";
    const auto Fits = [](char cForm, char c) { return cForm == 'd' ? c >= '0' && c <= '9' : c == cForm; };
    if (!std::ranges::equal(kForm, sText, Fits)) return std::nullopt;
    const auto Part = [&](size_t uAt, size_t uDigits) { return *g_ParseUnsigned(sText.substr(uAt, uDigits)); };
    const year_month_day Day(year(static_cast<int>(Part(0, 4))), month(Part(5, 2)), day(Part(8, 2)));
    if (!Day.ok() || Part(11, 2) > 23 || Part(14, 2) > 59 || Part(17, 2) > 60)
        return std::nullopt;  // 60: a leap second
    return sys_days(Day) + hours(Part(11, 2)) + minutes(Part(14, 2)) + seconds(Part(17, 2)) + milliseconds(Part(20, 3));
}

size_t g_Width(std::string_view sUtf8) {
    return static_cast<size_t>(std::ranges::count_if(sUtf8, [](char c) { return (c & 0xC0) != 0x80; }));
}

std::vector<std::string> g_Wrap(const std::string& sText, size_t uWidth) {
    std::vector<std::string> Lines{sText};
    if (g_Width(sText) <= uWidth) return Lines;
    const std::string sIndent(std::min(sText.find_first_not_of(' '), sText.size()), ' ');
    std::istringstream Words(sText);
    Lines = {""};
    for (std::string sWord; std::getline(Words, sWord, ' ');) {
        if (sWord.empty()) continue;
        std::string& rsLine = Lines.back();
        if (rsLine.empty())
            rsLine = sIndent + sWord;
        else if (g_Width(rsLine) + 1 + g_Width(sWord) <= uWidth)
            rsLine += " " + sWord;
        else
            Lines.push_back(sIndent + sWord);
    }
    return Lines;
}

std::string g_WrapLines(const std::string& sText, size_t uWidth) {
    constexpr size_t kSetIn = 2;
    std::string sWrapped;
    std::istringstream Lines(sText);
    for (std::string sLine; std::getline(Lines, sLine);) {
        if (g_Width(sLine) <= uWidth) {
            sWrapped += sLine + "\n";
            continue;
        }
        const size_t uBegin = std::min(sLine.find_first_not_of(' '), sLine.size());
        const size_t uGap = sLine.find("  ", uBegin), uSecond = sLine.find_first_not_of(' ', uGap);
        const bool bSecond = uSecond != std::string::npos;
        const bool bBelow = bSecond && g_Width(sLine.substr(0, uSecond)) <= uWidth / 2;
        const size_t uSetIn = bBelow ? g_Width(sLine.substr(0, uSecond)) : uBegin + kSetIn;
        std::vector<std::string> Parts;
        const auto Add = [&](const std::string& sPart) {
            for (std::string& rsPart : g_Wrap(sPart, uWidth - std::min(uWidth, uSetIn))) Parts.push_back(rsPart);
        };
        if (bSecond && !bBelow) Add(sLine.substr(uBegin, uGap - uBegin));
        Add(sLine.substr(bSecond ? uSecond : uBegin));
        for (size_t i = 0; i < Parts.size(); ++i)
            sWrapped += (i ? std::string(uSetIn, ' ') : sLine.substr(0, bBelow ? uSecond : uBegin)) + Parts[i] + "\n";
    }
    return sWrapped;
}

std::string g_DidYouMean(const std::string& sUnknown, const std::vector<std::string>& rKnown) {
    const size_t uBestAllowed = std::max<size_t>(1, sUnknown.size() / 3);
    const std::string* psBest = nullptr;
    size_t uBest = uBestAllowed + 1;
    for (const std::string& rsKnown : rKnown) {
        const bool bBeginning = sUnknown.size() > 1 && rsKnown.starts_with(sUnknown);
        const size_t uDistance = bBeginning ? 0 : g_Distance(sUnknown, rsKnown);
        if (uDistance < uBest) uBest = uDistance, psBest = &rsKnown;
    }
    return psBest ? "; did you mean '" + *psBest + "'?" : "";
}

}  // namespace vxttools
