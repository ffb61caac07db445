// What warms the inside of the PC: its cores, by how busy they are and how fast they run.
#pragma once

#include <vector>

#include "../machine.h"
#include "core_clock.h"

namespace vxtsim {

/// The cores' heat, 1 for idle ones at the clocks that dumped temperatures belong to: those of power-on, unless the machine
/// file names them. It grows with the root of each clock, and a busy core gives kBusy more.
class CHeat {
public:
    static constexpr double kBusy = 1.25;

    explicit CHeat(const CSimMachine& rMachine);
    double Now() const;
    /// Names the clocks if they are not those of now: a PC that goes on from here has the same heat.
    void Describe(CMachineDescription& rDescription) const;

private:
    const CSimMachine& m_rMachine;
    const CCoreClock* m_pClock;    ///< null: clocks that never change
    std::vector<uint32_t> m_Idle;  ///< kHz of each core
};

}  // namespace vxtsim
