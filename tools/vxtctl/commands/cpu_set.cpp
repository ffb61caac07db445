// vxtctl cpu set: changing a core's multiplier, voltages or P-state.
#include <algorithm>

#include "candidates.h"
#include "common/change_plan.h"
#include "common/core_tables.h"
#include "common/text.h"
#include "core_limits.h"
#include "cpu_report.h"
#include "device_types.h"

namespace vxtctl {

using namespace vxttools;
using vxtapi::CCPU;

namespace {

struct CWanted {
    std::optional<std::string> oCore;
    std::optional<double> oMultiplier, oVoltage, oNbVoltage;
    std::optional<uint32_t> oPstate;
    bool bForce = false;
};
constexpr COption<CWanted> kOptions[] = {
    {"--core", "N|all", "Which core; all of them when left out", &CWanted::oCore, false, nullptr,
     g_CoreOrAllCandidates},
    {"--pstate", "N", "Go to this P-state", &CWanted::oPstate, false, nullptr, g_PstateCandidates},
    {"--multiplier", "X", "Core clock / reference clock", &CWanted::oMultiplier, false, "--pstate",
     g_MultiplierCandidates},
    {"--voltage", "V", "Core voltage in volts", &CWanted::oVoltage, false, "--pstate", g_VoltageCandidates},
    {"--nb-voltage", "V", "North-bridge voltage in volts (family 10h), which all cores ask for", &CWanted::oNbVoltage,
     false, "--pstate", g_NbVoltageCandidates},
    {"--force", "", "Also try values beyond what the core is rated for", &CWanted::bForce},
};

/// Which core; nothing: all of them. Ends the command when the request makes no sense on any machine.
std::optional<uint32_t> g_CheckRequest(const CWanted& rWanted) {
    if (!rWanted.oMultiplier && !rWanted.oVoltage && !rWanted.oNbVoltage && !rWanted.oPstate)
        throw CFailure(EExit::kUsage,
                       "cpu set: nothing to set; give --multiplier, --voltage, --nb-voltage or --pstate");
    for (const auto& [pszOption, rValue] :
         {std::pair("--multiplier", rWanted.oMultiplier), std::pair("--voltage", rWanted.oVoltage),
          std::pair("--nb-voltage", rWanted.oNbVoltage)})
        if (rValue && *rValue <= 0)
            throw CFailure(EExit::kUsage, std::string(pszOption) + ": expected a number above zero");
    if (!rWanted.oCore || rWanted.oCore == "all") return std::nullopt;
    return g_ParseCore(*rWanted.oCore, "--core");
}

CChange g_Pstate(CCPU& rCpu, uint32_t uPstate, const CCoreLimits& rLimits, const std::string& sPath) {
    CSetting Pstate{.sKey = "current_pstate", .sLabel = "P-state", .sUnit = "", .oValue = g_ReadCurrentPstate(rCpu)};
    Pstate.Legal = rLimits.PstateNumbers;
    Pstate.dTolerance = 0;
    if (Pstate.Legal.empty()) throw CFailure(EExit::kNoSuchDevice, "this processor has no P-states");
    CChange Change = g_NewChange(Pstate, uPstate, sPath);
    if (std::ranges::count(Pstate.Legal, Change.dWanted) == 0)
        throw CFailure(EExit::kNoSuchDevice, "no P-state " + std::to_string(uPstate) + ": this processor has " +
                                                 Change.sLegal + "; nothing was written");
    Change.sNote = rLimits.PstateText(uPstate);
    Change.Read = [&rCpu] { return g_ReadCurrentPstate(rCpu); };
    Change.Restore = [&rCpu](double dValue) { return rCpu.SetCurPstate(static_cast<uint32_t>(dValue)); };
    return Change;
}

/// Of a number that the core reads and writes as one.
CChange g_Number(CCPU& rCpu, const CSetting& rSetting, double dWanted, const std::string& sPath,
                 std::optional<double> (*pRead)(CCPU&), bool (CCPU::*pWrite)(double)) {
    CChange Change = g_NewChange(rSetting, dWanted, sPath);
    Change.Read = [&rCpu, pRead] { return pRead(rCpu); };
    Change.Restore = [&rCpu, pWrite](double dValue) { return (rCpu.*pWrite)(dValue); };
    return Change;
}

/// Ends the command when one of the values, or both together, are not known to be harmless.
void g_CheckLimits(const CWanted& rWanted, const CCoreLimits& rLimits, const std::string& sCore) {
    const std::string sWhere = sCore + ": ";
    if (rWanted.oNbVoltage && !rLimits.NbVoltage.oValue)
        throw CFailure(EExit::kNoSuchDevice, sWhere + "no north-bridge voltage of its own can be read there");
    if (rWanted.bForce || rWanted.oPstate) return;
    if (rWanted.oNbVoltage)
        g_CheckLegal(rLimits.NbVoltage, *rWanted.oNbVoltage,
                     sWhere + "--nb-voltage " + g_Trimmed(*rWanted.oNbVoltage, 6), false);
    if (rWanted.oMultiplier)
        g_CheckLegal(rLimits.Multiplier, *rWanted.oMultiplier,
                     sWhere + "--multiplier " + g_Trimmed(*rWanted.oMultiplier, 6), false);
    if (rWanted.oVoltage)
        g_CheckLegal(rLimits.Voltage, *rWanted.oVoltage, sWhere + "--voltage " + g_Trimmed(*rWanted.oVoltage, 6),
                     false);
    const COperatingPoint Wanted{rWanted.oMultiplier.value_or(rLimits.Multiplier.oValue.value_or(0)),
                                 rWanted.oVoltage.value_or(rLimits.Voltage.oValue.value_or(0))};
    if (const std::string sReason = rLimits.WhyUnsafe(Wanted); !sReason.empty())
        throw CFailure(EExit::kUsage, sWhere + sReason + "; nothing was written, --force tries all the same");
}

/// What has to be done to a core, in an order that is safe.
std::vector<CChange> g_PlanCore(const CInventoryEntry& rCore, const CWanted& rWanted) {
    CCPU& rCpu = *static_cast<CCPU*>(rCore.pDevice);
    const std::string sCore = "core " + std::to_string(rCore.uIndex),
                      sPath = g_DevicePath(vxtapi::kDeviceCpu, rCore.uIndex);
    const CCoreLimits Limits(rCpu);
    g_CheckLimits(rWanted, Limits, sCore);
    std::vector<CChange> Changes;
    if (rWanted.oPstate) Changes.push_back(g_Pstate(rCpu, *rWanted.oPstate, Limits, sPath));
    if (rWanted.oMultiplier)
        Changes.push_back(g_Number(rCpu, Limits.Multiplier, *rWanted.oMultiplier, sPath, g_ReadMultiplier,
                                   &CCPU::SetCurrentMultiplier));
    if (rWanted.oVoltage) {
        // A rising clock needs its voltage first, a falling one must have fallen before the voltage does.
        const bool bRises = rWanted.oMultiplier && Limits.Multiplier.oValue.value_or(0) < *rWanted.oMultiplier;
        Changes.insert(
            bRises ? Changes.begin() : Changes.end(),
            g_Number(rCpu, Limits.Voltage, *rWanted.oVoltage, sPath, g_ReadVoltage, &CCPU::SetCurrentVoltage));
    }
    if (rWanted.oNbVoltage)
        Changes.push_back(
            g_Number(rCpu, Limits.NbVoltage, *rWanted.oNbVoltage, sPath, g_ReadNbVoltage, &CCPU::SetCurrentNBVoltage));
    for (CChange& rChange : Changes) {
        rChange.sOwner = sCore;
        rChange.Write = [Write = rChange.Restore, dWanted = rChange.dWanted] { return Write(dWanted); };
    }
    return Changes;
}

EExit g_CpuSet(CTool& rTool, const CWanted& rWanted) {
    const std::optional<uint32_t> oCore = g_CheckRequest(rWanted);
    const CHostLibrary Library(rTool.Options());
    CChangePlan Plan;
    for (const CInventoryEntry& rCore : g_SelectCores(Library, oCore))
        for (CChange& rChange : g_PlanCore(rCore, rWanted)) Plan.Add(std::move(rChange));
    return Library.Finish(Plan.Run(rTool));
}

}  // namespace

extern constexpr CCommand kCpuSet{"cpu set", "Change multiplier, voltages or P-state",
                                  "  vxtctl cpu set --core 0 --multiplier 12 --dry-run\n"
                                  "  vxtctl cpu set --multiplier 8 --voltage 1.2\n"
                                  "  vxtctl cpu set --pstate 0 --yes",
                                  g_NewCall<CWanted, kOptions, g_CpuSet>};

}  // namespace vxtctl
