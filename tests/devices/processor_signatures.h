// Which of the four families' classes takes a processor, and the check that fails in the others.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace vxttest {

/// What processors and memory controllers log alike.
inline const std::string kBase = "Fn0000_0001_Eax.BaseFamily == 0x0F", k0Fh = "Fn0000_0001_Eax.ExtendedFamily == 0";
inline const std::string kFirst =
    "Fn0000_0001_Eax.ExtendedModel == 0 || Fn0000_0001_Eax.ExtendedModel == 1 || Fn0000_0001_Eax.ExtendedModel == 2";
inline const std::string kLater =
    "Fn0000_0001_Eax.ExtendedModel != 0 && Fn0000_0001_Eax.ExtendedModel != 1 && Fn0000_0001_Eax.ExtendedModel != 2";

struct CSignature {
    uint32_t uSignature;
    std::array<std::string, 4> Texts;  ///< by class; empty: taken
};
/// Rows for the two texts in which processors and memory controllers differ.
inline std::array<CSignature, 12> g_Signatures(const std::string& s10h, const std::string& s11h) {
    return {{
        {0x00000F4A, {"", kLater, s10h, s11h}},
        {0x00010FF0, {"", kLater, s10h, s11h}},
        {0x00020FB1, {"", kLater, s10h, s11h}},
        {0x00030F00, {kFirst, "", s10h, s11h}},
        {0x00060FB2, {kFirst, "", s10h, s11h}},
        {0x000F0FB2, {kFirst, "", s10h, s11h}},
        {0x00100F42, {k0Fh, k0Fh, "", s11h}},
        {0x00200F31, {k0Fh, k0Fh, s10h, ""}},
        {0x00300F10, {k0Fh, k0Fh, s10h, s11h}},
        {0x00600F12, {k0Fh, k0Fh, s10h, s11h}},
        {0x00000681, {kBase, kBase, kBase, kBase}},
        {0x00100E42, {kBase, kBase, kBase, kBase}},
    }};
}

}  // namespace vxttest
