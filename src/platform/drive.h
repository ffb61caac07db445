// Disks and optical drives by the names that the system has for them, one function a control request. All of them block
// until the drive answers: seconds when a disk has to spin up, up to the time-out of three seconds for the identification.
#pragma once

#include <cstdint>
#include <span>

#include "platform/owned_handle.h"

namespace vxt::platform {

void CloseDrive(uintptr_t uHandle);
using CDrive = COwnedHandle<CloseDrive>;

/// What a drive is opened for. Reading and writing needs administrator rights; asking needs none. Neither writes anything.
enum class EDriveAccess : uint8_t { kReadWrite, kAsk };

/// Opens "\\.\PHYSICALDRIVE0", "\\.\CDROM0" or a volume, shared with everybody.
CDrive OpenDrive(const wchar_t* pszPath, EDriveAccess eAccess);

inline constexpr size_t kIdentifyBytes = 512;
/// ATA pass-through of IDENTIFY DEVICE (ECh), or IDENTIFY PACKET DEVICE (A1h): needs kReadWrite. False when the driver knows
/// no pass-through, the drive refuses the command, or not all bytes came.
bool IdentifyDrive(const CDrive& rDrive, bool bPacketDevice, std::span<uint8_t, kIdentifyBytes> Data);
/// The storage device descriptor (STORAGE_DEVICE_DESCRIPTOR) as the driver fills it, unchecked. `ruSize` becomes the number of
/// bytes, at most those of `Data`.
bool DescribeDrive(const CDrive& rDrive, std::span<uint8_t> Data, uint32_t& ruSize);

}  // namespace vxt::platform
