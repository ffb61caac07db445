// What a drive of the PC, and the system's driver in front of it, answer to whoever opens it.
#pragma once

#include <span>
#include <string_view>

#include "machine_file.h"

namespace vxtsim {

inline constexpr size_t kIdentifyBytes = 512;

/// Whether the machine file says anything of drives: else nobody knows which ones the PC has.
bool g_TellsDrives(std::span<const CPluggedDevice> Devices);

/// The drive that opens under this name ("PHYSICALDRIVE0", "D:"; in any letter case, without the "\\.\" in front), as long as
/// it is there; else null.
const CPluggedDevice* g_FindDrive(std::span<const CPluggedDevice> Devices, std::string_view sName,
                                  uint64_t ullNanoseconds);

/// What the drive sends for an ATA command of the IDENTIFY kind: kIdentifyBytes, or nothing where it refuses. A disk answers
/// IDENTIFY DEVICE (ECh), an optical drive IDENTIFY PACKET DEVICE (A1h).
std::span<const uint8_t> g_IdentifyAnswer(const CPluggedDevice& rDevice, uint8_t ucCommand);

/// The whole STORAGE_DEVICE_DESCRIPTOR, texts included, as the system's driver makes it.
std::vector<uint8_t> g_StorageDescriptor(const CPluggedDevice& rDevice);

}  // namespace vxtsim
