#include "profile_entries.h"

#include <algorithm>

#include "common/text.h"
#include "device_types.h"
#include "memory_settings.h"

namespace vxtctl {

using vxttools::g_Utf8;

namespace {

struct CKeyRow {
    const wchar_t* pszSection;  ///< null: one that is called like a device's type
    const wchar_t* pszKey;
    const char *pszLabel, *pszUnit;
    bool bSwitch = false;
};
/// Without those of memory controllers and of voltages, whose keys are names already.
constexpr CKeyRow kKeys[] = {
    {vxtapi::kProfileCpuSection, vxtapi::kProfileClockDivisor, kClockDivisorLabel, "", true},
    {vxtapi::kProfileCpuSection, vxtapi::kProfileTlbCaching, kTlbCachingLabel, "", true},
    {vxtapi::kProfileCpuSection, vxtapi::kProfileMultipliers[0], "Multiplier, core 0", ""},
    {vxtapi::kProfileCpuSection, vxtapi::kProfileMultipliers[1], "Multiplier, core 1", ""},
    {vxtapi::kProfileCpuSection, vxtapi::kProfileMultipliers[2], "Multiplier, core 2", ""},
    {vxtapi::kProfileCpuSection, vxtapi::kProfileMultipliers[3], "Multiplier, core 3", ""},
    {vxtapi::kProfileCpuSection, vxtapi::kProfileCpuVoltage, "Core voltage", "V"},
    {vxtapi::kProfileCpuSection, vxtapi::kProfileNbVoltage, "North-bridge voltage", "V"},
    {vxtapi::kProfileLinkSection, vxtapi::kProfileLinkMultiplier, "Link clock", "x 200 MHz"},
    {nullptr, vxtapi::kProfileExternalClock, "External reference clock", "MHz"},
    {nullptr, vxtapi::kProfilePCIeClock, "PCIe clock", "MHz"},
    {nullptr, vxtapi::kProfileEngineClock, "Integrated graphics clock", "MHz"},
    {nullptr, kReadToWriteKey, "Read to write turnaround", "clocks"},
};

/// Sections whose keys are the same on all machines.
bool g_HasFixedKeys(const std::wstring& rsSection) {
    return rsSection == vxtapi::kProfileCpuSection || rsSection == vxtapi::kProfileLinkSection;
}

/// What a key means on whatever machine; the label is empty when none has it.
CSetting g_Describe(const CProfileNames& rNames) {
    const auto IsHere = [&](const wchar_t* pszSection, const wchar_t* pszKey) {
        if (!pszSection && g_HasFixedKeys(rNames.sSection)) return false;
        return rNames.IsSame({pszSection ? pszSection : rNames.sSection, rNames.sElement, pszKey});
    };
    CSetting Kind{"", "", ""};
    for (const CKeyRow& rRow : kKeys)
        if (IsHere(rRow.pszSection, rRow.pszKey)) {
            Kind.sLabel = rRow.pszLabel, Kind.sUnit = rRow.pszUnit, Kind.bSwitch = rRow.bSwitch;
            return Kind;
        }
    for (const wchar_t* const pszVoltage : vxtapi::kProfileVoltages)
        if (IsHere(nullptr, pszVoltage)) Kind.sLabel = g_Utf8(pszVoltage), Kind.sUnit = "V";
    const auto Look = [&](const auto& rFields, bool bIsTiming) {
        for (const vxtapi::ProfileField& rField : rFields)
            if (Kind.sLabel.empty() && IsHere(nullptr, rField.pszKey))
                Kind = g_DescribeMemorySetting(bIsTiming, rField.uOffset);
    };
    Look(vxtapi::kProfileTimings, true);
    Look(vxtapi::kProfileConfiguration, false);
    return Kind;
}

/// Why none of the machine's settings stands under these names.
std::string g_WhyLacking(const CHostLibrary& rLibrary, const std::vector<CProfileSetting>& rMachine,
                         const CProfileNames& rNames) {
    for (const CProfileSetting& rSetting : rMachine)
        if (rNames.IsSame({rNames.sSection, rSetting.sElement, rSetting.sKey}))
            return "its place is below the section " + g_Utf8(rSetting.sSection.c_str());
    const bool bHasDevice = std::ranges::any_of(rLibrary.Devices(), [&](const CInventoryEntry& r) {
        return rNames.IsSame({rNames.sSection, r.pDevice->GetName(), rNames.sKey});
    });
    return (bHasDevice ? "this machine has no such setting" : kNoDevice) +
           std::string(rLibrary.Findings().empty() ? "" : ", or it could not be read");
}

}  // namespace

std::string CJudgedEntry::Owner() const { return pSetting ? pSetting->sOwner : g_Utf8(Entry.sElement.c_str()); }

std::string CJudgedEntry::Place() const {
    return g_Utf8((Entry.sSection + L"/" + Entry.sElement + L"/" + Entry.sKey).c_str());
}

std::string CJudgedEntry::Finding() const {
    const std::string sDevice = g_Utf8((Entry.sSection + L"/" + Entry.sElement).c_str());
    return (sProblem.starts_with(kNoDevice) ? sDevice : Place()) + ": " + sProblem;
}

std::vector<CJudgedEntry> g_JudgeEntries(const CProfileDocument& rProfile, const CHostLibrary& rLibrary,
                                         const std::vector<CProfileSetting>& rMachine) {
    std::vector<CJudgedEntry> Judged;
    for (CProfileEntry& rEntry : rProfile.Entries()) {
        const bool bSeen = std::ranges::any_of(Judged, [&](const CJudgedEntry& r) { return r.Entry.IsSame(rEntry); });
        CJudgedEntry& rThis = Judged.emplace_back(CJudgedEntry{std::move(rEntry), {"", "", ""}});
        rThis.pSetting = g_FindSetting(rMachine, rThis.Entry);
        rThis.Kind = rThis.pSetting ? rThis.pSetting->Setting : g_Describe(rThis.Entry);
        if (rThis.Kind.sLabel.empty() && !rLibrary.IsStarted() && !g_HasFixedKeys(rThis.Entry.sSection))
            rThis.Kind.sLabel = g_Utf8(rThis.Entry.sKey.c_str());  // may be a voltage of the board's own
        const auto Pass = [&](EEntry eFate, const std::string& sWhy) { rThis.eFate = eFate, rThis.sProblem = sWhy; };
        const std::optional<double>& roNumber = rThis.Entry.oNumber;
        // A number that the library does not find stands in the second element of a name, of whichever level.
        if (bSeen || (roNumber && !rProfile.Value(rThis.Entry)))
            Pass(EEntry::kRepeated, "an element of its name is there before, and only the first one counts");
        else if (!roNumber)
            Pass(EEntry::kNoNumber, rThis.Entry.sText.empty() ? "it is empty" : "no number like 1.25");
        else if (rThis.Kind.sLabel.empty())
            Pass(EEntry::kUnknown, "unknown key");
        else if (!rThis.pSetting && rLibrary.IsStarted())
            Pass(EEntry::kLacking, g_WhyLacking(rLibrary, rMachine, rThis.Entry));
        else if (rThis.pSetting && !(rThis.pSetting->bZeroKeeps && *roNumber <= 0))
            rThis.sProblem = g_WhyUnfit(rThis.Kind, *roNumber);
    }
    return Judged;
}

}  // namespace vxtctl
