#include "tune_machine.h"

#include <algorithm>
#include <cmath>

#include "common/text.h"
#include "cpu_report.h"
#include "firmware_settings.h"

namespace vxtctl {

using vxttools::CFailure;
using vxttools::EExit;
using vxttools::g_ReadsAs;
using vxttools::g_Trimmed;

namespace {

constexpr double kSameMultiplier = 0.01;  ///< they come in steps of a quarter at least

}  // namespace

CTuneMachine::CTuneMachine(const CHostLibrary& rLibrary) {
    for (const CInventoryEntry& rCore : g_SelectCores(rLibrary, std::nullopt))
        m_Cores.push_back(static_cast<vxtapi::CCPU*>(rCore.pDevice));
    const std::vector<CInventoryEntry> Generators = rLibrary.Devices(vxtapi::kDeviceClockGen);
    if (Generators.empty())
        throw CFailure(EExit::kNoSuchDevice,
                       "this machine's firmware offers no clock that could be tuned" + CHostLibrary::FilterHint());
    m_Clock = g_ClockSettings(Generators.front()).front();
    const CSetting& rClock = m_Clock.Setting;
    if (rClock.Legal.empty() && !rClock.Limits.oMaximum)
        throw CFailure(EExit::kNoSuchDevice,
                       "this machine's firmware tells neither a list nor limits of the reference clock");
}

uint32_t CTuneMachine::ClocksAbove() const {
    constexpr double kFinest = 1.0;  // MHz
    const CSetting& rClock = ReferenceClock();
    if (!rClock.oValue) return 0;
    if (!rClock.Legal.empty())
        return static_cast<uint32_t>(
            std::ranges::count_if(rClock.Legal, [&](double d) { return d > *rClock.oValue + rClock.dTolerance; }));
    const double dRange = *rClock.Limits.oMaximum - *rClock.oValue, dStep = std::max(rClock.oStep.value_or(0), kFinest);
    return static_cast<uint32_t>(std::max(0.0, std::ceil((dRange - rClock.dTolerance) / dStep) - 1));
}

std::optional<CClockState> CTuneMachine::Read() const {
    const std::optional<double> oClock = m_Clock.Read();
    if (!oClock) return std::nullopt;
    CClockState State{*oClock, {}};
    for (vxtapi::CCPU* const pCore : m_Cores) {
        const std::optional<double> oMultiplier = g_ReadMultiplier(*pCore);
        if (!oMultiplier) return std::nullopt;
        State.Multipliers.push_back(*oMultiplier);
    }
    return State;
}

bool CTuneMachine::Is(const std::optional<CClockState>& oState, const CTunedClock& rClock) const {
    return oState && g_ReadsAs(oState->dReferenceClock, rClock.dReferenceClock, ReferenceClock().dTolerance) &&
           std::ranges::all_of(oState->Multipliers,
                               [&](double d) { return g_ReadsAs(d, rClock.dMultiplier, kSameMultiplier); });
}

void CTuneMachine::_SetMultipliers(const CClockState& rNow, const CClockState& rWanted) const {
    for (size_t i = 0; i < m_Cores.size() && i < rWanted.Multipliers.size(); ++i)
        if (!g_ReadsAs(rNow.Multipliers[i], rWanted.Multipliers[i], kSameMultiplier))
            (void)m_Cores[i]->SetCurrentMultiplier(rWanted.Multipliers[i]);  // the read-back tells
}

std::string CTuneMachine::Set(const CClockState& rWanted) const {
    const std::optional<CClockState> oNow = Read();
    if (!oNow) return "what is in force could not be read";
    const double dTolerance = ReferenceClock().dTolerance;
    const bool bFalls = rWanted.dReferenceClock < oNow->dReferenceClock,  // what falls goes first
        bSame = g_ReadsAs(oNow->dReferenceClock, rWanted.dReferenceClock, dTolerance);
    if (!bFalls) _SetMultipliers(*oNow, rWanted);
    if (!bSame) (void)m_Clock.Write(rWanted.dReferenceClock);
    if (bFalls) _SetMultipliers(*oNow, rWanted);

    const auto oClock = vxttools::g_ReadUntil(m_Clock.Read, rWanted.dReferenceClock, dTolerance);
    if (!g_ReadsAs(oClock, rWanted.dReferenceClock, dTolerance))
        return "the reference clock is " + (oClock ? g_Trimmed(*oClock, 3) + " MHz" : std::string("not readable"));
    if (rWanted.Multipliers.size() != m_Cores.size()) return "the number of cores is another one than then";
    for (size_t i = 0; i < m_Cores.size(); ++i) {
        const auto oMultiplier = vxttools::g_ReadUntil([&] { return g_ReadMultiplier(*m_Cores[i]); },
                                                       rWanted.Multipliers[i], kSameMultiplier);
        if (!g_ReadsAs(oMultiplier, rWanted.Multipliers[i], kSameMultiplier))
            return "core " + std::to_string(i) + "'s multiplier is " +
                   (oMultiplier ? g_Trimmed(*oMultiplier, 3) : "not readable");
    }
    return "";
}

}  // namespace vxtctl
