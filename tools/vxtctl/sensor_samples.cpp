#include "sensor_samples.h"

#include <algorithm>

namespace vxtctl {

using vxttools::g_FormatValue;

void CSensorSamples::Take() {
    m_Time = std::chrono::system_clock::now();
    m_Readings.clear();
    ++m_uCount;
    for (size_t i = 0; i < m_Sensors.size(); ++i) {
        const std::optional<double> oValue = m_Readings.emplace_back(g_ReadSensor(m_Sensors[i])).oValue;
        if (!oValue) continue;
        CSeries& rSeries = m_Series[i];
        rSeries.oMinimum = std::min(*oValue, rSeries.oMinimum.value_or(*oValue));
        rSeries.oMaximum = std::max(*oValue, rSeries.oMaximum.value_or(*oValue));
        const double dBefore = rSeries.oAverage.value_or(0);
        rSeries.oAverage = dBefore + (*oValue - dBefore) / ++rSeries.uReadings;
    }
}

bool CSensorSamples::IsExceeded(size_t uSensor) const {
    const std::optional<double> oLimit = m_Sensors[uSensor].Limits.oMaximum;
    return oLimit && m_Series[uSensor].oMaximum > oLimit;
}

vxttools::CFindings CSensorSamples::Findings() const {
    vxttools::CFindings Findings;
    for (size_t i = 0; i < m_Sensors.size(); ++i) {
        const CSensor& rSensor = m_Sensors[i];
        const std::string sName = rSensor.sId.substr(1);
        const uint32_t uMissing = m_uCount - m_Series[i].uReadings;
        if (IsExceeded(i))
            Findings.push_back(sName + ": " + g_FormatValue(*m_Series[i].oMaximum, rSensor.sUnit) + " " +
                               rSensor.sUnit + " is above its limit of " +
                               g_FormatValue(*rSensor.Limits.oMaximum, rSensor.sUnit) + " " + rSensor.sUnit);
        if (!rSensor.pszNone && uMissing > 0)
            Findings.push_back(sName + " could not be read" +
                               (m_uCount > 1
                                    ? " in " + std::to_string(uMissing) + " of " + std::to_string(m_uCount) + " samples"
                                    : ""));
    }
    return Findings;
}

}  // namespace vxtctl
