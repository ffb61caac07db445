#include "firmware_runner.h"

#include <windows.h>

#include <atomic>

#include "class_object.h"
#include "platform/simulated/simulated_machine.h"

namespace vxtwmi {

namespace {

using vxtdriver::CFirmwareCall;
using vxtdriver::CFirmwareReply;
namespace simulated = vxt::platform::simulated;

std::atomic<bool> g_bOwnOnly = false;

struct CHandleCloser {
    void operator()(HANDLE hObject) const { CloseHandle(hObject); }
};

/// Nothing when there is no driver.
std::optional<CFirmwareReply> g_RunInDriver(const CFirmwareCall& rCall) {
    const HANDLE hOpened = CreateFileW(L"\\\\.\\VXTDriver", GENERIC_READ | GENERIC_WRITE,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    if (hOpened == INVALID_HANDLE_VALUE) return std::nullopt;
    const std::unique_ptr<void, CHandleCloser> hDriver(hOpened);
    std::vector<uint8_t> Bytes = vxtdriver::g_Pack(rCall);
    DWORD dwReturned = 0;
    uint32_t uSize = 0;
    CFirmwareReply Reply;
    if (!DeviceIoControl(hDriver.get(), vxtdriver::kRunFirmware, Bytes.data(), static_cast<DWORD>(Bytes.size()), &uSize,
                         sizeof(uSize), &dwReturned, nullptr))
        return Reply;
    Bytes.assign(uSize, 0);
    const bool bRetCode = DeviceIoControl(hDriver.get(), vxtdriver::kTakeFirmwareAnswer, nullptr, 0, Bytes.data(),
                                          uSize, &dwReturned, nullptr) &&
                          dwReturned == uSize && vxtdriver::g_Unpack(Bytes, Reply);
    return bRetCode ? Reply : CFirmwareReply();
}

}  // namespace

CFirmwareReply g_RunFirmware(const CFirmwareCall& rCall) {
    if (auto oReply = g_bOwnOnly ? std::nullopt : g_RunInDriver(rCall)) return std::move(*oReply);
    CFirmwareReply Reply = vxtdriver::g_Answer(g_GetWmi(), simulated::g_GetMachine(), rCall);
    if (!rCall.sMethod.empty()) Reply.bDone = Reply.bDone && simulated::g_KeepState();
    return Reply;
}

void g_LeaveDriverAlone() { g_bOwnOnly = true; }

}  // namespace vxtwmi
