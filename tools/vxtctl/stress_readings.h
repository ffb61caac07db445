// What the machine tells while the cores compute: their clocks, all temperatures.
#pragma once

#include "common/findings.h"
#include "fan_watch.h"
#include "sensor_samples.h"

namespace vxtctl {

class CStressReadings {
public:
    /// Before the load begins: measures the reference clock, which a busy core would disturb. `oLimit`: °C for what has no
    /// lower limit of its own.
    CStressReadings(const CHostLibrary& rLibrary, const std::vector<CInventoryEntry>& rCores,
                    std::optional<double> oLimit);

    /// Reads everything once. Why the load must end; empty: it may go on.
    std::string Take();
    /// Of temperatures that were too high before.
    std::string Hot() const { return m_Watch.Hot(); }
    /// Something can no longer be read.
    std::string Lost() const { return m_Watch.Lost(); }
    /// What is watched, for people; empty: nothing.
    std::string WatchText() const { return m_Watch.IsEmpty() ? "" : m_Watch.Text(); }
    std::optional<double> Highest() const { return m_Watch.Highest(); }

    const CSensorSamples& Temperatures() const { return m_Temperatures; }
    /// A core's clock at the last sample, from its multiplier then; a missing one is added to the findings.
    vxttools::CQuantity Clock(uint32_t uCore, vxttools::CFindings& rFindings) const;
    /// The lowest of all samples.
    std::optional<double> LowestClock(uint32_t uCore) const { return _Clock(uCore).oLowest; }
    /// Which of the temperatures is the core's; nothing: it has none.
    std::optional<size_t> TemperatureOf(uint32_t uCore) const;

private:
    struct CClock {
        vxtapi::CCPU* pCpu;
        uint32_t uCore;
        double dReference;  ///< MHz; 0: it could not be measured
        double dNow = 0;
        std::optional<double> oLowest = {};
    };
    const CClock& _Clock(uint32_t uCore) const;

    std::vector<CClock> m_Clocks;
    CSensorSamples m_Temperatures;
    CTemperatureWatch m_Watch;
};

}  // namespace vxtctl
