#include "platform/driver_channel.h"

#include "platform/windows/windows_api.h"

namespace vxt::platform {

void CloseDriver(uintptr_t uHandle) { CloseHandle(g_ToHandle(uHandle)); }

CDriverChannel OpenDriver(const wchar_t* pszDevice) {
    return CDriverChannel(
        g_FromHandle(CreateFileW(pszDevice, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                 OPEN_EXISTING, 0, nullptr)));
}

bool ControlDriver(const CDriverChannel& rChannel, uint32_t uCode, const void* pIn, uint32_t uInSize, void* pOut,
                   uint32_t uOutSize, uint32_t& ruReturned) {
    DWORD dwReturned = 0;
    // Without an OVERLAPPED the call waits for the answer and needs somewhere to put the count. The input is not
    // written to: a buffered request works on the system's own copy.
    const bool bSuccess = DeviceIoControl(g_ToHandle(rChannel.Get()), uCode, const_cast<void*>(pIn), uInSize, pOut,
                                          uOutSize, &dwReturned, nullptr) != 0;
    ruReturned = bSuccess ? dwReturned : 0;  // after a failure the count means nothing
    return bSuccess;
}

}  // namespace vxt::platform
