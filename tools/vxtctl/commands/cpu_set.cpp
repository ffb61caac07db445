// vxtctl cpu set: changing a core's multiplier, voltage or P-state.
#include <cmath>

#include "candidates.h"
#include "common/change_plan.h"
#include "common/text.h"
#include "cpu_report.h"
#include "device_types.h"

namespace vxtctl {

using namespace vxttools;
using vxtapi::CCPU;

namespace {

struct CWanted {
    std::optional<std::string> oCore;
    std::optional<double> oMultiplier, oVoltage;
    std::optional<uint32_t> oPstate;
};
constexpr COption<CWanted> kOptions[] = {
    {"--core", "N|all", "Which core; all of them when left out", &CWanted::oCore, false, nullptr,
     g_CoreOrAllCandidates},
    {"--pstate", "N", "Go to this P-state", &CWanted::oPstate, false, nullptr, g_PstateCandidates},
    {"--multiplier", "X", "Core clock / reference clock", &CWanted::oMultiplier, false, "--pstate",
     g_MultiplierCandidates},
    {"--voltage", "V", "Core voltage in volts", &CWanted::oVoltage, false, "--pstate", g_VoltageCandidates},
};

void g_CheckPositive(const char* pszOption, const std::optional<double>& rValue) {
    if (rValue && !(std::isfinite(*rValue) && *rValue > 0))
        throw CFailure(EExit::kUsage, std::string(pszOption) + ": expected a number above zero");
}

CChange g_Pstate(CCPU& rCpu, uint32_t uPstate) {
    if (!g_HasPstates(rCpu)) throw CFailure(EExit::kNoSuchDevice, "this processor has no P-states");
    const uint32_t uLast = rCpu.GetMaxPstate();
    if (uPstate > uLast)
        throw CFailure(EExit::kNoSuchDevice,
                       "no P-state " + std::to_string(uPstate) + ": this processor has 0 to " + std::to_string(uLast));
    return {.sId = "/current_pstate",
            .sOwner = {},
            .sLabel = "P-state",
            .sUnit = "",
            .dWanted = static_cast<double>(uPstate),
            .dTolerance = 0,
            .sLegal = "0 to " + std::to_string(uLast),
            .Limits = {0, uLast},
            .Read = [&rCpu] { return g_ReadCurrentPstate(rCpu); },
            .Write = [&rCpu, uPstate] { return rCpu.SetCurPstate(uPstate); }};
}

CChange g_Multiplier(CCPU& rCpu, double dMultiplier) {
    const double dMaximum = rCpu.GetMaxMultiplier();
    const bool bLimited = rCpu.IsMultiplierLimited() && dMaximum > 0;
    CChange Change{.sId = "/multiplier",
                   .sOwner = {},
                   .sLabel = "Multiplier",
                   .sUnit = "",
                   .dWanted = dMultiplier,
                   .dTolerance = 1e-3,
                   .sLegal = "the processor's multiplier table",
                   .Limits = {},
                   .Read = [&rCpu] { return g_ReadMultiplier(rCpu); },
                   .Write = [&rCpu, dMultiplier] { return rCpu.SetCurrentMultiplier(dMultiplier); }};
    if (bLimited) {
        Change.sLegal += ", rated up to " + g_Trimmed(dMaximum, 4);
        Change.Limits.oMaximum = dMaximum;
    }
    return Change;
}

CChange g_Voltage(CCPU& rCpu, double dVoltage) {
    return {.sId = "/core_voltage",
            .sOwner = {},
            .sLabel = "Core voltage",
            .sUnit = "V",
            .dWanted = dVoltage,
            .dTolerance = 1e-3,
            .sLegal = "the processor's voltage table",
            .Limits = {},
            .Read = [&rCpu] { return g_ReadVoltage(rCpu); },
            .Write = [&rCpu, dVoltage] { return rCpu.SetCurrentVoltage(dVoltage); }};
}

/// Which core; nothing: all of them. Ends the command when the request makes no sense on any machine.
std::optional<uint32_t> g_CheckRequest(const CWanted& rWanted) {
    if (!rWanted.oMultiplier && !rWanted.oVoltage && !rWanted.oPstate)
        throw CFailure(EExit::kUsage, "cpu set: nothing to set; give --multiplier, --voltage or --pstate");
    g_CheckPositive("--multiplier", rWanted.oMultiplier);
    g_CheckPositive("--voltage", rWanted.oVoltage);
    if (!rWanted.oCore || rWanted.oCore == "all") return std::nullopt;
    const std::optional<uint32_t> oCore = g_ParseUnsigned(*rWanted.oCore);
    if (!oCore) throw CFailure(EExit::kUsage, "--core " + *rWanted.oCore + ": expected a core number or 'all'");
    return oCore;
}

/// What has to be done to a core, in an order that is safe.
std::vector<CChange> g_PlanCore(CCPU& rCpu, const CWanted& rWanted) {
    std::vector<CChange> Changes;
    if (rWanted.oPstate) Changes.push_back(g_Pstate(rCpu, *rWanted.oPstate));
    if (rWanted.oMultiplier) Changes.push_back(g_Multiplier(rCpu, *rWanted.oMultiplier));
    if (rWanted.oVoltage) {
        // A rising clock needs its voltage first, a falling one must have fallen before the voltage does.
        const bool bRises = rWanted.oMultiplier && g_ReadMultiplier(rCpu).value_or(0) < *rWanted.oMultiplier;
        Changes.insert(bRises ? Changes.begin() : Changes.end(), g_Voltage(rCpu, *rWanted.oVoltage));
    }
    return Changes;
}

EExit g_CpuSet(CTool& rTool, const CWanted& rWanted) {
    const std::optional<uint32_t> oCore = g_CheckRequest(rWanted);
    const CHostLibrary Library(rTool.Options());
    CChangePlan Plan;
    for (const CInventoryEntry& rCore : g_SelectCores(Library, oCore))
        for (CChange& rChange : g_PlanCore(*static_cast<CCPU*>(rCore.pDevice), rWanted)) {
            rChange.sId = g_DevicePath(vxtapi::kDeviceCpu, rCore.uIndex) + rChange.sId;
            rChange.sOwner = "core " + std::to_string(rCore.uIndex);
            Plan.Add(std::move(rChange));
        }
    return Plan.Run(rTool);
}

}  // namespace

extern constexpr CCommand kCpuSet{"cpu set", "Change multiplier, voltage or P-state",
                                  "  vxtctl cpu set --core 0 --multiplier 12 --dry-run\n"
                                  "  vxtctl cpu set --multiplier 14 --voltage 1.3\n"
                                  "  vxtctl cpu set --pstate 0 --yes",
                                  g_NewCall<CWanted, kOptions, g_CpuSet>};

}  // namespace vxtctl
