// The library's side of silicon_call.h, in place of what a real machine's library has.
#include <windows.h>

#include "platform/silicon.h"
#include "silicon_call.h"

namespace vxt::platform {

uint64_t SiliconFault() {
    const HANDLE hDriver = CreateFileW(L"\\\\.\\VXTDriver", GENERIC_READ | GENERIC_WRITE,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    if (hDriver == INVALID_HANDLE_VALUE) return 0;
    uint64_t ullBits = 0;
    DWORD dwReturned = 0;
    const bool bAnswered = DeviceIoControl(hDriver, vxtdriver::kAskSilicon, nullptr, 0, &ullBits, sizeof(ullBits),
                                           &dwReturned, nullptr) != 0;
    CloseHandle(hDriver);
    return bAnswered && dwReturned == sizeof(ullBits) ? ullBits : 0;
}

void BeginComputing() {}

void EndComputing() {}

bool SiliconMayErr() { return true; }

}  // namespace vxt::platform
