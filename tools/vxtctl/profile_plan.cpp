#include "profile_plan.h"

#include <algorithm>

#include "common/text.h"
#include "core_limits.h"
#include "device_types.h"

namespace vxtctl {

namespace {

/// In the order in which they are written.
enum class EStep { kClockFalls, kVoltageRises, kOther, kClockRises, kVoltageFalls };

EStep g_Step(const CProfileTarget& rTarget) {
    const CSetting& rSetting = rTarget.pSetting->Setting;
    const bool bRises = rTarget.dWanted > rSetting.oValue.value_or(rTarget.dWanted);
    const bool bInForceLater = rTarget.pSetting->sSection == vxtapi::kProfileLinkSection;
    if (rSetting.sUnit == "V") return bRises ? EStep::kVoltageRises : EStep::kVoltageFalls;
    if (!bInForceLater && (rSetting.sUnit == "MHz" || rSetting.sKey == "multiplier"))
        return bRises ? EStep::kClockRises : EStep::kClockFalls;
    return EStep::kOther;
}

std::optional<double> g_WantedOf(const std::vector<CProfileTarget>& rTargets, const std::string& sId) {
    for (const CProfileTarget& rTarget : rTargets)
        if (rTarget.pSetting->Id() == sId) return rTarget.dWanted;
    return std::nullopt;
}

}  // namespace

void g_SortSafely(std::vector<CProfileTarget>& rTargets) { std::ranges::stable_sort(rTargets, {}, g_Step); }

size_t g_CountFirst(const std::vector<CProfileTarget>& rTargets) {
    const auto Behind = std::ranges::find_if(rTargets, [](const auto& r) { return g_Step(r) > EStep::kVoltageRises; });
    return static_cast<size_t>(Behind - rTargets.begin());
}

std::vector<std::string> g_WhyHarmful(const CHostLibrary& rLibrary, const std::vector<CProfileTarget>& rTargets) {
    std::vector<std::string> Reasons;
    for (const auto& [pSetting, dWanted] : rTargets) {
        const CSetting& rSetting = pSetting->Setting;
        if (const std::string sWhy = g_WhyIllegal(rSetting, dWanted); !sWhy.empty())
            Reasons.push_back(pSetting->sOwner + ": " + rSetting.sKey + "=" + vxttools::g_Trimmed(dWanted, 6) + ": " +
                              sWhy);
    }
    for (const CInventoryEntry& rCore : rLibrary.Devices(vxtapi::kDeviceCpu)) {
        const CCoreLimits Limits(*static_cast<vxtapi::CCPU*>(rCore.pDevice));
        const std::string sPath = g_DevicePath(vxtapi::kDeviceCpu, rCore.uIndex);
        const auto Wanted = [&](const CSetting& r) { return g_WantedOf(rTargets, sPath + "/" + r.sKey); };
        const auto oMultiplier = Wanted(Limits.Multiplier), oVoltage = Wanted(Limits.Voltage);
        if (!oMultiplier && !oVoltage) continue;
        const COperatingPoint Point{oMultiplier.value_or(Limits.Multiplier.oValue.value_or(0)),
                                    oVoltage.value_or(Limits.Voltage.oValue.value_or(0))};
        if (const std::string sWhy = Limits.WhyUnsafe(Point); !sWhy.empty())
            Reasons.push_back("core " + std::to_string(rCore.uIndex) + ": " + sWhy);
    }
    return Reasons;
}

vxttools::CChange g_NewChange(const CProfileTarget& rTarget) {
    const auto& [pSetting, dWanted] = rTarget;
    vxttools::CChange Change = g_NewChange(pSetting->Setting, dWanted, pSetting->sPath);
    const auto Note = [&](const std::string& sText) { Change.sNote += (Change.sNote.empty() ? "" : "; ") + sText; };
    if (pSetting->eApplied == EApplied::kByAnother) Note("profiles keep one value for all");
    if (pSetting->sSection == vxtapi::kProfileLinkSection) Note("in force after the link's next reset");
    Change.sOwner = pSetting->sOwner;
    Change.sDoubt = "was not taken over";
    Change.Read = pSetting->Read;
    Change.Write = [pSetting, dWanted] { return pSetting->Write(dWanted); };
    Change.Restore = pSetting->Write;
    return Change;
}

bool g_ReadsOtherwise(const CProfileSetting& rSetting, double dValue) {
    return !vxttools::g_ReadsAs(rSetting.Read(), dValue, rSetting.Setting.dTolerance);
}

bool g_WriteAlone(const CProfileSetting& rSetting, double dValue) {
    const double dTolerance = rSetting.Setting.dTolerance;
    if (!rSetting.Write(dValue)) return false;
    return vxttools::g_ReadsAs(vxttools::g_ReadUntil(rSetting.Read, dValue, dTolerance), dValue, dTolerance);
}

}  // namespace vxtctl
