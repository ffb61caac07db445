#include "profile_comparison.h"

#include <algorithm>
#include <cmath>

#include "common/text.h"

namespace vxtctl {

using vxttools::CFailure;
using vxttools::EExit;

namespace {

std::optional<double> g_Wanted(const CProfileDocument& rProfile, const CProfileSetting& rSetting) {
    const auto Value = [&](const std::wstring& rsKey) {
        return rsKey.empty() ? std::nullopt : rProfile.Value({rSetting.sSection, rSetting.sElement, rsKey});
    };
    std::optional<double> oValue = Value(rSetting.sKey);
    if (!rSetting.sPairKey.empty()) {
        if (!oValue && !Value(rSetting.sPairKey)) return std::nullopt;
        return oValue == 1.0 ? 1 : 0;  // any other number is off
    }
    if (!oValue) oValue = Value(rSetting.sSharedKey);
    if (oValue && rSetting.Setting.bSwitch) return *oValue != 0 ? 1 : 0;
    if (oValue && rSetting.bZeroKeeps && !(*oValue > 0)) return std::nullopt;
    return oValue;
}

/// What the entry alone does not tell of a target.
std::string g_Remark(const CProfileTarget& rTarget, bool bHasEntry) {
    const CProfileSetting& rSetting = *rTarget.pSetting;
    if (std::string sUnfit = g_WhyUnfit(rSetting.Setting, rTarget.dWanted); !sUnfit.empty()) return sUnfit;
    if (!rSetting.Setting.oValue) return rSetting.Setting.sReason;
    if (!bHasEntry && !rSetting.sPairKey.empty())
        return "off, because " + vxttools::g_Utf8(rSetting.sPairKey.c_str()) + " stands alone";
    if (!bHasEntry || rSetting.eApplied == EApplied::kByAnother)
        return "written along with " + vxttools::g_Utf8((bHasEntry ? rSetting.sKey : rSetting.sSharedKey).c_str());
    return "";
}

}  // namespace

std::optional<bool> CProfileTarget::IsInForce() const {
    const CSetting& rSetting = pSetting->Setting;
    if (!rSetting.oValue) return std::nullopt;
    return vxttools::g_ReadsAs(rSetting.oValue, dWanted, rSetting.dTolerance);
}

std::vector<CProfileTarget> g_Targets(const CProfileDocument& rProfile, const std::vector<CProfileSetting>& rMachine) {
    std::vector<CProfileTarget> Targets;
    for (const CProfileSetting& rSetting : rMachine)
        if (const auto oWanted = g_Wanted(rProfile, rSetting)) Targets.push_back({&rSetting, *oWanted});
    return Targets;
}

std::vector<CProfileTarget> g_TargetsHere(const CProfileDocument& rProfile, const CHostLibrary& rLibrary,
                                          const std::vector<CProfileSetting>& rMachine) {
    if (rMachine.empty()) throw rLibrary.Absent("setting");
    std::vector<CProfileTarget> Targets = g_Targets(rProfile, rMachine);
    if (Targets.empty())
        throw CFailure(EExit::kNoSuchDevice,
                       "nothing of " + rProfile.File() + " is for this machine; 'profile show' tells what it holds");
    return Targets;
}

CComparison g_CompareWithMachine(const CProfileDocument& rProfile, const CHostLibrary& rLibrary) {
    const std::vector<CProfileSetting> Machine = g_MachineProfile(rLibrary);
    const std::vector<CProfileTarget> Targets = g_TargetsHere(rProfile, rLibrary, Machine);
    CComparison Comparison;
    for (const CProfileTarget& rTarget : Targets) {
        const CProfileSetting& rSetting = *rTarget.pSetting;
        if (rSetting.Setting.bUnread) {
            Comparison.Findings.push_back(rSetting.Id() + ": " + rSetting.Setting.sReason);
            continue;
        }
        ++Comparison.uCompared;
        if (rTarget.IsInForce() != true)
            Comparison.Differences.push_back({rSetting.Id(), rSetting, rSetting.sOwner, rSetting.Setting,
                                              rTarget.dWanted, rSetting.Setting.oValue,
                                              g_Remark(rTarget, rProfile.Value(rSetting).has_value())});
    }
    for (const CJudgedEntry& rEntry : g_JudgeEntries(rProfile, rLibrary, Machine)) {
        if (rEntry.eFate == EEntry::kApplied || rEntry.eFate == EEntry::kRepeated) continue;
        ++Comparison.uCompared;
        Comparison.Differences.push_back({rEntry.pSetting ? rEntry.pSetting->Id() : "", rEntry.Entry, rEntry.Owner(),
                                          rEntry.Kind, rEntry.Entry.oNumber, std::nullopt, rEntry.sProblem});
    }
    for (const CProfileSetting& rSetting : Machine)
        if (std::ranges::find(Targets, &rSetting, &CProfileTarget::pSetting) == Targets.end())
            Comparison.NotHeld.push_back(rSetting.Id());
    return Comparison;
}

CComparison g_CompareProfiles(const CProfileDocument& rProfile, const CProfileDocument& rOther,
                              const CHostLibrary& rLibrary) {
    constexpr double kSame = 1e-5;  // as close as the hardware's tables need it
    const std::vector<CProfileSetting> Machine = g_MachineProfile(rLibrary);
    CComparison Comparison;
    const auto Add = [&](const CProfileDocument& rFrom, bool bIsOther) {
        for (const CJudgedEntry& rEntry : g_JudgeEntries(rFrom, rLibrary, Machine)) {
            if (rEntry.eFate == EEntry::kNoNumber)
                Comparison.Findings.push_back(rFrom.File() + ": " + rEntry.Finding());
            if (rEntry.eFate == EEntry::kNoNumber || rEntry.eFate == EEntry::kRepeated) continue;
            const auto oProfile = rProfile.Value(rEntry.Entry), oOther = rOther.Value(rEntry.Entry);
            if (bIsOther && oProfile) continue;  // the first one's turn has shown it
            ++Comparison.uCompared;
            if (oProfile && oOther && std::abs(*oProfile - *oOther) <= std::max(kSame, rEntry.Kind.dTolerance))
                continue;
            Comparison.Differences.push_back({rEntry.pSetting ? rEntry.pSetting->Id() : "", rEntry.Entry,
                                              rEntry.Owner(), rEntry.Kind, oProfile, oOther,
                                              oProfile && oOther ? "" : "only in " + rFrom.File()});
        }
    };
    Add(rProfile, false);
    Add(rOther, true);
    return Comparison;
}

}  // namespace vxtctl
