// Looking into answers whose types are the firmware's word.
#pragma once

#include <algorithm>
#include <span>

#include "platform/wmi.h"

namespace vxt {

inline constexpr const wchar_t* kFirmwareClass = L"QOR_ACPI";

/// The object in a value; none when it holds something else.
inline const platform::CWmiObject& g_ObjectIn(const platform::WmiValue& rValue) {
    static const platform::CWmiObject s_None;
    const auto* const pObject = std::get_if<platform::CWmiObject>(&rValue);
    return pObject ? *pObject : s_None;
}

/// The array in a value; null when it holds something else, or an array of other elements.
template <class TElement> const platform::CWmiArray<TElement>* g_ArrayIn(const platform::WmiValue& rValue) {
    return std::get_if<platform::CWmiArray<TElement>>(&rValue);
}

inline bool g_IsEmpty(const platform::WmiValue& rValue) { return std::holds_alternative<platform::CWmiEmpty>(rValue); }

/// Copies as much as fits beside the terminator.
template <class TChar> void g_CopyText(std::basic_string_view<TChar> sText, std::span<TChar> Buffer) {
    *std::copy_n(sText.data(), std::min(sText.size(), Buffer.size() - 1), Buffer.data()) = TChar{};
}

}  // namespace vxt
