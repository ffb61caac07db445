// The south bridge's hardware monitor, and the power management that its watchdog belongs to.
#pragma once

#include "hardware_monitor.h"
#include "port_pairs.h"

namespace vxtsim {

class CSouthBridgeMonitor final : public CPortPairs {
public:
    CSouthBridgeMonitor(CSimMachine& rMachine, const CMonitorLayout& rLayout)
        : CPortPairs(rMachine, kBridgeMonitorPort),
          m_Monitor(rMachine, rLayout, kBridgeMonitorPort, rMachine.Description().IndexPorts.at(kBridgeMonitorPort)) {}

    uint8_t Read(uint8_t ucRegister) const override { return m_Monitor.Read(ucRegister); }
    void Write(uint8_t ucRegister, uint8_t ucValue) override { m_Monitor.Write(ucRegister, ucValue); }
    void Tick(uint64_t ullNanoseconds) override { m_Monitor.Tick(ullNanoseconds); }
    void Rest(uint64_t ullNanoseconds) override { m_Monitor.Tick(ullNanoseconds); }
    void Describe(CMachineDescription& rDescription) const override {
        m_Monitor.Describe(rDescription, rDescription.IndexPorts[kBridgeMonitorPort]);
    }

private:
    CHardwareMonitor m_Monitor;
};

/// Power management, with the watchdog: 6C to 6F hold the address of its control and count in memory, 69 its resolution. It
/// counts down while bit 0 of the control is set; bit 7 sets the count back to what was written last and starts it, bit 1
/// stops it, and both read 0 afterwards. At 0 it stops and sets bit 1 of 45, until a 1 is written there: the PC goes on.
/// Registers that reading the temperatures switches back and forth (87, 8A, 8B, CF) are no part of the PC's description.
class CSouthBridgePower final : public CPortPairs {
public:
    explicit CSouthBridgePower(CSimMachine& rMachine);

    bool IsKept(uint8_t ucRegister) const override;
    void Write(uint8_t ucRegister, uint8_t ucValue) override;
    void WroteMemory(uint64_t ullAddress, size_t uSize) override;
    void Tick(uint64_t ullNanoseconds) override;
    void Rest(uint64_t ullNanoseconds) override { Tick(ullNanoseconds); }
    void Describe(CMachineDescription& rDescription) const override;

private:
    /// Memory of control and count; null when the machine file describes none there.
    std::vector<uint8_t>* _Registers() const;
    uint64_t _Base() const;

    uint16_t m_usReload = 0;
    uint64_t m_ullElapsed = 0;  ///< ns since the count changed
};

}  // namespace vxtsim
