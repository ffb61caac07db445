#include "hardware_monitor.h"

#include <algorithm>
#include <cmath>

namespace vxtsim {

namespace {

// Whole steps of virtual time: what is read depends on the time alone, not on how many requests it passed in.
constexpr uint64_t kStep = 10'000'000;
constexpr double kStepSeconds = 0.01;
constexpr double kSameRpm = 0.5, kSameCelsius = 0.002;  ///< this near is there

constexpr double kLeastWarmth = 1;  ///< degrees above the room, lest a description make a sensor none
constexpr double kLeastAir = 0.1;   ///< share of the fan's full speed that a case without any wind is worth

/// Moves a value towards its target. False when it is there already.
bool g_Approach(double& rdValue, double dTarget, double dSeconds, double dSame) {
    if (rdValue == dTarget) return false;
    rdValue += (dTarget - rdValue) * kStepSeconds / (dSeconds + kStepSeconds);
    if (std::abs(dTarget - rdValue) < dSame) rdValue = dTarget;
    return true;
}

}  // namespace

CHardwareMonitor::CHardwareMonitor(CSimMachine& rMachine, const CMonitorLayout& rLayout, uint16_t usPort,
                                   std::vector<uint8_t> Registers)
    : m_rMachine(rMachine), m_rLayout(rLayout), m_Registers(std::move(Registers)), m_Heat(rMachine) {
    for (const auto& [Place, rFan] : rMachine.Description().Fans) {
        if (Place.usPort != usPort || Place.ucFan >= rLayout.ucFans) continue;
        const uint16_t usStopped = rLayout.pStopped(m_Registers, Place.ucFan);
        const uint16_t usCount = _Word(rLayout.Tachometer, Place.ucFan, usStopped > 0xFF);
        const int nCounted = usCount & ~rLayout.usUncounted;
        const double dRpm = usCount >= usStopped || nCounted == 0 ? 0 : rLayout.dTachometer / nCounted;
        m_Fans.push_back({Place.ucFan, rFan, rLayout.pDuty(m_Registers, Place.ucFan), dRpm, dRpm});
    }
    const double dHeat = m_Heat.Now();
    for (uint8_t ucChannel = 0; ucChannel < rLayout.ucTemperatures; ++ucChannel) {
        const uint16_t usReading = _Word(rLayout.Temperature, ucChannel, rLayout.Temperature.HasHigh());
        const double dDumped = (usReading - rLayout.dZero) / rLayout.dPerDegree;
        if (dDumped <= kRoom || dDumped > kHottest) continue;
        m_Sensors.push_back({ucChannel, dDumped, std::min(kRoom + (dDumped - kRoom) * dHeat, kHottest)});
        _Show(m_Registers, m_Sensors.back(), m_Sensors.back().dCelsius);
    }
}

uint8_t CHardwareMonitor::Read(uint8_t ucRegister) const {
    return ucRegister < m_Registers.size() ? m_Registers[ucRegister] : uint8_t{0xFF};
}

void CHardwareMonitor::Write(uint8_t ucRegister, uint8_t ucValue) {
    if (ucRegister >= m_Registers.size() || _IsReading(ucRegister)) return;
    if (m_Registers[ucRegister] != ucValue) m_rMachine.Touch();
    m_Registers[ucRegister] = ucValue;
    for (const CTurning& rFan : m_Fans) _Show(m_Registers, rFan, rFan.dRpm);  // by counters of another width
}

void CHardwareMonitor::Tick(uint64_t ullNanoseconds) {
    m_ullPending += ullNanoseconds;
    bool bMoving = m_ullPending >= kStep;
    for (; m_ullPending >= kStep && bMoving; m_ullPending -= kStep) bMoving = _Step();
    m_ullPending %= kStep;  // at rest, one step is as good as many
}

bool CHardwareMonitor::_Step() {
    bool bMoving = false;
    for (CTurning& rFan : m_Fans)
        if (g_Approach(rFan.dRpm, _TargetRpm(rFan), kFanSeconds, kSameRpm))
            bMoving = true, _Show(m_Registers, rFan, rFan.dRpm);
    const double dWarmth = m_Heat.Now() / (m_Fans.empty() ? 1.0 : _Air(m_Fans.front().dRpm));
    for (CWarm& rSensor : m_Sensors)
        if (g_Approach(rSensor.dCelsius, std::min(kRoom + (rSensor.dDumped - kRoom) * dWarmth, kHottest),
                       kTemperatureSeconds, kSameCelsius))
            bMoving = true, _Show(m_Registers, rSensor, rSensor.dCelsius);
    return bMoving;
}

double CHardwareMonitor::_TargetRpm(const CTurning& rFan) const {
    const double dDuty = m_rLayout.pDuty(m_Registers, rFan.ucFan);
    if (dDuty == rFan.dDutyAtPowerOn) return rFan.dRpmAtPowerOn;
    return dDuty * 100 < rFan.Fan.uStart ? 0 : dDuty * rFan.Fan.uFullSpeed;
}

double CHardwareMonitor::_Air(double dRpm) const {
    const CTurning& rFan = m_Fans.front();
    const double dFull = rFan.Fan.uFullSpeed;
    return std::sqrt(std::max(dRpm / dFull, kLeastAir) / std::max(rFan.dRpmAtPowerOn / dFull, kLeastAir));
}

std::vector<uint8_t> CHardwareMonitor::Describe() const {
    std::vector<uint8_t> Registers = m_Registers;
    for (const CTurning& rFan : m_Fans) _Show(Registers, rFan, _TargetRpm(rFan));
    const double dWarmth = m_Heat.SettledIdle() / (m_Fans.empty() ? 1.0 : _Air(_TargetRpm(m_Fans.front())));
    for (const CWarm& rSensor : m_Sensors) {
        const double dLeast = std::min(kRoom + kLeastWarmth, rSensor.dDumped);
        _Show(Registers, rSensor, std::clamp(kRoom + (rSensor.dDumped - kRoom) * dWarmth, dLeast, kHottest));
    }
    return Registers;
}

bool CHardwareMonitor::_IsReading(uint8_t ucRegister) const {
    const auto IsOf = [ucRegister](const CMonitorWord& rWord, uint32_t uChannels) {
        for (uint32_t uChannel = 0; uChannel < uChannels; ++uChannel)
            if (ucRegister == rWord.Low(uChannel) || ucRegister == rWord.High(uChannel)) return true;
        return false;
    };
    return IsOf(m_rLayout.Tachometer, m_rLayout.ucFans) || IsOf(m_rLayout.Temperature, m_rLayout.ucTemperatures);
}

uint16_t CHardwareMonitor::_Word(const CMonitorWord& rWord, uint32_t uChannel, bool bHigh) const {
    const uint8_t ucLow = Read(rWord.Low(uChannel));
    return static_cast<uint16_t>(bHigh ? Read(rWord.High(uChannel)) << 8 | ucLow : ucLow);
}

namespace {

/// Where there are such registers.
void g_Put(std::vector<uint8_t>& rRegisters, uint8_t ucRegister, uint32_t uValue) {
    if (ucRegister < rRegisters.size()) rRegisters[ucRegister] = static_cast<uint8_t>(uValue);
}

}  // namespace

void CHardwareMonitor::_Show(std::vector<uint8_t>& rRegisters, const CTurning& rFan, double dRpm) const {
    const uint32_t uStopped = m_rLayout.pStopped(rRegisters, rFan.ucFan);
    const double dCount = dRpm > 0 ? std::round(m_rLayout.dTachometer / dRpm) : uStopped;
    auto uCount = static_cast<uint32_t>(std::min<double>(dCount, uStopped));
    const uint8_t ucLow = m_rLayout.Tachometer.Low(rFan.ucFan), ucHigh = m_rLayout.Tachometer.High(rFan.ucFan);
    // Uncounted bits stay as they are.
    if (uCount != uStopped && ucLow < rRegisters.size())
        uCount = (uCount & ~uint32_t{m_rLayout.usUncounted}) | (rRegisters[ucLow] & m_rLayout.usUncounted);
    g_Put(rRegisters, ucLow, uCount);
    if (uStopped > 0xFF) g_Put(rRegisters, ucHigh, uCount >> 8);
}

void CHardwareMonitor::_Show(std::vector<uint8_t>& rRegisters, const CWarm& rSensor, double dCelsius) const {
    const auto uReading = static_cast<uint32_t>(std::lround(dCelsius * m_rLayout.dPerDegree + m_rLayout.dZero));
    const CMonitorWord& rWord = m_rLayout.Temperature;
    if (rWord.HasHigh()) g_Put(rRegisters, rWord.High(rSensor.ucChannel), uReading >> 8);
    g_Put(rRegisters, rWord.Low(rSensor.ucChannel), uReading);
}

}  // namespace vxtsim
