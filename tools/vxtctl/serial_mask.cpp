#include "serial_mask.h"

#include <algorithm>

#include "common/text.h"
#include "device_kinds.h"

namespace vxtctl {

using vxttools::CJson;
using vxttools::g_Lower;

namespace {

constexpr const char* kMark = "(serial)";
constexpr const char* kSerialKeys[] = {"serial_number", "serial_text", "world_wide_name"};

bool g_IsDigit(char c) { return c >= '0' && c <= '9'; }

/// A fact, or a text by itself.
std::string g_Told(const CJson& rSerial) {
    const CJson& rValue = rSerial.IsObject() ? rSerial["value"] : rSerial;
    return rValue.IsNull() ? "" : g_Lower(vxttools::g_Cell(rValue));
}

/// Whether the characters there are a word of their own: a number amid a longer one is another one.
bool g_IsApart(const std::string& sText, size_t uBegin, size_t uEnd) {
    return (uBegin == 0 || !g_IsDigit(sText[uBegin - 1])) && (uEnd == sText.size() || !g_IsDigit(sText[uEnd]));
}

}  // namespace

CSerialMask::CSerialMask(const CHostLibrary& rLibrary) {
    constexpr size_t kShortest = 5;
    vxttools::CFindings Findings;  // told where the devices are
    for (const CDeviceKind& rKind : kDeviceKinds) {
        vxttools::CDocument Document("", "");
        rKind.pAdd(Document, rLibrary, Findings, true);
        for (const CJson& rDevice : std::as_const(Document)[rKind.pszKey].Items())
            for (const char* const pszKey : kSerialKeys)
                if (rDevice.Has(pszKey)) m_Serials.push_back(g_Told(rDevice[pszKey]));
    }
    std::erase_if(m_Serials, [](const std::string& rs) { return rs.size() < kShortest; });
    std::ranges::sort(m_Serials, std::ranges::greater(), &std::string::size);
}

std::string CSerialMask::Without(std::string sText) const {
    for (const std::string& rsSerial : m_Serials) {
        const bool bIsNumber = std::ranges::all_of(rsSerial, g_IsDigit);
        std::string sLower = g_Lower(sText);
        for (size_t u = 0; (u = sLower.find(rsSerial, u)) != sLower.npos;) {
            if (bIsNumber && !g_IsApart(sLower, u, u + rsSerial.size())) {
                ++u;
                continue;
            }
            sText = sText.substr(0, u) + kMark + sText.substr(u + rsSerial.size());
            sLower = g_Lower(sText);
            u += std::string_view(kMark).size();
        }
    }
    return sText;
}

vxttools::CTextTable CSerialMask::Without(vxttools::CTextTable Table) const {
    Table.sTitle = Without(std::move(Table.sTitle));
    for (std::vector<std::string>& rRow : Table.Rows)
        for (std::string& rsCell : rRow) rsCell = Without(std::move(rsCell));
    return Table;
}

}  // namespace vxtctl
