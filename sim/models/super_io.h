// A Super I/O chip: configuration behind two ports that answer only when they have been asked by keys, hardware monitor.
#pragma once

#include <optional>

#include "hardware_monitor.h"

namespace vxtsim {

/// Outside the configuration the ports read all ones, and what is written to the first only counts as a key. Inside it
/// register 07 selects the logical device whose registers are seen from 30 on. The hardware monitor is a pair of index and
/// data port 5 and 6 above what registers 60 and 61 of logical device 4 say, while bit 0 of its register 30 is set.
/// Registers behind a dump read FFh and take nothing.
class CSuperIo final : public CSimModel {
public:
    CSuperIo(CSimMachine& rMachine, uint16_t usPort, const CSuperIoChip& rChip);

    bool ReadPort(uint16_t usPort, uint32_t uWidth, uint32_t& ruValue) override;
    bool WritePort(uint16_t usPort, uint32_t uWidth, uint32_t uValue) override;
    void Tick(uint64_t ullNanoseconds) override { m_Monitor.Tick(ullNanoseconds); }
    void Rest(uint64_t ullNanoseconds) override { m_Monitor.Tick(ullNanoseconds); }
    void Describe(CMachineDescription& rDescription) const override;

    bool IsOpen() const { return m_bOpen; }

private:
    void _Key(uint8_t ucKey);
    /// The dump in which a register of the configuration stands; null where it stands in none.
    std::vector<uint8_t>* _Find(uint8_t ucRegister);
    uint8_t _Read(uint8_t ucRegister);
    void _Write(uint8_t ucValue);
    /// First port of the monitor's pair.
    std::optional<uint16_t> _MonitorPort() const;

    CSimMachine& m_rMachine;
    const uint16_t m_usPort;
    const CSuperIoChip& m_rChip;
    std::map<CSuperIoPart, std::vector<uint8_t>> m_Parts;  ///< of the configuration
    CHardwareMonitor m_Monitor;
    uint32_t m_uKeys = 0;  ///< of the sequence, so far
    bool m_bOpen = false;
    uint8_t m_ucIndex = 0, m_ucDevice = 0, m_ucMonitorIndex = 0;
};

}  // namespace vxtsim
