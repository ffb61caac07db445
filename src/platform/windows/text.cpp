#include "platform/text.h"

#include "platform/windows/windows_api.h"

namespace vxt::platform {

size_t WidenText(std::string_view sText, std::span<wchar_t> Wide) {
    if (sText.empty()) return 0;  // a length of 0 is an invalid argument
    return static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, sText.data(), static_cast<int>(sText.size()), Wide.data(),
                                                   static_cast<int>(Wide.size())));
}

std::string NarrowText(std::wstring_view sText) {
    if (sText.empty()) return {};
    const int nWide = static_cast<int>(sText.size());
    // The replacement character is the system's own '?': naming one is an error where the code page is UTF-8.
    const int nSize = WideCharToMultiByte(CP_ACP, 0, sText.data(), nWide, nullptr, 0, nullptr, nullptr);
    std::string sNarrow(static_cast<size_t>(nSize), '\0');
    WideCharToMultiByte(CP_ACP, 0, sText.data(), nWide, sNarrow.data(), nSize, nullptr, nullptr);
    return sNarrow;
}

}  // namespace vxt::platform
