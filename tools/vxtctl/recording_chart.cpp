#include "recording_chart.h"

#include <algorithm>
#include <cmath>

#include "common/html_page.h"
#include "common/markup.h"
#include "common/text.h"
#include "time_axis.h"

namespace vxtctl {

using vxttools::g_At;
using vxttools::g_FormatValue;
using vxttools::g_Markup;
using vxttools::g_MoveTo;
using vxttools::g_SvgPath;
using vxttools::g_SvgText;

// Eight colours that people who see few of them can tell apart, then the same with dashes.
const char* const kChartStyle = R"(figure{margin:1.5rem 0}figcaption{font-weight:600;margin-bottom:.4rem}
.chart{display:block;width:100%;min-width:40rem;font-size:13px}
.chart text{fill:var(--text)}.chart .middle{text-anchor:middle}.chart .end{text-anchor:end}
.grid{stroke:var(--line);fill:none}.key{width:2.4rem;height:.7rem;vertical-align:middle}
.gap{fill:var(--head);stroke:var(--line)}.chart .up{writing-mode:vertical-rl;text-anchor:middle;font-size:12px}.dot{fill:none;stroke-width:5;stroke-linecap:round}
.line{fill:none;stroke-width:1.5;stroke-linejoin:round;stroke-linecap:round}
.d1{stroke-dasharray:7 4}.d2{stroke-dasharray:2 4}
.s0{stroke:#0067a3}.s1{stroke:#c24e00}.s2{stroke:#00805d}.s3{stroke:#a8407f}
.s4{stroke:#826500}.s5{stroke:#2f86c1}.s6{stroke:#555}.s7{stroke:#6a45ab}
@media screen and (prefers-color-scheme:dark){
.s0{stroke:#5db5ee}.s1{stroke:#ff9a4d}.s2{stroke:#4ed0a4}.s3{stroke:#f09bcb}
.s4{stroke:#e3c94c}.s5{stroke:#a9d2ff}.s6{stroke:#c9c9c9}.s7{stroke:#c3a6f6}}
)";

namespace {

// In the picture's own units.
constexpr double kWidth = 960, kLeft = 70, kRight = 920, kTop = 30;
constexpr double kTall = 330, kSmall = 230,
                 kBelow = 60;  ///< heights: of a picture, of one among several, below its axis
constexpr int kColours = 8, kDashes = 3;

struct CSummary {
    size_t uReadings = 0;
    double dMinimum = 0, dMaximum = 0, dAverage = 0;
};

CSummary g_Summarize(const std::vector<double>& rValues) {
    CSummary Summary;
    for (const double d : rValues) {
        if (std::isnan(d)) continue;
        Summary.dMinimum = Summary.uReadings ? std::min(Summary.dMinimum, d) : d;
        Summary.dMaximum = Summary.uReadings ? std::max(Summary.dMaximum, d) : d;
        Summary.dAverage += (d - Summary.dAverage) / static_cast<double>(++Summary.uReadings);
    }
    return Summary;
}

/// Of the axis: a line that never moves is no mountain range.
double g_LeastStep(ESensor eKind) {
    switch (eKind) {
        case ESensor::kFan:
            return 10;
        case ESensor::kVoltage:
            return 0.01;
        default:
            return 1;
    }
}

std::string g_Colour(size_t uSeries) { return "s" + std::to_string(uSeries % kColours); }

std::string g_Class(size_t uSeries) {
    return "line " + g_Colour(uSeries) + " d" + std::to_string(uSeries / kColours % kDashes);
}

struct CSeries {
    const CRecordedSensor* pSensor;
    std::string sLabel;
    CSummary Summary;
};

/// What shares an axis. Voltages lie far apart and move little: no axis is longer than three times the way of the sensor
/// that moves least, or than 0.3 V. Sensors without a reading come last.
std::vector<std::vector<CSeries>> g_Groups(ESensor eKind, std::vector<CSeries> All) {
    constexpr double kLongest = 3, kLeastWay = 0.1;  // V
    if (eKind != ESensor::kVoltage) return {std::move(All)};
    std::ranges::stable_sort(All, {},
                             [](const CSeries& r) { return std::pair(r.Summary.uReadings == 0, r.Summary.dMinimum); });
    std::vector<std::vector<CSeries>> Groups;
    double dLowest = 0, dHighest = 0, dWay = 0;
    for (CSeries& rSeries : All) {
        const CSummary& r = rSeries.Summary;
        const double dOwnWay = std::max(r.dMaximum - r.dMinimum, kLeastWay);
        const bool bJoins = !Groups.empty() && (r.uReadings == 0 || std::max(dHighest, r.dMaximum) - dLowest <=
                                                                        kLongest * std::min(dWay, dOwnWay));
        if (!bJoins) {
            Groups.emplace_back();
            dLowest = r.dMinimum, dHighest = r.dMaximum, dWay = dOwnWay;
        } else if (r.uReadings) {
            dHighest = std::max(dHighest, r.dMaximum), dWay = std::min(dWay, dOwnWay);
        }
        Groups.back().push_back(std::move(rSeries));
    }
    return Groups;
}

/// Sensors of one kind over time.
class CLineChart {
public:
    /// `uNumber`: of the kind's charts, from 1 on, of which there are `uCharts`.
    CLineChart(const CRecording& rRecording, const CTimeAxis& rTime, ESensor eKind, std::vector<CSeries> Series,
               size_t uNumber, size_t uCharts)
        : m_rRecording(rRecording),
          m_rTime(rTime),
          m_eKind(eKind),
          m_Series(std::move(Series)),
          m_uNumber(uNumber),
          m_bHasOthers(uCharts > 1),
          m_dHeight(m_bHasOthers ? kSmall : kTall),
          m_dFoot(m_dHeight - kBelow) {
        for (const CSeries& rSeries : m_Series) {
            if (rSeries.Summary.uReadings == 0) continue;
            m_dLowest = m_bHasReadings ? std::min(m_dLowest, rSeries.Summary.dMinimum) : rSeries.Summary.dMinimum;
            m_dHighest = m_bHasReadings ? std::max(m_dHighest, rSeries.Summary.dMaximum) : rSeries.Summary.dMaximum;
            m_bHasReadings = true;
        }
        m_dStep = vxttools::g_AxisStep(m_dHighest - m_dLowest, g_LeastStep(eKind));
        m_dBottom = std::floor(m_dLowest / m_dStep) * m_dStep;
        m_dTop = std::max(std::ceil(m_dHighest / m_dStep) * m_dStep, m_dBottom + m_dStep);
    }

    std::string Html() const {
        const std::string sTitle = _Title();
        std::string sHtml = "<figure>\n<figcaption>" + g_Markup(sTitle) + "</figcaption>\n";
        if (m_bHasReadings) sHtml += vxttools::g_Scrollable(sTitle + ", chart", _Svg(sTitle));
        return sHtml + vxttools::g_Scrollable(sTitle + ", table", _Table(sTitle), "scroll short") + "</figure>\n";
    }

private:
    std::string _Title() const {
        return std::string(g_KindLabel(m_eKind)) + ", " + g_KindUnit(m_eKind) +
               (m_bHasOthers && m_bHasReadings ? ", from " + _Value(m_dLowest) + " to " + _Value(m_dHighest) : "");
    }
    std::string _Value(double dValue) const { return g_FormatValue(dValue, g_KindUnit(m_eKind)); }
    double _X(double dSeconds) const { return m_rTime.X(dSeconds); }
    double _Y(double dValue) const { return m_dFoot - (dValue - m_dBottom) / (m_dTop - m_dBottom) * (m_dFoot - kTop); }

    std::string _Svg(const std::string& sTitle) const {
        const std::string sId = g_KindWord(m_eKind) + (m_uNumber > 1 ? "-" + std::to_string(m_uNumber) : "");
        std::string sSvg = "<svg class=\"chart\" viewBox=\"0 0 " + g_At(kWidth) + " " + g_At(m_dHeight) +
                           "\" role=\"img\" aria-labelledby=\"" + sId + "-title " + sId + "-desc\">\n<title id=\"" +
                           sId + "-title\">" + g_Markup(sTitle) + " over time</title>\n<desc id=\"" + sId + "-desc\">" +
                           g_Markup(_Description()) + "</desc>\n" + _Axes();
        for (size_t i = 0; i < m_Series.size(); ++i)
            if (m_Series[i].Summary.uReadings) sSvg += _Lines(i);
        return sSvg + "</svg>\n";
    }

    std::string _Description() const {
        return "Readings of " + std::to_string(m_Series.size()) + " sensors over " +
               vxttools::g_TimeText(m_rTime.Seconds()) + ", from " + _Value(m_dLowest) + " to " + _Value(m_dHighest) +
               " " + g_KindUnit(m_eKind) + ". The table below has each sensor's minimum, maximum and average.";
    }

    std::string _Axes() const {
        std::string sAxes = g_SvgText(8, 16, g_KindUnit(m_eKind));
        const int nSteps = static_cast<int>(std::llround((m_dTop - m_dBottom) / m_dStep));
        for (int i = 0; i <= nSteps; ++i) {
            const double dValue = m_dBottom + i * m_dStep, dY = _Y(dValue);
            sAxes += g_SvgPath("grid", g_MoveTo(kLeft, dY) + "H" + g_At(kRight)) +
                     g_SvgText(kLeft - 8, dY + 4, vxttools::g_Trimmed(dValue, 3), "end");
        }
        for (const double dSeconds : m_rTime.Ticks())
            sAxes += g_SvgPath("grid", g_MoveTo(_X(dSeconds), m_dFoot) + "v6") +
                     g_SvgText(_X(dSeconds), m_dFoot + 22, m_rTime.Label(dSeconds), "middle");
        return sAxes + _Gaps() +
               g_SvgText((kLeft + kRight) / 2, m_dHeight - 12,
                         "Time since " + vxttools::g_IsoTime(m_rRecording.Begin) +
                             (m_rTime.HasHours() ? ", h:min:s" : ", min:s"),
                         "middle");
    }

    /// Bands where time is left out, each with its length where it is wide enough for a line of text upright.
    std::string _Gaps() const {
        constexpr double kTextHeight = 16;
        std::string sGaps;
        for (const CTimeGap& rGap : m_rTime.Gaps()) {
            const double dX = _X(rGap.dBegin);
            const std::string sText = m_rTime.Label(rGap.dEnd - rGap.dBegin) + " not recorded";
            const std::string sWay =
                g_MoveTo(dX, kTop) + "h" + g_At(m_rTime.GapWidth()) + "V" + g_At(m_dFoot) + "H" + g_At(dX) + "z";
            sGaps += g_SvgPath("gap", sWay, sText);
            if (m_rTime.GapWidth() >= kTextHeight)
                sGaps += g_SvgText(dX + m_rTime.GapWidth() / 2, (kTop + m_dFoot) / 2, sText, "up");
        }
        return sGaps;
    }

    /// The line, broken where there is no reading or nobody recorded; a sample that stays alone is a dot. Of the readings between two units of the picture's
    /// width the lowest and the highest stay, in their order: no more can be seen.
    std::string _Lines(size_t uSeries) const {
        const CSeries& rSeries = m_Series[uSeries];
        const std::vector<double>& rSeconds = m_rRecording.Seconds;
        const std::vector<double>& rValues = rSeries.pSensor->Values;
        std::string sWay, sDots;
        const auto IsJoined = [&](size_t i) {  // with the one before it
            return !std::isnan(rValues[i - 1]) && rSeconds[i] - rSeconds[i - 1] <= m_rTime.LongestPause();
        };
        for (size_t i = 0; i < rValues.size();) {
            if (std::isnan(rValues[i])) {
                ++i;
                continue;
            }
            const bool bJoined = i > 0 && IsJoined(i);
            const double dColumn = std::floor(_X(rSeconds[i]));
            size_t uLow = i, uHigh = i, uEnd = i + 1;
            for (; uEnd < rValues.size() && !std::isnan(rValues[uEnd]) && IsJoined(uEnd) &&
                   std::floor(_X(rSeconds[uEnd])) == dColumn;
                 ++uEnd) {
                if (rValues[uEnd] < rValues[uLow]) uLow = uEnd;
                if (rValues[uEnd] > rValues[uHigh]) uHigh = uEnd;
            }
            const auto Point = [&](size_t u) { return g_At(_X(rSeconds[u])) + " " + g_At(_Y(rValues[u])); };
            const auto [uFirst, uSecond] = std::minmax(uLow, uHigh);
            const bool bGoesOn = uEnd < rValues.size() && !std::isnan(rValues[uEnd]) && IsJoined(uEnd);
            if (!bJoined && !bGoesOn && uSecond == uFirst) {
                sDots += "M" + Point(uFirst) + "h0";  // round ends make a dot of it
            } else {
                sWay += (bJoined ? "L" : "M") + Point(uFirst);
                if (uSecond != uFirst) sWay += "L" + Point(uSecond);
            }
            i = uEnd;
        }
        return (sWay.empty() ? "" : g_SvgPath(g_Class(uSeries), sWay, rSeries.sLabel)) +
               (sDots.empty() ? "" : g_SvgPath("dot " + g_Colour(uSeries), sDots, rSeries.sLabel));
    }

    std::string _Table(const std::string& sTitle) const {
        std::string sTable = "<table>\n<caption>" + g_Markup(sTitle) +
                             ": minimum, maximum and average</caption>\n<thead><tr><th scope=\"col\">Sensor</th>";
        for (const char* const pszHeading : {"Minimum", "Maximum", "Average", "Readings"})
            sTable += "<th scope=\"col\" class=\"n\">" + std::string(pszHeading) + "</th>";
        sTable += "</tr></thead>\n<tbody>\n";
        for (size_t i = 0; i < m_Series.size(); ++i) {
            const CSummary& rSummary = m_Series[i].Summary;
            sTable += "<tr><th scope=\"row\"><svg class=\"key\" viewBox=\"0 0 38 10\" aria-hidden=\"true\">" +
                      g_SvgPath(g_Class(i), "M1 5H37") + "</svg> " + g_Markup(m_Series[i].sLabel) + "</th>";
            for (const double d : {rSummary.dMinimum, rSummary.dMaximum, rSummary.dAverage})
                sTable += "<td class=\"n\">" + (rSummary.uReadings ? g_Markup(_Value(d)) : "-") + "</td>";
            sTable += "<td class=\"n\">" + std::to_string(rSummary.uReadings) + "</td></tr>\n";
        }
        return sTable + "</tbody>\n</table>\n";
    }

    const CRecording& m_rRecording;
    const CTimeAxis& m_rTime;
    ESensor m_eKind;
    std::vector<CSeries> m_Series;
    size_t m_uNumber;
    bool m_bHasOthers, m_bHasReadings = false;
    double m_dHeight, m_dFoot;  ///< the foot: where the time axis is
    double m_dLowest = 0, m_dHighest = 0, m_dStep, m_dBottom, m_dTop;
};

}  // namespace

std::string g_RecordingCharts(const CRecording& rRecording,
                              const std::function<std::string(const std::string&)>& Label) {
    const CTimeAxis Time(rRecording.Seconds, kLeft, kRight);
    std::string sHtml;
    for (const ESensor eKind : {ESensor::kTemperature, ESensor::kFan, ESensor::kDuty, ESensor::kVoltage}) {
        std::vector<CSeries> All;
        for (const CRecordedSensor& rSensor : rRecording.Sensors)
            if (rSensor.eKind == eKind) All.push_back({&rSensor, Label(rSensor.sId), g_Summarize(rSensor.Values)});
        if (All.empty()) continue;
        std::vector<std::vector<CSeries>> Groups = g_Groups(eKind, std::move(All));
        for (size_t i = 0; i < Groups.size(); ++i)
            sHtml += CLineChart(rRecording, Time, eKind, std::move(Groups[i]), i + 1, Groups.size()).Html();
    }
    return sHtml;
}

}  // namespace vxtctl
