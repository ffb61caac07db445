// What a search for the highest clock changes: the reference clock of the clock generator, the multipliers of the cores.
#pragma once

#include <vxtapi/cpu.h>

#include "setting.h"
#include "tune_records.h"

namespace vxtctl {

class CTuneMachine {
public:
    /// Ends the command where there is no processor, or the firmware offers no clock that could be tuned.
    explicit CTuneMachine(const CHostLibrary& rLibrary);

    /// As it was read at first, with what the clock generator says of it.
    const CSetting& ReferenceClock() const { return m_Clock.Setting; }
    /// A multiplier beyond the rated one can be tried.
    bool IsMultiplierFree() const { return !m_Cores.front()->IsMultiplierLimited(); }
    /// Clocks above the present one that a search tries: of a list all, else by steps of a megahertz or more what is below the
    /// maximum.
    uint32_t ClocksAbove() const;

    /// What is in force now. Nothing where not all of it can be read.
    std::optional<CClockState> Read() const;
    CClockState OnAllCores(const CTunedClock& rClock) const {
        return {rClock.dReferenceClock, std::vector(m_Cores.size(), rClock.dMultiplier)};
    }
    /// Whether the clock and every core's multiplier are these.
    bool Is(const std::optional<CClockState>& oState, const CTunedClock& rClock) const;

    /// Puts it in force, without a clock in between that is above both. Says what is not as wanted; empty: all is.
    std::string Set(const CClockState& rWanted) const;

private:
    void _SetMultipliers(const CClockState& rNow, const CClockState& rWanted) const;

    CDeviceSetting m_Clock;
    std::vector<vxtapi::CCPU*> m_Cores;
};

}  // namespace vxtctl
