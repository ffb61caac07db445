// Writing machine files: what the writers of all sections share.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vxtsim {

template <int nDigits> std::string g_HexText(uint32_t uValue);

// Values as the readers take them, by type.
std::string g_ValueText(bool bFlag);
std::string g_ValueText(const std::string& rsText);
template <class TNumber> std::string g_ValueText(TNumber Number) { return std::to_string(Number); }

/// "a b c" with `Format(element)` for each.
template <class TElements, class TFormat>
std::string g_Joined(const TElements& rElements, char cBetween, TFormat Format) {
    std::string sText;
    for (const auto& rElement : rElements) {
        if (&rElement != rElements.data()) sText += cBetween;
        sText += Format(rElement);
    }
    return sText;
}
template <class TNumber> std::string g_ValueText(const std::vector<TNumber>& rNumbers) {
    return g_Joined(rNumbers, ' ', [](TNumber Number) { return std::to_string(Number); });
}
std::string g_TextsText(const std::vector<std::string>& rTexts);  ///< one|two
std::string g_BytesText(const std::vector<uint8_t>& rBytes);

class CMachineWriter {
public:
    /// "[name]" after an empty line.
    void Heading(const std::string& sHeading);
    /// Text that the reader takes to the end of its line.
    void Line(std::string_view sKey, const std::string& sText);
    /// Lines of zeros are left out, except the last: it tells the size.
    void Dump(const std::vector<uint8_t>& rData);

    std::string m_sText;
};

}  // namespace vxtsim
