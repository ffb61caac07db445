#include "writer.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>

namespace vxtsim {

namespace {

constexpr size_t kDumpLine = 16;
constexpr char kDigits[] = "0123456789ABCDEF";

}  // namespace

template <int nDigits> std::string g_HexText(uint32_t uValue) {
    char szText[16];
    std::snprintf(szText, sizeof(szText), "%0*X", nDigits, uValue);
    return szText;
}
template std::string g_HexText<1>(uint32_t);
template std::string g_HexText<2>(uint32_t);
template std::string g_HexText<4>(uint32_t);
template std::string g_HexText<8>(uint32_t);

std::string g_ValueText(bool bFlag) { return bFlag ? "1" : "0"; }
std::string g_ValueText(const std::string& rsText) { return rsText; }
std::string g_TextsText(const std::vector<std::string>& rTexts) {
    return g_Joined(rTexts, '|', [](const std::string& rsText) { return rsText; });
}
std::string g_BytesText(const std::vector<uint8_t>& rBytes) { return g_Joined(rBytes, ' ', g_HexText<2>); }

void CMachineWriter::Heading(const std::string& sHeading) {
    if (!m_sText.empty()) m_sText += '\n';
    m_sText.append("[").append(sHeading).append("]\n");
}

void CMachineWriter::Line(std::string_view sKey, const std::string& sText) {
    const size_t uBegin = m_sText.size();
    m_sText.append(sKey).append(" = ").append(sText);
    std::replace(m_sText.begin() + static_cast<ptrdiff_t>(uBegin), m_sText.end(), '\n', ' ');
    m_sText += '\n';
}

void CMachineWriter::Dump(const std::vector<uint8_t>& rData) {
    for (size_t uLine = 0; uLine < rData.size(); uLine += kDumpLine) {
        const auto itBegin = rData.begin() + static_cast<ptrdiff_t>(uLine);
        const auto itEnd = rData.begin() + static_cast<ptrdiff_t>(std::min(uLine + kDumpLine, rData.size()));
        if (itEnd != rData.end() && std::all_of(itBegin, itEnd, [](uint8_t c) { return c == 0; })) continue;
        m_sText += g_HexText<2>(static_cast<uint32_t>(uLine)) + ":";
        std::for_each(itBegin, itEnd, [this](uint8_t c) { m_sText += {' ', kDigits[c >> 4], kDigits[c & 15]}; });
        m_sText += '\n';
    }
}

}  // namespace vxtsim
