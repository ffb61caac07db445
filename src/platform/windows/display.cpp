#include "platform/display.h"

#include <algorithm>

#include "platform/windows/windows_api.h"

namespace vxt::platform {

namespace {

/// A fixed field's text: up to its zero, or all of it where there is none.
template <size_t N> std::wstring g_FieldText(const wchar_t (&szField)[N]) {
    return {szField, std::find(szField, szField + N, L'\0')};
}

}  // namespace

bool GetDisplayName(uint32_t uIndex, CDisplayName& rName) {
    DISPLAY_DEVICEW Device{};
    Device.cb = sizeof(Device);
    return EnumDisplayDevicesW(nullptr, uIndex, &Device, 0) && g_Fill([&] {
               rName = {g_FieldText(Device.DeviceName), g_FieldText(Device.DeviceString), g_FieldText(Device.DeviceID)};
           });
}

void CloseDisplay(uintptr_t uHandle) { DeleteDC(g_ToHandle<HDC>(uHandle)); }

CDisplay OpenDisplay(const wchar_t* pszDevice) {
    return CDisplay(reinterpret_cast<uintptr_t>(CreateDCW(L"DISPLAY", pszDevice, nullptr, nullptr)));
}

int32_t EscapeDisplay(const CDisplay& rDisplay, int32_t nEscape, std::span<const std::byte> In,
                      std::span<std::byte> Out) {
    return ExtEscape(g_ToHandle<HDC>(rDisplay.Get()), nEscape, static_cast<int>(In.size()),
                     reinterpret_cast<const char*>(In.data()), static_cast<int>(Out.size()),
                     reinterpret_cast<char*>(Out.data()));
}

}  // namespace vxt::platform
