#include "system_id.h"

#include <algorithm>
#include <string_view>

#include "common/text.h"

namespace vxtctl {
namespace {

constexpr const char* kAddress = "(address)";

bool g_IsHex(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'); }
bool g_IsAlphanumeric(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

/// Words of twelve hexadecimal digits, the form of 48-bit addresses; what stands in braces is a class's number, the same
/// everywhere.
std::string g_WithoutAddresses(std::string_view sPart) {
    constexpr size_t kDigits = 12;
    std::string sClean;
    bool bInBraces = false;
    while (!sPart.empty()) {
        const auto itEnd = std::ranges::find_if_not(sPart, g_IsAlphanumeric);
        const std::string_view sWord = sPart.substr(0, std::max<size_t>(static_cast<size_t>(itEnd - sPart.begin()), 1));
        if (sWord == "{" || sWord == "}") bInBraces = sWord == "{";
        const bool bIsAddress = !bInBraces && sWord.size() == kDigits && std::ranges::all_of(sWord, g_IsHex);
        sClean += bIsAddress ? kAddress : sWord;
        sPart.remove_prefix(sWord.size());
    }
    return sClean;
}

}  // namespace

std::string g_SystemId(const wchar_t* pszId, bool bSerials) {
    constexpr std::string_view kRadio = "bth", kRadioDevice = "dev_";
    const std::string sId = vxttools::g_Utf8(pszId);
    const size_t uLast = bSerials ? sId.npos : sId.rfind('\\');
    if (uLast == sId.npos) return sId;
    const bool bIsRadio = vxttools::g_Lower(sId).starts_with(kRadio);
    std::string sShown;
    for (size_t uBegin = 0; uBegin < uLast;) {
        const size_t uEnd = std::min(sId.find('\\', uBegin), uLast);
        const std::string sPart = sId.substr(uBegin, uEnd - uBegin);
        const bool bIsAddress = bIsRadio && vxttools::g_Lower(sPart).starts_with(kRadioDevice);
        sShown += (sShown.empty() ? "" : "\\") +
                  (bIsAddress ? sPart.substr(0, kRadioDevice.size()) + kAddress : g_WithoutAddresses(sPart));
        uBegin = uEnd + 1;
    }
    return sShown;
}

}  // namespace vxtctl
