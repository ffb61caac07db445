#include "platform/drive.h"

#include <algorithm>

#include "platform/windows/windows_api.h"

// Behind windows_api.h, which they need.
#include <ntddscsi.h>
#include <winioctl.h>

namespace vxt::platform {

namespace {

constexpr ULONG kTimeOut = 3;  // seconds
constexpr UCHAR kIdentifyDevice = 0xEC, kIdentifyPacketDevice = 0xA1;
constexpr size_t kCommand = 6, kStatus = 6;    // of a task file: what goes in, and what comes back in its place
constexpr UCHAR kError = 0x01, kFault = 0x20;  // of the status register

/// The pass-through and, behind it in the same buffer, what the drive sends.
struct CAtaRequest {
    ATA_PASS_THROUGH_EX Header{};
    UCHAR aucData[kIdentifyBytes]{};
};

}  // namespace

void CloseDrive(uintptr_t uHandle) { CloseHandle(g_ToHandle(uHandle)); }

CDrive OpenDrive(const wchar_t* pszPath, EDriveAccess eAccess) {
    const DWORD dwAccess = eAccess == EDriveAccess::kReadWrite ? GENERIC_READ | GENERIC_WRITE : 0;
    return CDrive(g_FromHandle(
        CreateFileW(pszPath, dwAccess, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr)));
}

bool IdentifyDrive(const CDrive& rDrive, bool bPacketDevice, std::span<uint8_t, kIdentifyBytes> Data) {
    CAtaRequest Request;
    Request.Header.Length = sizeof(Request.Header);
    Request.Header.AtaFlags = ATA_FLAGS_DRDY_REQUIRED | ATA_FLAGS_DATA_IN;
    if (bPacketDevice) Request.Header.AtaFlags = ATA_FLAGS_DATA_IN;  // such a drive is ready for packets only
    Request.Header.DataTransferLength = kIdentifyBytes;
    Request.Header.TimeOutValue = kTimeOut;
    Request.Header.DataBufferOffset = offsetof(CAtaRequest, aucData);
    Request.Header.CurrentTaskFile[kCommand] = bPacketDevice ? kIdentifyPacketDevice : kIdentifyDevice;
    DWORD dwReturned = 0;
    if (!DeviceIoControl(g_ToHandle(rDrive.Get()), IOCTL_ATA_PASS_THROUGH, &Request, sizeof(Request), &Request,
                         sizeof(Request), &dwReturned, nullptr))
        return false;
    // The call succeeds for a refused command too: then the drive's status says so.
    const bool bRefused = (Request.Header.CurrentTaskFile[kStatus] & (kError | kFault)) != 0;
    if (bRefused || dwReturned < offsetof(CAtaRequest, aucData) + kIdentifyBytes ||
        Request.Header.DataTransferLength != kIdentifyBytes) {
        SetLastError(ERROR_IO_DEVICE);
        return false;
    }
    std::ranges::copy(Request.aucData, Data.begin());
    return true;
}

bool DescribeDrive(const CDrive& rDrive, std::span<uint8_t> Data, uint32_t& ruSize) {
    STORAGE_PROPERTY_QUERY Query{};
    Query.PropertyId = StorageDeviceProperty;
    Query.QueryType = PropertyStandardQuery;
    DWORD dwReturned = 0;
    if (!DeviceIoControl(g_ToHandle(rDrive.Get()), IOCTL_STORAGE_QUERY_PROPERTY, &Query, sizeof(Query), Data.data(),
                         static_cast<DWORD>(Data.size()), &dwReturned, nullptr))
        return false;
    ruSize = static_cast<uint32_t>(std::min<size_t>(dwReturned, Data.size()));
    return true;
}

}  // namespace vxt::platform
