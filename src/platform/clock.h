// Time. Simulated time is virtual: sleeping costs nothing and everything that ticks follows it.
#pragma once

#include <cstdint>

namespace vxt::platform {

/// Blocks the calling thread for so long at least; 0 gives up the rest of its time slice.
void Sleep(uint32_t uMilliseconds);

/// The same for a thread that waits while others compute (platform/silicon.h). On a simulated PC their errors keep pace with its
/// virtual time: where one falls due in that time, a test has found one when the call returns. Only where none shows for
/// seconds, because of an overloaded computer or a fault that rounding hides, a later call has it.
void SleepWhileComputing(uint32_t uMilliseconds);

/// Milliseconds since boot, in steps of up to 16; wraps after 49.7 days. Never fails.
uint32_t TickCount();

/// Seconds of a steady clock that resolves a microsecond at least; where it begins is not said. Never fails. Real also on the
/// simulated PC: it times what this computer computes.
double RunningSeconds();

struct CLocalTime {
    int nYear, nMonth, nDay, nHour, nMinute, nSecond;  // month 1 to 12
};
/// Wall-clock time in the local zone; it may jump, back too. Never fails. Real also on the simulated PC: it stamps log lines.
CLocalTime LocalTime();

}  // namespace vxt::platform
