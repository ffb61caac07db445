// Which processors a device class drives, told from the signature that CPUID function 1 gives.
#pragma once

#include "platform/cpuid.h"
#include "registers/bit_field.h"

namespace vxt::cpuid {

inline constexpr uint32_t kSignature = 1;
// Of its EAX
inline constexpr CBitField kFamily(11, 8), kExtendedFamily(27, 20), kModel(7, 4), kExtendedModel(19, 16),
    kStepping(3, 0);

/// The processors and the checks as they are logged.
struct CFamilyMatch {
    uint32_t uExtendedFamily;
    const char* pszExtendedFamilyCheck;
    bool (*pAcceptsModel)(uint32_t uExtendedModel) = nullptr;  ///< null: any
    const char* pszModelCheck = nullptr;

    /// Text of the first check that the processor fails; null when it is one of these.
    constexpr const char* FailedCheck(uint32_t uEax) const {
        constexpr uint32_t kBaseFamily = 0x0F;  // of every family here; the extended family tells them apart
        if (kFamily.Get(uEax) != kBaseFamily) return "Fn0000_0001_Eax.BaseFamily == 0x0F";
        if (kExtendedFamily.Get(uEax) != uExtendedFamily) return pszExtendedFamilyCheck;
        return pAcceptsModel && !pAcceptsModel(kExtendedModel.Get(uEax)) ? pszModelCheck : nullptr;
    }
};
// Family 0Fh: the extended model tells its two generations apart.
inline constexpr CFamilyMatch kMatchFirstK8{
    0, "Fn0000_0001_Eax.ExtendedFamily == 0", [](uint32_t uModel) { return uModel <= 2; },
    "Fn0000_0001_Eax.ExtendedModel == 0 || Fn0000_0001_Eax.ExtendedModel == 1 || Fn0000_0001_Eax.ExtendedModel == 2"};
inline constexpr CFamilyMatch kMatchRevisionF{
    0, "Fn0000_0001_Eax.ExtendedFamily == 0", [](uint32_t uModel) { return uModel > 2; },
    "Fn0000_0001_Eax.ExtendedModel != 0 && Fn0000_0001_Eax.ExtendedModel != 1 && Fn0000_0001_Eax.ExtendedModel != 2"};

}  // namespace vxt::cpuid

namespace vxt {

/// Signature of the installed processor: also the number by which the firmware is told who calls.
inline uint32_t g_IdentifyProcessor() { return platform::Cpuid(cpuid::kSignature).uEax; }

}  // namespace vxt
