// One PCI function of the machine, found by its identity, and its configuration registers.
#pragma once

#include <span>

#include "hw/driver_handler.h"

namespace vxt {

class CPciFunction {
public:
    /// Takes the place of the machine's first function with that identity. False, and nothing changed, without one.
    bool Find(uint16_t usVendor, uint16_t usDevice) {
        const protocol::CPciRecord* pRecord = g_GetDriverHandler().FindPciFunction(usVendor, usDevice);
        if (pRecord) m_uBus = pRecord->uBus, m_uDevice = pRecord->uDevice, m_uFunction = pRecord->uFunction;
        return pRecord != nullptr;
    }
    /// Another function of the same device.
    CPciFunction Further(uint32_t uFunctions) const {
        CPciFunction Other = *this;
        Other.m_uFunction += uFunctions;
        return Other;
    }

    /// One request each, whatever the number of registers.
    bool Read(uint32_t uOffset, std::span<uint32_t> Words) const {
        return g_GetDriverHandler().GetPCIConfig(m_uBus, m_uDevice, m_uFunction, uOffset, Words.data(),
                                                 static_cast<uint32_t>(Words.size_bytes()));
    }
    bool Write(uint32_t uOffset, std::span<const uint32_t> Words) const {
        return g_GetDriverHandler().SetPCIConfig(m_uBus, m_uDevice, m_uFunction, uOffset, Words.data(),
                                                 static_cast<uint32_t>(Words.size_bytes()));
    }
    bool Read(uint32_t uOffset, uint32_t& ruValue) const { return Read(uOffset, std::span(&ruValue, 1)); }
    bool Write(uint32_t uOffset, uint32_t uValue) const { return Write(uOffset, std::span(&uValue, 1)); }

private:
    uint32_t m_uBus = 0, m_uDevice = 0, m_uFunction = 0;
};

}  // namespace vxt
