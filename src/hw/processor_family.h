// The processor families that the library knows: how each is told apart, and what its north bridge is called on the PCI
// bus. The rules of processors, memory controllers and links refer to these rows.
#pragma once

#include "platform/cpuid.h"
#include "registers/bit_field.h"

namespace vxt {

namespace cpuid {

inline constexpr uint32_t kSignature = 1;
// Of its EAX
inline constexpr CBitField kFamily(11, 8), kExtendedFamily(27, 20), kModel(7, 4), kExtendedModel(19, 16),
    kStepping(3, 0);
inline constexpr uint32_t kBaseFamily = 0x0F;  ///< of every family here; the extended family tells them apart

}  // namespace cpuid

/// The maker's number on the PCI bus: of the processors' north bridges and of its own chipsets.
inline constexpr uint16_t kMakerPciVendor = 0x1022;
/// The functions of a processor's north bridge. A link's PHY stands in the last one.
inline constexpr uint32_t kLinkFunction = 0, kDramFunction = 2, kMiscFunction = 3, kPhyFunction = 4;

/// One family, or one generation of it, and its checks as they are logged.
struct CProcessorFamily {
    uint32_t uExtendedFamily;
    const char* pszFamilyCheck;        ///< of processors
    const char* pszMemoryFamilyCheck;  ///< of memory controllers. Kept: they write some of the numbers in another way
    uint16_t usPciDevice;              ///< of function 0; the other functions count on from there
    bool (*pAcceptsModel)(uint32_t uExtendedModel) = nullptr;  ///< null: any
    const char* pszModelCheck = nullptr;

    constexpr uint16_t PciDevice(uint32_t uFunction) const { return static_cast<uint16_t>(usPciDevice + uFunction); }

    /// Text of the first check that a processor of this signature fails; null when it is one of these.
    constexpr const char* FailedCheck(uint32_t uSignature, const char* pszExtendedFamilyCheck) const {
        if (cpuid::kFamily.Get(uSignature) != cpuid::kBaseFamily) return "Fn0000_0001_Eax.BaseFamily == 0x0F";
        if (cpuid::kExtendedFamily.Get(uSignature) != uExtendedFamily) return pszExtendedFamilyCheck;
        return pAcceptsModel && !pAcceptsModel(cpuid::kExtendedModel.Get(uSignature)) ? pszModelCheck : nullptr;
    }
    constexpr bool Accepts(uint32_t uSignature) const { return !FailedCheck(uSignature, pszFamilyCheck); }
};

/// Family 0Fh: the extended model tells its two generations apart, which share all else.
consteval CProcessorFamily g_FamilyK8(bool (*pAcceptsModel)(uint32_t), const char* pszModelCheck) {
    constexpr const char* kFamilyCheck = "Fn0000_0001_Eax.ExtendedFamily == 0";
    return {0, kFamilyCheck, kFamilyCheck, 0x1100, pAcceptsModel, pszModelCheck};
}
inline constexpr CProcessorFamily kFirstK8 = g_FamilyK8(
    [](uint32_t uModel) { return uModel <= 2; },
    "Fn0000_0001_Eax.ExtendedModel == 0 || Fn0000_0001_Eax.ExtendedModel == 1 || Fn0000_0001_Eax.ExtendedModel == 2");
inline constexpr CProcessorFamily kRevisionF = g_FamilyK8(
    [](uint32_t uModel) { return uModel > 2; },
    "Fn0000_0001_Eax.ExtendedModel != 0 && Fn0000_0001_Eax.ExtendedModel != 1 && Fn0000_0001_Eax.ExtendedModel != 2");
inline constexpr CProcessorFamily kFamily10h{1, "Fn0000_0001_Eax.ExtendedFamily == 0x01",
                                             "Fn0000_0001_Eax.ExtendedFamily == 1", 0x1200};
inline constexpr CProcessorFamily kFamily11h{2, "Fn0000_0001_Eax.ExtendedFamily == 0x02",
                                             "Fn0000_0001_Eax.ExtendedFamily == 2", 0x1300};

/// Signature of the installed processor: also the number by which the firmware is told who calls.
inline uint32_t g_IdentifyProcessor() { return platform::Cpuid(cpuid::kSignature).uEax; }

}  // namespace vxt
