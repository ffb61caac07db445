// Display adapters and the escapes of their drivers, one function a call.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "platform/owned_handle.h"

namespace vxt::platform {

/// A display device and the text of its adapter. Several displays of one adapter are several of these.
struct CDisplayName {
    std::wstring sDevice;   ///< "\\.\DISPLAY1"
    std::wstring sAdapter;  ///< its name, at most 128 characters
    std::wstring sId;       ///< PCI identity of the adapter: "PCI\VEN_1002&DEV_68BE&..."
};
/// Display device `uIndex`, counted from 0, attached to the desktop or not. False beyond the last one.
bool GetDisplayName(uint32_t uIndex, CDisplayName& rName);

void CloseDisplay(uintptr_t uHandle);
using CDisplay = COwnedHandle<CloseDisplay>;
/// A device context of the display; used and closed on the thread that opened it.
CDisplay OpenDisplay(const wchar_t* pszDevice);

/// Asks a driver whether it knows an escape: the escape's number goes in, as four bytes.
inline constexpr int32_t kQueryEscapeSupport = 8;
/// Blocks until the driver answers. Greater than 0: the driver did it; 0: it knows no such escape; less: it failed.
int32_t EscapeDisplay(const CDisplay& rDisplay, int32_t nEscape, std::span<const std::byte> In,
                      std::span<std::byte> Out);

}  // namespace vxt::platform
