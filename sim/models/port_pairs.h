// Registers behind an index port and the data port that follows it.
#pragma once

#include "../machine.h"

namespace vxtsim {

/// The index stays selected until another one is written; it can be read. Registers behind the dump read FFh and take
/// nothing.
class CPortPairs : public CSimModel {
public:
    CPortPairs(CSimMachine& rMachine, uint16_t usPort)
        : m_rMachine(rMachine), m_usPort(usPort), m_Registers(rMachine.Description().IndexPorts.at(usPort)) {}

    bool ReadPort(uint16_t usPort, uint32_t uWidth, uint32_t& ruValue) override {
        if (uWidth != 1 || (usPort != m_usPort && usPort != m_usPort + 1)) return false;
        ruValue = usPort == m_usPort ? m_ucIndex : Read(m_ucIndex);
        return true;
    }
    bool WritePort(uint16_t usPort, uint32_t uWidth, uint32_t uValue) override {
        if (uWidth != 1 || (usPort != m_usPort && usPort != m_usPort + 1)) return false;
        if (usPort == m_usPort)
            m_ucIndex = static_cast<uint8_t>(uValue);
        else
            Write(m_ucIndex, static_cast<uint8_t>(uValue));
        return true;
    }
    void Describe(CMachineDescription& rDescription) const override {
        std::vector<uint8_t>& rRegisters = rDescription.IndexPorts[m_usPort];
        for (size_t i = 0; i < m_Registers.size(); ++i)
            if (IsKept(static_cast<uint8_t>(i))) rRegisters[i] = m_Registers[i];
    }

    /// Does what is written there belong to the PC's description?
    virtual bool IsKept(uint8_t /*ucRegister*/) const { return true; }
    virtual uint8_t Read(uint8_t ucRegister) const {
        return ucRegister < m_Registers.size() ? m_Registers[ucRegister] : uint8_t{0xFF};
    }
    virtual void Write(uint8_t ucRegister, uint8_t ucValue) {
        if (ucRegister >= m_Registers.size()) return;
        if (m_Registers[ucRegister] != ucValue && IsKept(ucRegister)) m_rMachine.Touch();
        m_Registers[ucRegister] = ucValue;
    }

protected:
    CSimMachine& m_rMachine;

private:
    uint16_t m_usPort;
    uint8_t m_ucIndex = 0;
    std::vector<uint8_t> m_Registers;
};

}  // namespace vxtsim
