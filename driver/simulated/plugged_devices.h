// The PC's devices where the system's programs look for them: in the registry's tree of devices and among the names by which
// drives are opened.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>

#include "sim/machine_file.h"

namespace vxtdriver {

/// Name of the device object that answers for the drive with this place among the machine's devices.
std::wstring g_DriveObjectName(size_t uDevice);

/// Keeps both as the machine file says; with this object everything goes. A machine file that tells of any device tells of all:
/// the tree is that PC's then, and the system's own devices are out of sight. Not for two threads at a time.
class CPluggedDevices {
public:
    explicit CPluggedDevices(std::span<const vxtsim::CPluggedDevice> Devices);
    ~CPluggedDevices();

    /// Lets come and go what is due. No more than a comparison where nothing is.
    void Follow(uint64_t ullUptime) {
        if (ullUptime >= m_ullNextChange) _Change(ullUptime);
    }

private:
    struct CPlug;
    class CHiding;
    void _Change(uint64_t ullUptime);

    std::span<const vxtsim::CPluggedDevice> m_Devices;
    std::map<size_t, std::unique_ptr<CPlug>> m_Plugs;  ///< by place among the devices: those that are there
    uint64_t m_ullNextChange = 0;
    std::unique_ptr<CHiding> m_pHiding;  ///< of the system's devices; null: they stay
};

}  // namespace vxtdriver
