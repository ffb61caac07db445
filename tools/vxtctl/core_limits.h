// What may be written to a core: the values that its family's registers can express, within what the core is rated for.
#pragma once

#include <vxtapi/cpu.h>

#include <vector>

#include "setting.h"

namespace vxtctl {

/// A clock and the voltage that goes with it.
struct COperatingPoint {
    double dMultiplier, dVoltage;
};

/// Read from one core. Sources of the registers' values: the BIOS and kernel developer's guides of families 0Fh, 10h and
/// 11h. Rated is what the processor says of itself: its P-states, or where it has none its start and ramp voltages, and
/// its maximum multiplier.
class CCoreLimits {
public:
    explicit CCoreLimits(vxtapi::CCPU& rCpu);

    CSetting Multiplier, Voltage;       ///< as they are now, and what they may be
    CSetting NbVoltage;                 ///< of family 10h
    std::vector<double> PstateNumbers;  ///< of the enabled P-states

    /// The core would run at this point: empty when it may, else why not. A core that gets no faster and no lower
    /// voltage than now may always; else its voltage has to be that of the slowest P-state which reaches the clock (of
    /// the fastest, when none does). Without P-states only the present point is known: a clock that is not below it
    /// needs its voltage.
    std::string WhyUnsafe(const COperatingPoint& rWanted) const;
    /// What going to the P-state changes: "from multiplier 4 at 1.0000 V to 15 at 1.3500 V".
    std::string PstateText(uint32_t uNumber) const;

private:
    /// The slowest P-state that reaches the clock; the fastest, when none does; null without P-states.
    const COperatingPoint* _PstateFor(double dMultiplier) const;

    struct CPstatePoint : COperatingPoint {
        uint32_t uNumber;
    };
    std::vector<CPstatePoint> m_Pstates;  ///< the enabled ones, slowest first
};

}  // namespace vxtctl
