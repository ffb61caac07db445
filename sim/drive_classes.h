// What the system's management service tells of the PC's drives.
#pragma once

#include <span>

#include "machine_file.h"

namespace vxtsim {

/// Win32_DiskDrive or Win32_CDROMDrive; null for any other class of root\cimv2.
struct CDriveClass;
const CDriveClass* g_FindDriveClass(std::string_view sClass);
/// The properties of its instances: a drive that is there just now each, in the order of the machine file.
std::vector<std::map<std::string, CWmiValue>> g_DriveInstances(const CDriveClass& rClass,
                                                               std::span<const CPluggedDevice> Devices,
                                                               uint64_t ullNanoseconds);

}  // namespace vxtsim
