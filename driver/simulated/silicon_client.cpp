// The library's side of silicon_call.h, in place of what a real machine's library has.
#include <windows.h>

#include <atomic>
#include <cstring>

#include "platform/clock.h"
#include "platform/silicon.h"
#include "platform/simulated/computing.h"
#include "silicon_call.h"
#include "sim/machine.h"

namespace vxt::platform {

using simulated::g_GetComputing;
using vxtdriver::CSiliconAnswer;

namespace {

/// The process ends as the PC does: where it stands, without anything that runs at an end. One thread alone ends it: the others
/// that meet the hang wait for that.
void g_Die(const char* pszReason) {
    static std::atomic_flag s_Dying;
    if (s_Dying.test_and_set()) Sleep(INFINITE);
    DWORD dwWritten = 0;
    const HANDLE hError = GetStdHandle(STD_ERROR_HANDLE);
    for (const char* const pszPart : {pszReason, "\n"})
        WriteFile(hError, pszPart, static_cast<DWORD>(std::strlen(pszPart)), &dwWritten, nullptr);
    TerminateProcess(GetCurrentProcess(), vxtsim::kHungStatus);
}

/// False without a driver that answers. Does not come back from a PC that hung.
bool g_Ask(uint32_t uCode, uint32_t uInput, DWORD dwInputBytes, CSiliconAnswer& rAnswer) {
    const HANDLE hDriver = CreateFileW(L"\\\\.\\VXTDriver", GENERIC_READ | GENERIC_WRITE,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    if (hDriver == INVALID_HANDLE_VALUE) return false;
    DWORD dwReturned = 0;
    const bool bAnswered =
        DeviceIoControl(hDriver, uCode, &uInput, dwInputBytes, &rAnswer, sizeof(rAnswer), &dwReturned, nullptr) != 0;
    CloseHandle(hDriver);
    if (!bAnswered || dwReturned != sizeof(rAnswer)) return false;
    if (rAnswer.szHang[0]) g_Die(rAnswer.szHang);
    return true;
}

}  // namespace

uint64_t SiliconFault() {
    CSiliconAnswer Answer;
    return g_Ask(vxtdriver::kAskSilicon, 0, 0, Answer) ? Answer.ullBits : 0;
}

void BeginComputing() { g_GetComputing().Begin(); }

void EndComputing() { g_GetComputing().End(); }

void FoundError() { g_GetComputing().FoundError(); }

bool SiliconMayErr() { return true; }

void SleepWhileComputing(uint32_t uMilliseconds) {
    g_GetComputing().Sleep(uMilliseconds, [uMilliseconds] {
        CSiliconAnswer Answer;
        if (!g_Ask(vxtdriver::kLetTimePass, uMilliseconds, sizeof(uMilliseconds), Answer)) Sleep(uMilliseconds);
        return Answer.bErrorDue != 0;
    });
}

}  // namespace vxt::platform
