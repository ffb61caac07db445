// Readings of all chosen sensors, taken together and again and again.
#pragma once

#include <chrono>

#include "common/findings.h"
#include "sensors.h"

namespace vxtctl {

/// What one sensor read over all samples. Without any reading the others are empty.
struct CSeries {
    uint32_t uReadings = 0;
    std::optional<double> oMinimum, oMaximum, oAverage;
};

class CSensorSamples {
public:
    explicit CSensorSamples(std::vector<CSensor> Sensors) : m_Sensors(std::move(Sensors)), m_Series(m_Sensors.size()) {}

    /// Reads each sensor once.
    void Take();

    const std::vector<CSensor>& Sensors() const { return m_Sensors; }
    /// How many were taken.
    uint32_t Count() const { return m_uCount; }
    /// When the last one began, and what it read, by sensor.
    std::chrono::system_clock::time_point Time() const { return m_Time; }
    const std::vector<vxttools::CQuantity>& Readings() const { return m_Readings; }
    /// By sensor.
    const std::vector<CSeries>& Series() const { return m_Series; }
    /// Whether a reading was above its limit.
    bool IsExceeded(size_t uSensor) const;
    /// Limits that were exceeded, readings that should have been there.
    vxttools::CFindings Findings() const;

private:
    std::vector<CSensor> m_Sensors;
    std::vector<CSeries> m_Series;
    std::vector<vxttools::CQuantity> m_Readings;
    std::chrono::system_clock::time_point m_Time;
    uint32_t m_uCount = 0;
};

}  // namespace vxtctl
