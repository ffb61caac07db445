// The PC's texts as the system shows them.
#pragma once

#include <string>

#include "platform/text.h"

namespace vxt::platform::simulated {

/// The wide form of a text in the system's 8-bit code page.
inline std::wstring g_Wide(const std::string& sText) {
    std::wstring sWide(sText.size(), 0);
    sWide.resize(WidenText(sText, sWide));
    return sWide;
}

}  // namespace vxt::platform::simulated
