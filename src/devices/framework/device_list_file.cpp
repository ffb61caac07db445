#include "devices/framework/device_list_file.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cwctype>
#include <memory>
#include <vector>

#include "api/log/log_checks.h"
#include "platform/text.h"

namespace vxt {

namespace {

constexpr size_t kLineLimit = 63;         ///< characters
constexpr size_t kMaximumFile = 1 << 20;  ///< bytes

/// A limited line reader cuts long lines instead of failing on them.
void g_SplitLines(std::wstring_view sText, std::list<std::wstring>& rLines) {
    while (!sText.empty()) {
        const size_t uBreak = sText.find(L'\n');
        const size_t uLength = std::min(kLineLimit, uBreak == std::wstring_view::npos ? sText.size() : uBreak + 1);
        rLines.emplace_back(sText.substr(0, uLength));
        sText.remove_prefix(uLength);
    }
}

std::wstring g_DecodeUtf16(std::string_view sBytes) {
    std::wstring sText;
    for (size_t i = 0; i + 1 < sBytes.size(); i += 2)
        sText += static_cast<wchar_t>(static_cast<uint8_t>(sBytes[i]) | static_cast<uint8_t>(sBytes[i + 1]) << 8);
    return sText;
}

std::wstring g_Decode8Bit(std::string_view sBytes) {
    std::wstring sText(sBytes.size(), L'\0');
    sText.resize(platform::WidenText(sBytes, sText));
    return sText;
}

}  // namespace

bool g_BeginsWith(std::wstring_view sText, std::wstring_view sPrefix) {
    return sText.size() >= sPrefix.size() &&
           std::equal(sPrefix.begin(), sPrefix.end(), sText.begin(), [](wchar_t a, wchar_t b) {
               return std::towlower(static_cast<wint_t>(a)) == std::towlower(static_cast<wint_t>(b));
           });
}

bool g_ReadDeviceListFile(const char* pszPath, std::list<std::wstring>& rLines) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pFile(std::fopen(pszPath, "rb"), std::fclose);
    if (!pFile) return false;  // the list is optional
    std::vector<char> Bytes(kMaximumFile + 1);
    const size_t uSize = std::fread(Bytes.data(), 1, Bytes.size(), pFile.get());
    if (std::ferror(pFile.get())) return false;  // a folder of that name
    LOG_PROCESS_ERROR(uSize <= kMaximumFile);
    g_DecodeDeviceList({Bytes.data(), uSize}, rLines);
    return true;
}

void g_DecodeDeviceList(std::string_view sBytes, std::list<std::wstring>& rLines) {
    // Nothing that the list is compared with is outside ASCII: a UTF-8 mark is skipped and the rest read as 8-bit text.
    std::wstring sText = sBytes.starts_with("\xFF\xFE")       ? g_DecodeUtf16(sBytes.substr(2))
                         : sBytes.starts_with("\xEF\xBB\xBF") ? g_Decode8Bit(sBytes.substr(3))
                                                              : g_Decode8Bit(sBytes);
    for (size_t i = 0; (i = sText.find(L"\r\n", i)) != std::wstring::npos;) sText.erase(i, 1);
    g_SplitLines(sText, rLines);
}

}  // namespace vxt
