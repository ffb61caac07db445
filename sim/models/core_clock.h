// What the processor models know about the cores' clocks and voltages.
#pragma once

#include <cstdint>

namespace vxtsim {

class CCoreClock {
public:
    virtual double CoreMHz(uint32_t uCore) const = 0;
    virtual double SettledMHz(uint32_t uCore) const = 0;    ///< when the transition under way has ended
    virtual double SettledVolts(uint32_t uCore) const = 0;  ///< likewise; 0: switched off
    virtual double TimeStampMHz(uint32_t uCore) const = 0;  ///< pace of the time-stamp counter

protected:
    ~CCoreClock() = default;
};

}  // namespace vxtsim
