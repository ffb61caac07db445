#include "platform/clock.h"

#include "platform/windows/windows_api.h"

namespace vxt::platform {

void Sleep(uint32_t uMilliseconds) { ::Sleep(uMilliseconds); }

uint32_t TickCount() { return GetTickCount(); }

CLocalTime LocalTime() {
    SYSTEMTIME Now{};
    GetLocalTime(&Now);
    return {Now.wYear, Now.wMonth, Now.wDay, Now.wHour, Now.wMinute, Now.wSecond};
}

}  // namespace vxt::platform
