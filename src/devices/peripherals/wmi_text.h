// Texts of the system's management classes, whose properties are the system's word.
#pragma once

#include "devices/framework/wide_text.h"
#include "platform/wmi.h"

namespace vxt {

/// Takes a property over. One that is missing, without a value or no text leaves `rText` as it was: older systems have fewer, so it is
/// no failure.
template <size_t N>
void g_ReadWmiText(const platform::CWmiObject& pInstance, const wchar_t* pszProperty, CWideText<N>& rText) {
    platform::WmiValue Value;
    if (platform::GetWmiProperty(pInstance, pszProperty, Value) < 0) return;
    if (const auto* const psText = std::get_if<std::wstring>(&Value)) rText.SetClean(*psText);
}

}  // namespace vxt
