// Texts that devices own.
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

#include "devices/framework/clean_text.h"

namespace vxt {

/// At most N characters, for hosts as a wide text; what does not fit is cut off. Takes no memory.
template <size_t N> class CWideText {
public:
    const wchar_t* Get() const { return m_achText.data(); }
    std::wstring_view View() const { return {m_achText.data(), m_uSize}; }
    bool IsEmpty() const { return m_uSize == 0; }
    void Clear() { m_uSize = 0, m_achText[0] = 0; }

    CWideText& Append(std::wstring_view sText) { return _Append(sText); }
    /// ASCII.
    CWideText& Append(std::string_view sText) { return _Append(sText); }
    template <class TText> CWideText& Set(TText sText) {
        Clear();
        return Append(sText);
    }
    /// A text of any content: without blanks and zeros around it, a point for each character that cannot be shown.
    CWideText& SetClean(std::wstring_view sRaw) {
        using namespace std::string_view_literals;
        Clear();
        for (sRaw = g_WithoutPadding(sRaw, L" \0"sv); !sRaw.empty();) {
            const size_t uShown = g_ShownSize(sRaw);
            const std::wstring_view sCharacter = uShown ? sRaw.substr(0, uShown) : std::wstring_view(L".");
            if (sCharacter.size() > N - m_uSize) break;
            Append(sCharacter);
            sRaw.remove_prefix(sCharacter.size());
        }
        return *this;
    }

private:
    template <class TChar> CWideText& _Append(std::basic_string_view<TChar> sText) {
        const auto itEnd = std::copy_n(sText.begin(), std::min(sText.size(), N - m_uSize), m_achText.begin() + m_uSize);
        *itEnd = 0;
        m_uSize = static_cast<size_t>(itEnd - m_achText.begin());
        return *this;
    }

    std::array<wchar_t, N + 1> m_achText{};
    size_t m_uSize = 0;
};

}  // namespace vxt
