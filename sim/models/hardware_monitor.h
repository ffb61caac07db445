// Registers of a sensor chip, with fans that follow their duty and temperatures that follow heat and air.
#pragma once

#include "heat.h"
#include "monitor_layouts.h"

namespace vxtsim {

/// At power-on everything has settled: the registers are those of the dump, except that busy cores, and other clocks and
/// speeds than those that the dump belongs to, have warmed what it shows. Then a fan follows the duty in force within kFanSeconds (first order), and a temperature what warms
/// and cools it within kTemperatureSeconds: above the room it grows with the heat, and shrinks with the root of the speed of
/// the chip's first fan. A sensor that reads no more than the room, or more than any PC survives, is none and does not move.
/// A tachometer without a fan section stays as dumped. Tachometers and temperatures cannot be written.
class CHardwareMonitor {
public:
    static constexpr double kRoom = 25, kHottest = 120;  ///< degrees Celsius
    static constexpr double kFanSeconds = 1.5, kTemperatureSeconds = 10;

    /// `usPort`: where the machine's fan sections say that they are connected.
    CHardwareMonitor(CSimMachine& rMachine, const CMonitorLayout& rLayout, uint16_t usPort,
                     std::vector<uint8_t> Registers);

    /// Registers behind the dump read FFh and take nothing.
    uint8_t Read(uint8_t ucRegister) const;
    void Write(uint8_t ucRegister, uint8_t ucValue);
    void Tick(uint64_t ullNanoseconds);
    /// The dump of a PC that goes on from here: the description's registers, its fans and what temperatures belong to.
    void Describe(CMachineDescription& rDescription, std::vector<uint8_t>& rRegisters) const;

private:
    struct CTurning {
        uint8_t ucFan;
        CFan Fan;
        double dDutyAtPowerOn, dRpmAtPowerOn, dRpm;
    };
    struct CWarm {
        uint8_t ucChannel;
        double dDumped, dCelsius;
    };
    bool _IsReading(uint8_t ucRegister) const;
    /// What a tachometer shows; 0 without a signal.
    double _Rpm(const std::vector<uint8_t>& rRegisters, uint8_t ucFan) const;
    void _Show(std::vector<uint8_t>& rRegisters, const CTurning& rFan, double dRpm) const;
    void _Show(std::vector<uint8_t>& rRegisters, const CWarm& rSensor, double dCelsius) const;
    double _TargetRpm(const CTurning& rFan) const;
    /// Of the first fan, relative to that of the dump.
    double _Air() const;
    double _Target(const CWarm& rSensor) const;
    bool _Step();

    CSimMachine& m_rMachine;
    const CMonitorLayout& m_rLayout;
    const uint16_t m_usPort;
    std::vector<uint8_t> m_Registers;  ///< as they read now
    CHeat m_Heat;
    std::vector<CTurning> m_Fans;
    std::vector<CWarm> m_Sensors;
    uint64_t m_ullPending = 0;  ///< ns that have not made a step yet
};

}  // namespace vxtsim
