#include "stress_readings.h"

#include <algorithm>

#include "device_types.h"

namespace vxtctl {

using vxttools::CQuantity;

namespace {

std::vector<CSensor> g_TemperatureSensors(const CHostLibrary& rLibrary) {
    std::vector<CSensor> Sensors = g_FindSensors(rLibrary);
    std::erase_if(Sensors, [](const CSensor& rSensor) { return rSensor.eKind != ESensor::kTemperature; });
    return Sensors;
}

/// The library measures it, and hands out its product with the multiplier.
double g_ReferenceClock(vxtapi::CCPU& rCpu) {
    const double dMultiplier = rCpu.GetCurrentMultiplier();
    return dMultiplier > 0 ? rCpu.GetCurrentClock() / dMultiplier : 0;
}

}  // namespace

CStressReadings::CStressReadings(const CHostLibrary& rLibrary, const std::vector<CInventoryEntry>& rCores,
                                 std::optional<double> oLimit)
    : m_Temperatures(g_TemperatureSensors(rLibrary)), m_Watch(rLibrary, oLimit) {
    for (const CInventoryEntry& rCore : rCores) {
        auto& rCpu = *static_cast<vxtapi::CCPU*>(rCore.pDevice);
        m_Clocks.push_back({&rCpu, rCore.uIndex, g_ReferenceClock(rCpu)});
    }
}

std::string CStressReadings::Take() {
    for (CClock& rClock : m_Clocks) {
        rClock.dNow = rClock.pCpu->GetCurrentMultiplier() * rClock.dReference;
        if (rClock.dNow > 0) rClock.oLowest = std::min(rClock.dNow, rClock.oLowest.value_or(rClock.dNow));
    }
    m_Temperatures.Take();
    return m_Watch.TooHot();
}

const CStressReadings::CClock& CStressReadings::_Clock(uint32_t uCore) const {
    return *std::ranges::find(m_Clocks, uCore, &CClock::uCore);
}

CQuantity CStressReadings::Clock(uint32_t uCore, vxttools::CFindings& rFindings) const {
    CQuantity Quantity{g_DevicePath(vxtapi::kDeviceCpu, uCore) + "/core_clock", "Core clock", "MHz"};
    vxttools::g_TakeReading(Quantity, _Clock(uCore).dNow, vxttools::kPlausibleClock, nullptr, rFindings);
    return Quantity;
}

std::optional<size_t> CStressReadings::TemperatureOf(uint32_t uCore) const {
    const std::vector<CSensor>& rSensors = m_Temperatures.Sensors();
    const auto it = std::ranges::find(rSensors, g_DevicePath(vxtapi::kDeviceCpu, uCore), &CSensor::sDevicePath);
    return it == rSensors.end() ? std::nullopt : std::optional(static_cast<size_t>(it - rSensors.begin()));
}

}  // namespace vxtctl
