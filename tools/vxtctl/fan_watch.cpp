#include "fan_watch.h"

#include <algorithm>
#include <deque>

#include "common/text.h"

namespace vxtctl {

using vxttools::g_Trimmed;

namespace {

constexpr std::chrono::milliseconds kLook{250};
constexpr size_t kLooksASecond = 4, kMostLooks = 5 * kLooksASecond;

/// Where a speed that falls by less every second comes to rest, from its readings of the last two seconds: the falls are
/// taken for a geometric series. A speed that does not fall stays; one that falls ever faster goes to nothing.
double g_EndSpeed(double dBefore, double dThen, double dNow) {
    constexpr double kSteady = 0.05;
    const double dEarlier = dBefore - dThen, dLately = dThen - dNow;
    if (dLately <= kSteady * dNow) return dNow;
    return dLately < dEarlier ? dNow - dLately * dLately / (dEarlier - dLately) : 0;
}

}  // namespace

ETurning g_SeeWhetherItTurns(const CFan& rFan, const CHostLibrary& rLibrary) {
    constexpr double kGoesOn =
        0.5;  // of the present speed: a run-down to nothing ends far below, whatever the readings' noise
    std::deque<std::optional<double>> Speeds;  // of two seconds, the latest in front
    bool bGoesOn = false;
    for (size_t i = 0; i < kMostLooks && !bGoesOn; ++i) {
        if (!rLibrary.Pause(kLook)) return ETurning::kInterrupted;
        Speeds.push_front(rFan.Speed());
        if (Speeds.size() > 2 * kLooksASecond + 1) Speeds.pop_back();
        const auto IsNone = [](const std::optional<double>& o) { return !o; };
        if (Speeds.size() >= kLooksASecond && std::all_of(Speeds.begin(), Speeds.begin() + kLooksASecond, IsNone))
            return ETurning::kStops;
        if (Speeds.size() <= 2 * kLooksASecond || !Speeds[0] || !Speeds[kLooksASecond] || !Speeds.back()) continue;
        bGoesOn = g_EndSpeed(*Speeds.back(), *Speeds[kLooksASecond], *Speeds[0]) >= kGoesOn * *Speeds[0];
    }
    return bGoesOn ? ETurning::kTurns : ETurning::kStops;
}

bool g_HasStopped(const CFan& rFan, const CHostLibrary& rLibrary) {
    for (size_t i = 0; i < kLooksASecond; ++i)
        if (rFan.Speed() || !rLibrary.Pause(kLook)) return false;
    return true;
}

CTemperatureWatch::CTemperatureWatch(const CHostLibrary& rLibrary, std::optional<double> oLimit) {
    for (CSensor& rSensor : g_FindSensors(rLibrary)) {
        if (rSensor.eKind != ESensor::kTemperature) continue;
        const std::optional<double> oNow = g_ReadSensor(rSensor).oValue;
        if (!oNow) continue;
        const double dAsked = oLimit.value_or(kUsualLimit), dChip = rSensor.Limits.oMaximum.value_or(dAsked);
        m_Watched.push_back({std::move(rSensor), oLimit ? std::min(dAsked, dChip) : dChip, oNow});
    }
}

std::optional<double> CTemperatureWatch::Highest() const {
    std::optional<double> oHighest;
    for (const CWatched& rWatched : m_Watched)
        if (rWatched.oNow && (!oHighest || *rWatched.oNow > *oHighest)) oHighest = rWatched.oNow;
    return oHighest;
}

std::string CTemperatureWatch::Text() const {
    const auto [itLow, itHigh] = std::ranges::minmax_element(m_Watched, {}, &CWatched::dLimit);
    return std::to_string(m_Watched.size()) + (m_Watched.size() == 1 ? " temperature" : " temperatures") +
           ", the highest is " + g_Trimmed(Highest().value_or(0), 1) + " °C; " +
           (itLow->dLimit == itHigh->dLimit ? "limit " : "limits from " + g_Trimmed(itLow->dLimit, 1) + " to ") +
           g_Trimmed(itHigh->dLimit, 1) + " °C";
}

std::string CTemperatureWatch::TooHot() {
    for (CWatched& rWatched : m_Watched) {
        rWatched.oNow = g_ReadSensor(rWatched.Sensor).oValue;
        rWatched.nMissed = rWatched.oNow ? 0 : rWatched.nMissed + 1;
    }
    return Hot();
}

std::string CTemperatureWatch::Hot() const {
    for (const CWatched& rWatched : m_Watched)
        if (rWatched.oNow && *rWatched.oNow > rWatched.dLimit)
            return rWatched.Sensor.sId.substr(1) + " is at " + g_Trimmed(*rWatched.oNow, 1) + " °C, above " +
                   g_Trimmed(rWatched.dLimit, 1) + " °C";
    return "";
}

std::string CTemperatureWatch::Lost() const {
    constexpr int kMostMissed = 3;
    for (const CWatched& rWatched : m_Watched)
        if (rWatched.nMissed >= kMostMissed) return rWatched.Sensor.sId.substr(1) + " can no longer be read";
    return "";
}

}  // namespace vxtctl
