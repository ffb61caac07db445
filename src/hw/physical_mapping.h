// A mapping of physical memory into this process.
#pragma once

#include <utility>

#include "hw/driver_handler.h"

namespace vxt {

/// Sole owner of one mapping: unmaps it when it goes.
class [[nodiscard]] CPhysicalMapping {
public:
    CPhysicalMapping() = default;
    /// None when the driver refuses.
    CPhysicalMapping(CDriverHandler& rDriver, uint64_t ullPhysical, uint32_t uSize)
        : m_pDriver(&rDriver),
          m_uKey(rDriver.MapPhysicalMemory(static_cast<uint32_t>(ullPhysical), static_cast<uint32_t>(ullPhysical >> 32),
                                           uSize)) {}
    CPhysicalMapping(CPhysicalMapping&& rOther) noexcept
        : m_pDriver(rOther.m_pDriver), m_uKey(std::exchange(rOther.m_uKey, 0)) {}
    CPhysicalMapping& operator=(CPhysicalMapping&& rOther) noexcept {
        if (this != &rOther) {
            Unmap();
            m_pDriver = rOther.m_pDriver;
            m_uKey = std::exchange(rOther.m_uKey, 0);
        }
        return *this;
    }
    ~CPhysicalMapping() { Unmap(); }

    explicit operator bool() const { return m_uKey != 0; }
    /// Where it begins in this process; 0 without one, also once the driver handler has shut down and given it back. Ask
    /// before each use.
    uint64_t Address() const { return m_uKey ? m_pDriver->GetMappedAddress(m_uKey) : 0; }
    /// False when the driver refuses; the mapping is none afterwards all the same.
    bool Unmap() { return m_uKey == 0 || m_pDriver->UnmapPhysicalMemory(std::exchange(m_uKey, 0)); }

private:
    CDriverHandler* m_pDriver = nullptr;
    uint32_t m_uKey = 0;  ///< the driver handler's; 0: none
};

}  // namespace vxt
