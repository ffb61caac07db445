// The time axis of a chart. Long times in which nobody recorded are left out of it, else nothing of the rest could be seen.
#pragma once

#include <string>
#include <vector>

namespace vxtctl {

struct CTimeGap {
    double dBegin, dEnd;  ///< seconds
};

class CTimeAxis {
public:
    /// `rSeconds`: of the samples, ascending, from 0; the axis goes from `dLeft` to `dRight` in the picture's own units.
    CTimeAxis(const std::vector<double>& rSeconds, double dLeft, double dRight);

    double Seconds() const { return m_dSeconds; }  ///< from the first sample to the last, one at least
    /// A pause that is longer than this was none between two samples: nobody recorded meanwhile.
    double LongestPause() const { return m_dLongestPause; }
    double X(double dSeconds) const;
    /// What is left out, each `GapWidth` wide in the picture.
    const std::vector<CTimeGap>& Gaps() const { return m_Gaps; }
    double GapWidth() const { return m_dGapWidth; }
    /// Where labels stand: where recording begins, and round times so far from each other that there is room.
    std::vector<double> Ticks() const;
    std::string Label(double dSeconds) const;  ///< with hours where the axis has any
    bool HasHours() const { return m_dSeconds >= 3600; }

private:
    double m_dLeft, m_dSeconds, m_dLongestPause, m_dGapWidth = 0, m_dScale;
    double m_dRecorded;  ///< seconds without the gaps
    std::vector<CTimeGap> m_Gaps;
};

}  // namespace vxtctl
