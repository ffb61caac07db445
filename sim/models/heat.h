// What warms the inside of the PC: its cores, by how busy they are and how fast they run.
#pragma once

#include <vector>

#include "../machine.h"
#include "core_clock.h"

namespace vxtsim {

/// The cores' heat, 1 for idle ones at the clocks of power-on. It grows with the root of the clock, so that a way there and
/// back ends where it began, also when the PC is described and switched on in between; a busy core gives kBusy more.
class CHeat {
public:
    static constexpr double kBusy = 1.25;

    explicit CHeat(const CSimMachine& rMachine);
    double Now() const;
    /// As it will be when transitions have ended and nothing is to do.
    double SettledIdle() const;

private:
    const CSimMachine& m_rMachine;
    const CCoreClock* m_pClock;  ///< null: clocks that never change
    std::vector<double> m_MHz;   ///< of each core at power-on
};

}  // namespace vxtsim
