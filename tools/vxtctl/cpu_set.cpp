#include "cpu_set.h"

#include <cmath>

#include "common/text.h"
#include "cpu_report.h"
#include "device_types.h"

namespace vxtctl {

using vxtapi::CCPU;
using vxttools::CChange;
using vxttools::CFailure;
using vxttools::EExit;

namespace {

void _CheckPositive(const char* pszOption, const std::optional<double>& rValue) {
    if (rValue && !(std::isfinite(*rValue) && *rValue > 0))
        throw CFailure(EExit::kUsage, std::string(pszOption) + ": expected a number above zero");
}

CChange _Pstate(CCPU& rCpu, uint32_t uPstate) {
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

CChange _Multiplier(CCPU& rCpu, double dMultiplier) {
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
        Change.sLegal += ", rated up to " + vxttools::g_Trimmed(dMaximum, 4);
        Change.Limits.dMaximum = dMaximum;
    }
    return Change;
}

CChange _Voltage(CCPU& rCpu, double dVoltage) {
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

}  // namespace

void CCpuRequest::Check() const {
    if (!oMultiplier && !oVoltage && !oPstate)
        throw CFailure(EExit::kUsage, "cpu set: nothing to set; give --multiplier, --voltage or --pstate");
    _CheckPositive("--multiplier", oMultiplier);
    _CheckPositive("--voltage", oVoltage);
    if (sCore != "all" && !vxttools::g_ParseUnsigned(sCore))
        throw CFailure(EExit::kUsage, "--core " + sCore + ": expected a core number or 'all'");
}

vxttools::CChangePlan g_PlanCpuChanges(const CHostLibrary& rLibrary, const CCpuRequest& rRequest) {
    vxttools::CChangePlan Plan;
    for (const CInventoryEntry& rCore : g_SelectCores(rLibrary, vxttools::g_ParseUnsigned(rRequest.sCore))) {
        CCPU& rCpu = *static_cast<CCPU*>(rCore.pDevice);
        std::vector<CChange> Changes;
        if (rRequest.oPstate) Changes.push_back(_Pstate(rCpu, *rRequest.oPstate));
        if (rRequest.oMultiplier) Changes.push_back(_Multiplier(rCpu, *rRequest.oMultiplier));
        if (rRequest.oVoltage) {
            // A rising clock needs its voltage first, a falling one must have fallen before the voltage does.
            const bool bRises = rRequest.oMultiplier && g_ReadMultiplier(rCpu).value_or(0) < *rRequest.oMultiplier;
            Changes.insert(bRises ? Changes.begin() : Changes.end(), _Voltage(rCpu, *rRequest.oVoltage));
        }
        for (CChange& rChange : Changes) {
            rChange.sId = g_DevicePath(vxtapi::kDeviceCpu, rCore.uIndex) + rChange.sId;
            rChange.sOwner = "core " + std::to_string(rCore.uIndex);
            Plan.Add(std::move(rChange));
        }
    }
    return Plan;
}

}  // namespace vxtctl
