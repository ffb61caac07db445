// Time. Simulated time is virtual: sleeping costs nothing and everything that ticks follows it.
#pragma once

#include <cstdint>

namespace vxt::platform {

void Sleep(uint32_t uMilliseconds);

/// Milliseconds since boot; wraps after 49.7 days.
uint32_t TickCount();

struct CLocalTime {
    int nYear, nMonth, nDay, nHour, nMinute, nSecond;  // month 1 to 12
};
/// Wall-clock time in the local zone. Real also on the simulated PC: it stamps log lines.
CLocalTime LocalTime();

}  // namespace vxt::platform
