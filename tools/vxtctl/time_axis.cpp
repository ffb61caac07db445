#include "time_axis.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "common/markup.h"

namespace vxtctl {
namespace {

constexpr double kWidestGap = 36;   ///< in the picture's units
constexpr double kLabelRoom = 64;   ///< from the middle of one label to that of the next one
constexpr double kGapsShare = 0.5;  ///< of the time without samples, from which on it is left out

double g_LongestPause(const std::vector<double>& rSeconds) {
    constexpr double kMissed = 3.5;  // samples in a row that came too late
    std::vector<double> Pauses;
    for (size_t i = 1; i < rSeconds.size(); ++i) Pauses.push_back(rSeconds[i] - rSeconds[i - 1]);
    if (Pauses.empty()) return 0;
    const auto itMiddle = Pauses.begin() + static_cast<std::ptrdiff_t>(Pauses.size() / 2);
    std::ranges::nth_element(Pauses, itMiddle);
    return std::max(*itMiddle, 0.1) * kMissed;
}

}  // namespace

CTimeAxis::CTimeAxis(const std::vector<double>& rSeconds, double dLeft, double dRight)
    : m_dLeft(dLeft), m_dSeconds(std::max(rSeconds.back(), 1.0)), m_dLongestPause(g_LongestPause(rSeconds)) {
    double dPauses = 0;
    for (size_t i = 1; i < rSeconds.size(); ++i) {
        if (rSeconds[i] - rSeconds[i - 1] <= m_dLongestPause) continue;
        m_Gaps.push_back({rSeconds[i - 1], rSeconds[i]});
        dPauses += rSeconds[i] - rSeconds[i - 1];
    }
    if (dPauses <= m_dSeconds * kGapsShare) {
        m_Gaps.clear();
        dPauses = 0;
    }
    const double dWidth = dRight - dLeft;
    if (!m_Gaps.empty()) m_dGapWidth = std::min(kWidestGap, dWidth / 2 / static_cast<double>(m_Gaps.size()));
    m_dRecorded = std::max(m_dSeconds - dPauses, 1.0);
    m_dScale = (dWidth - m_dGapWidth * static_cast<double>(m_Gaps.size())) / m_dRecorded;
}

double CTimeAxis::X(double dSeconds) const {
    double dX = m_dLeft + dSeconds * m_dScale;
    for (const CTimeGap& rGap : m_Gaps) {
        if (dSeconds <= rGap.dBegin) break;
        const double dInGap = std::min(dSeconds, rGap.dEnd) - rGap.dBegin;
        dX += dInGap / (rGap.dEnd - rGap.dBegin) * m_dGapWidth - dInGap * m_dScale;
    }
    return dX;
}

std::vector<double> CTimeAxis::Ticks() const {
    std::vector<double> Ticks;
    const auto AddWhereRoom = [&](double dSeconds) {
        const bool bIsFree =
            std::ranges::all_of(Ticks, [&](double d) { return std::abs(X(d) - X(dSeconds)) >= kLabelRoom; });
        if (bIsFree) Ticks.push_back(dSeconds);
    };
    AddWhereRoom(0);
    for (const CTimeGap& rGap : m_Gaps) AddWhereRoom(rGap.dEnd);
    const double dStep = vxttools::g_TimeStep(m_dRecorded);
    double dFrom = 0;
    const auto AddRound = [&](double dTo) {
        for (double d = std::ceil(dFrom / dStep) * dStep; d <= dTo; d += dStep) AddWhereRoom(d);
    };
    for (const CTimeGap& rGap : m_Gaps) {
        AddRound(rGap.dBegin);
        dFrom = rGap.dEnd;
    }
    AddRound(m_dSeconds);
    return Ticks;
}

std::string CTimeAxis::Label(double dSeconds) const { return vxttools::g_TimeText(dSeconds, HasHours()); }

}  // namespace vxtctl
