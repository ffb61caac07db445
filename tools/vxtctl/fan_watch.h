// Whether fans turn and nothing gets too hot while their duty is not the one that the PC's maker chose.
#pragma once

#include "fan_control.h"

namespace vxtctl {

/// The highest duty in percent that a fan of four wires may need to start: "4-Wire Pulse Width Modulation (PWM) Controlled
/// Fans" 1.3. Below it a fan may stand still, so nothing lower is set without --force.
inline constexpr uint32_t kStartDuty = 30;
inline constexpr uint32_t kFullDuty = 100;

/// What a fan came to after its duty was changed.
enum class ETurning { kTurns, kStops, kInterrupted };

/// Looks at a fan that turned before: it runs down for some seconds before it stands still. Waits until its speed tells
/// where it goes, 5 seconds at most.
ETurning g_SeeWhetherItTurns(const CFan& rFan, const CHostLibrary& rLibrary);

/// A fan that turned just now stands still: no reading in a whole second.
bool g_HasStopped(const CFan& rFan, const CHostLibrary& rLibrary);

/// The temperatures that the machine tells, with what they may rise to.
class CTemperatureWatch {
public:
    static constexpr double kUsualLimit = 70;  ///< °C, of sensors whose chip tells none

    /// `oLimit` counts for every sensor whose chip does not tell a lower one.
    CTemperatureWatch(const CHostLibrary& rLibrary, std::optional<double> oLimit);

    bool IsEmpty() const { return m_Watched.empty(); }
    /// "5 temperatures, the highest is 45 °C; limits from 70 to 95 °C"
    std::string Text() const;
    /// Reads all. Why the fans cannot stay as they are; empty: they can.
    std::string TooHot();
    /// The same, of what was read last.
    std::string Hot() const;
    /// A sensor that could be read before, and not for several looks in a row; empty: none.
    std::string Lost() const;
    /// Of the last look.
    std::optional<double> Highest() const;

private:
    struct CWatched {
        CSensor Sensor;
        double dLimit;
        std::optional<double> oNow;
        int nMissed = 0;
    };
    std::vector<CWatched> m_Watched;
};

}  // namespace vxtctl
