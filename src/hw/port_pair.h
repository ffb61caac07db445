// Registers behind an index port and the data port after it, as Super I/O chips keep them.
#pragma once

#include "hw/driver_handler.h"

namespace vxt {

/// Selects a register on the index port, then moves its byte through the data port: two requests an access. Takes no
/// lock: nobody else may use the pair meanwhile.
class CPortPair {
public:
    constexpr CPortPair(CDriverHandler& rDriver, uint16_t usIndex) : m_pDriver(&rDriver), m_usIndex(usIndex) {}

    bool Select(uint8_t ucRegister) const { return m_pDriver->WritePort(m_usIndex, ucRegister); }
    /// `rucValue` is untouched on failure.
    bool Read(uint8_t ucRegister, uint8_t& rucValue) const {
        return Select(ucRegister) && m_pDriver->ReadPort(_DataPort(), rucValue);
    }
    bool Write(uint8_t ucRegister, uint8_t ucValue) const { return Select(ucRegister) && WriteSelected(ucValue); }
    /// Writes the register that was selected last: one request.
    bool WriteSelected(uint8_t ucValue) const { return m_pDriver->WritePort(_DataPort(), ucValue); }
    /// Two neighbouring registers as one number, high byte first. `rusValue` is untouched on failure.
    bool ReadWord(uint8_t ucRegister, uint16_t& rusValue) const {
        uint8_t ucHigh = 0, ucLow = 0;
        const bool bRetCode = Read(ucRegister, ucHigh) && Read(static_cast<uint8_t>(ucRegister + 1), ucLow);
        if (bRetCode) rusValue = static_cast<uint16_t>(ucHigh << 8 | ucLow);
        return bRetCode;
    }

private:
    uint16_t _DataPort() const { return static_cast<uint16_t>(m_usIndex + 1); }

    CDriverHandler* m_pDriver;  ///< never null
    uint16_t m_usIndex;
};

}  // namespace vxt
