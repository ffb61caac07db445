#include "hardware_monitor.h"

#include <algorithm>
#include <cmath>

namespace vxtsim {

namespace {

// Whole steps of virtual time: what is read depends on the time alone, not on how many requests it passed in.
constexpr uint64_t kStep = 10'000'000;
constexpr double kStepSeconds = 0.01;
constexpr double kSameRpm = 0.5, kSameCelsius = 0.002;  ///< this near is there

constexpr double kLeastAir = 0.1;  ///< share of the fan's full speed that a case without any wind is worth

constexpr double kFastest = 30'000;  ///< RPM that a machine file can say

int32_t g_WholeRpm(double dRpm) { return static_cast<int32_t>(std::lround(std::min(dRpm, kFastest))); }

uint8_t g_Byte(const std::vector<uint8_t>& rRegisters, uint8_t ucRegister) {
    return ucRegister < rRegisters.size() ? rRegisters[ucRegister] : uint8_t{0xFF};
}
uint16_t g_Word(const std::vector<uint8_t>& rRegisters, const CMonitorWord& rWord, uint32_t uChannel, bool bHigh) {
    const uint8_t ucHigh = bHigh ? g_Byte(rRegisters, rWord.High(uChannel)) : uint8_t{0};
    return static_cast<uint16_t>(ucHigh << 8 | g_Byte(rRegisters, rWord.Low(uChannel)));
}

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
    : m_rMachine(rMachine), m_rLayout(rLayout), m_usPort(usPort), m_Registers(std::move(Registers)), m_Heat(rMachine) {
    for (const auto& [Place, rFan] : rMachine.Description().Fans) {
        if (Place.usPort != usPort || Place.ucFan >= rLayout.ucFans) continue;
        const double dRpm = _Rpm(m_Registers, Place.ucFan);
        m_Fans.push_back({Place.ucFan, rFan, rLayout.pDuty(m_Registers, Place.ucFan), dRpm, dRpm});
        int32_t& rnIdleSpeed = m_Fans.back().Fan.nIdleSpeed;
        if (rnIdleSpeed < 0) rnIdleSpeed = g_WholeRpm(dRpm);
    }
    for (uint8_t ucChannel = 0; ucChannel < rLayout.ucTemperatures; ++ucChannel) {
        const uint16_t usReading = g_Word(m_Registers, rLayout.Temperature, ucChannel, rLayout.Temperature.HasHigh());
        const double dDumped = (usReading - rLayout.dZero) / rLayout.dPerDegree;
        if (dDumped <= kRoom || dDumped > kHottest) continue;
        CWarm& rSensor = m_Sensors.emplace_back(CWarm{ucChannel, dDumped, dDumped});
        rSensor.dCelsius = _Target(rSensor);
        _Show(m_Registers, rSensor, rSensor.dCelsius);
    }
}

uint8_t CHardwareMonitor::Read(uint8_t ucRegister) const { return g_Byte(m_Registers, ucRegister); }

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
    for (CWarm& rSensor : m_Sensors)
        if (g_Approach(rSensor.dCelsius, _Target(rSensor), kTemperatureSeconds, kSameCelsius))
            bMoving = true, _Show(m_Registers, rSensor, rSensor.dCelsius);
    return bMoving;
}

double CHardwareMonitor::_TargetRpm(const CTurning& rFan) const {
    const double dDuty = m_rLayout.pDuty(m_Registers, rFan.ucFan);
    if (dDuty == rFan.dDutyAtPowerOn) return rFan.dRpmAtPowerOn;
    return dDuty * 100 < rFan.Fan.uStart ? 0 : dDuty * rFan.Fan.uFullSpeed;
}

double CHardwareMonitor::_Air() const {
    if (m_Fans.empty()) return 1;
    const auto& [ucFan, Fan, dDuty, dAtPowerOn, dRpm] = m_Fans.front();
    const double dFull = Fan.uFullSpeed;
    return std::sqrt(std::max(g_WholeRpm(dRpm) / dFull, kLeastAir) / std::max(Fan.nIdleSpeed / dFull, kLeastAir));
}

double CHardwareMonitor::_Target(const CWarm& rSensor) const {
    return std::min(kRoom + (rSensor.dDumped - kRoom) * m_Heat.Now() / _Air(), kHottest);
}

void CHardwareMonitor::Describe(CMachineDescription& rDescription, std::vector<uint8_t>& rRegisters) const {
    rRegisters = m_Registers;
    for (const CTurning& rFan : m_Fans) _Show(rRegisters, rFan, _TargetRpm(rFan));
    for (const CWarm& rSensor : m_Sensors) _Show(rRegisters, rSensor, rSensor.dDumped);
    m_Heat.Describe(rDescription);
    if (m_Fans.empty()) return;
    const CTurning& rFirst = m_Fans.front();
    const bool bTachometerSaysIt = g_WholeRpm(_Rpm(rRegisters, rFirst.ucFan)) == rFirst.Fan.nIdleSpeed;
    rDescription.Fans[{m_usPort, rFirst.ucFan}].nIdleSpeed = bTachometerSaysIt ? -1 : rFirst.Fan.nIdleSpeed;
}

bool CHardwareMonitor::_IsReading(uint8_t ucRegister) const {
    const auto IsOf = [ucRegister](const CMonitorWord& rWord, uint32_t uChannels) {
        for (uint32_t uChannel = 0; uChannel < uChannels; ++uChannel)
            if (ucRegister == rWord.Low(uChannel) || ucRegister == rWord.High(uChannel)) return true;
        return false;
    };
    return IsOf(m_rLayout.Tachometer, m_rLayout.ucFans) || IsOf(m_rLayout.Temperature, m_rLayout.ucTemperatures);
}

double CHardwareMonitor::_Rpm(const std::vector<uint8_t>& rRegisters, uint8_t ucFan) const {
    const uint16_t usStopped = m_rLayout.pStopped(rRegisters, ucFan);
    const uint16_t usCount = g_Word(rRegisters, m_rLayout.Tachometer, ucFan, usStopped > 0xFF);
    const int nCounted = usCount & ~m_rLayout.usUncounted;
    return usCount >= usStopped || nCounted == 0 ? 0 : m_rLayout.dTachometer / nCounted;
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
