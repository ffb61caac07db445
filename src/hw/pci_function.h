// One PCI function of the machine and its configuration registers.
#pragma once

#include <span>

#include "hw/driver_handler.h"

namespace vxt {

struct CPciAddress {
    uint32_t uBus = 0, uDevice = 0, uFunction = 0;
};

/// Refers to the handler that it was made with. Takes no lock.
class CPciFunction {
public:
    constexpr explicit CPciFunction(CDriverHandler& rDriver, CPciAddress Address = {})
        : m_pDriver(&rDriver), m_Address(Address) {}

    /// Takes the place of the machine's first function with that identity. False, and nothing changed, without one.
    bool Find(uint16_t usVendor, uint16_t usDevice) {
        const protocol::CPciRecord* pRecord = m_pDriver->FindPciFunction(usVendor, usDevice);
        if (pRecord) m_Address = {pRecord->uBus, pRecord->uDevice, pRecord->uFunction};
        return pRecord != nullptr;
    }
    /// Another function of the same device.
    CPciFunction Further(uint32_t uFunctions) const {
        CPciFunction Other = *this;
        Other.m_Address.uFunction += uFunctions;
        return Other;
    }

    /// One request each, whatever the number of registers.
    bool Read(uint32_t uOffset, std::span<uint32_t> Words) const {
        return m_pDriver->GetPCIConfig(m_Address.uBus, m_Address.uDevice, m_Address.uFunction, uOffset, Words.data(),
                                       static_cast<uint32_t>(Words.size_bytes()));
    }
    bool Write(uint32_t uOffset, std::span<const uint32_t> Words) const {
        return m_pDriver->SetPCIConfig(m_Address.uBus, m_Address.uDevice, m_Address.uFunction, uOffset, Words.data(),
                                       static_cast<uint32_t>(Words.size_bytes()));
    }
    bool Read(uint32_t uOffset, uint32_t& ruValue) const { return Read(uOffset, std::span(&ruValue, 1)); }
    bool Write(uint32_t uOffset, uint32_t uValue) const { return Write(uOffset, std::span(&uValue, 1)); }

private:
    CDriverHandler* m_pDriver;  ///< never null
    CPciAddress m_Address;
};

}  // namespace vxt
