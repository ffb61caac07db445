// Texts of fixed length as devices keep them: padded, and not always with what a text may have.
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace vxt {

/// A text of at most N characters: printable ASCII without blanks around it.
template <size_t N> class CDeviceText {
public:
    constexpr CDeviceText() = default;
    /// Takes away the padding (blanks and zeros behind the text, blanks before it); bytes that are not printable become points.
    constexpr explicit CDeviceText(std::string_view sRaw) {
        using namespace std::string_view_literals;
        sRaw = sRaw.substr(0, sRaw.find_last_not_of(" \0"sv) + 1);
        sRaw.remove_prefix(std::min(sRaw.find_first_not_of(' '), sRaw.size()));
        m_uSize = std::min(sRaw.size(), N);
        std::transform(sRaw.begin(), sRaw.begin() + m_uSize, m_achText.begin(),
                       [](char ch) { return ch >= ' ' && ch <= '~' ? ch : '.'; });
    }

    constexpr std::string_view Get() const { return {m_achText.data(), m_uSize}; }
    constexpr bool IsEmpty() const { return m_uSize == 0; }

private:
    std::array<char, N> m_achText{};
    size_t m_uSize = 0;
};

}  // namespace vxt
