// A chip that is nothing but registers behind an index port and the data port after it.
#pragma once

#include <array>

#include "sim/machine.h"

namespace vxttest {

struct CRegisterChip final : vxtsim::CSimModel {
    CRegisterChip(vxtsim::CSimMachine&, uint16_t usIndexPort, uint8_t ucAll = 0) : m_usIndexPort(usIndexPort) {
        m_Registers.fill(ucAll);
    }
    bool ReadPort(uint16_t usPort, uint32_t, uint32_t& ruValue) override {
        if (usPort != m_usIndexPort + 1) return false;
        ruValue = m_Registers[m_ucSelected];
        return true;
    }
    bool WritePort(uint16_t usPort, uint32_t, uint32_t uValue) override {
        if (usPort != m_usIndexPort && usPort != m_usIndexPort + 1) return false;
        (usPort == m_usIndexPort ? m_ucSelected : m_Registers[m_ucSelected]) = static_cast<uint8_t>(uValue);
        return true;
    }

    std::array<uint8_t, 256> m_Registers;

private:
    const uint16_t m_usIndexPort;
    uint8_t m_ucSelected = 0;
};

}  // namespace vxttest
