#include "platform/clock.h"

#include "platform/windows/windows_api.h"

namespace vxt::platform {

void Sleep(uint32_t uMilliseconds) { ::Sleep(uMilliseconds); }

uint32_t TickCount() { return GetTickCount(); }

// Neither call fails since Windows XP, and the frequency is fixed at boot.
double RunningSeconds() {
    static const double s_dFrequency = [] {
        LARGE_INTEGER Frequency{};
        QueryPerformanceFrequency(&Frequency);
        return static_cast<double>(Frequency.QuadPart);
    }();
    LARGE_INTEGER Now{};
    QueryPerformanceCounter(&Now);
    return static_cast<double>(Now.QuadPart) / s_dFrequency;
}

CLocalTime LocalTime() {
    SYSTEMTIME Now{};
    GetLocalTime(&Now);
    return {Now.wYear, Now.wMonth, Now.wDay, Now.wHour, Now.wMinute, Now.wSecond};
}

}  // namespace vxt::platform
