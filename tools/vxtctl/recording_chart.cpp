#include "recording_chart.h"

#include <algorithm>
#include <cmath>

#include "common/html_page.h"
#include "common/markup.h"
#include "common/text.h"

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
constexpr double kWidth = 960, kHeight = 330, kLeft = 70, kRight = 945, kTop = 30, kBottom = 270;
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

/// A pause that is longer than this was none between two samples: nobody recorded meanwhile.
double g_LongestPause(const std::vector<double>& rSeconds) {
    constexpr double kMissed = 3.5;  // samples in a row that came too late
    std::vector<double> Pauses;
    for (size_t i = 1; i < rSeconds.size(); ++i) Pauses.push_back(rSeconds[i] - rSeconds[i - 1]);
    if (Pauses.empty()) return 0;
    const auto itMiddle = Pauses.begin() + static_cast<ptrdiff_t>(Pauses.size() / 2);
    std::ranges::nth_element(Pauses, itMiddle);
    return std::max(*itMiddle, 0.1) * kMissed;
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

std::string g_Class(size_t uSeries) {
    return "line s" + std::to_string(uSeries % kColours) + " d" + std::to_string(uSeries / kColours % kDashes);
}

/// The sensors of one kind over time.
class CLineChart {
public:
    CLineChart(const CRecording& rRecording, ESensor eKind, double dLongestPause,
               const std::function<std::string(const std::string&)>& Label)
        : m_rRecording(rRecording), m_eKind(eKind), m_dLongestPause(dLongestPause) {
        for (const CRecordedSensor& rSensor : rRecording.Sensors)
            if (rSensor.eKind == eKind) m_Series.push_back({&rSensor, Label(rSensor.sId), g_Summarize(rSensor.Values)});
        for (const CSeries& rSeries : m_Series) {
            if (rSeries.Summary.uReadings == 0) continue;
            m_dLowest = m_bHasReadings ? std::min(m_dLowest, rSeries.Summary.dMinimum) : rSeries.Summary.dMinimum;
            m_dHighest = m_bHasReadings ? std::max(m_dHighest, rSeries.Summary.dMaximum) : rSeries.Summary.dMaximum;
            m_bHasReadings = true;
        }
        m_dSeconds = std::max(*std::ranges::max_element(rRecording.Seconds), 1.0);
        m_dStep = vxttools::g_AxisStep(m_dHighest - m_dLowest, g_LeastStep(eKind));
        m_dBottom = std::floor(m_dLowest / m_dStep) * m_dStep;
        m_dTop = std::max(std::ceil(m_dHighest / m_dStep) * m_dStep, m_dBottom + m_dStep);
    }

    bool IsEmpty() const { return m_Series.empty(); }

    std::string Html() const {
        const std::string sTitle = _Title();
        std::string sHtml = "<figure>\n<figcaption>" + g_Markup(sTitle) + "</figcaption>\n";
        if (m_bHasReadings) sHtml += vxttools::g_Scrollable(sTitle + ", chart", _Svg(sTitle));
        return sHtml + vxttools::g_Scrollable(sTitle + ", table", _Table(sTitle), "scroll short") + "</figure>\n";
    }

private:
    struct CSeries {
        const CRecordedSensor* pSensor;
        std::string sLabel;
        CSummary Summary;
    };

    std::string _Title() const { return std::string(g_KindLabel(m_eKind)) + ", " + g_KindUnit(m_eKind); }
    std::string _Value(double dValue) const { return g_FormatValue(dValue, g_KindUnit(m_eKind)); }
    double _X(double dSeconds) const { return kLeft + dSeconds / m_dSeconds * (kRight - kLeft); }
    double _Y(double dValue) const { return kBottom - (dValue - m_dBottom) / (m_dTop - m_dBottom) * (kBottom - kTop); }

    std::string _Svg(const std::string& sTitle) const {
        const std::string sId = g_KindWord(m_eKind);
        std::string sSvg = "<svg class=\"chart\" viewBox=\"0 0 " + g_At(kWidth) + " " + g_At(kHeight) +
                           "\" role=\"img\" aria-labelledby=\"" + sId + "-title " + sId + "-desc\">\n<title id=\"" +
                           sId + "-title\">" + g_Markup(sTitle) + " over time</title>\n<desc id=\"" + sId + "-desc\">" +
                           g_Markup(_Description()) + "</desc>\n" + _Axes();
        for (size_t i = 0; i < m_Series.size(); ++i)
            if (m_Series[i].Summary.uReadings) sSvg += g_SvgPath(g_Class(i), _Way(m_Series[i]), m_Series[i].sLabel);
        return sSvg + "</svg>\n";
    }

    std::string _Description() const {
        return "Readings of " + std::to_string(m_Series.size()) + " sensors over " + vxttools::g_TimeText(m_dSeconds) +
               ", from " + _Value(m_dLowest) + " to " + _Value(m_dHighest) + " " + g_KindUnit(m_eKind) +
               ". The table below has each sensor's minimum, maximum and average.";
    }

    std::string _Axes() const {
        std::string sAxes = g_SvgText(8, 16, g_KindUnit(m_eKind));
        const int nSteps = static_cast<int>(std::llround((m_dTop - m_dBottom) / m_dStep));
        for (int i = 0; i <= nSteps; ++i) {
            const double dValue = m_dBottom + i * m_dStep, dY = _Y(dValue);
            sAxes += g_SvgPath("grid", g_MoveTo(kLeft, dY) + "H" + g_At(kRight)) +
                     g_SvgText(kLeft - 8, dY + 4, vxttools::g_Trimmed(dValue, 3), "end");
        }
        const double dStep = vxttools::g_TimeStep(m_dSeconds);
        for (int i = 0; i * dStep <= m_dSeconds; ++i)
            sAxes += g_SvgPath("grid", g_MoveTo(_X(i * dStep), kBottom) + "v6") +
                     g_SvgText(_X(i * dStep), kBottom + 22, vxttools::g_TimeText(i * dStep), "middle");
        return sAxes + g_SvgText((kLeft + kRight) / 2, kHeight - 12,
                                 "Time since " + vxttools::g_IsoTime(m_rRecording.Begin) +
                                     (m_dSeconds < 3600 ? ", min:s" : ", h:min:s"),
                                 "middle");
    }

    /// The line, broken where there is no reading or nobody recorded. Of the readings between two units of the picture's
    /// width the lowest and the highest stay, in their order: no more can be seen.
    std::string _Way(const CSeries& rSeries) const {
        const std::vector<double>& rSeconds = m_rRecording.Seconds;
        const std::vector<double>& rValues = rSeries.pSensor->Values;
        std::string sWay;
        const auto IsJoined = [&](size_t i) {  // with the one before it
            const double dPause = rSeconds[i] - rSeconds[i - 1];
            return !std::isnan(rValues[i - 1]) && dPause >= 0 && dPause <= m_dLongestPause;
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
            sWay += (bJoined ? "L" : "M") + Point(uFirst);
            if (uSecond != uFirst) sWay += "L" + Point(uSecond);
            if (!bJoined && uSecond == uFirst) sWay += "h0";  // round ends make a dot of it where it stays alone
            i = uEnd;
        }
        return sWay;
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
    ESensor m_eKind;
    double m_dLongestPause;
    std::vector<CSeries> m_Series;
    bool m_bHasReadings = false;
    double m_dLowest = 0, m_dHighest = 0, m_dSeconds, m_dStep, m_dBottom, m_dTop;
};

}  // namespace

std::string g_RecordingCharts(const CRecording& rRecording,
                              const std::function<std::string(const std::string&)>& Label) {
    const double dLongestPause = g_LongestPause(rRecording.Seconds);
    std::string sHtml;
    for (const ESensor eKind : {ESensor::kTemperature, ESensor::kFan, ESensor::kDuty, ESensor::kVoltage})
        if (const CLineChart Chart(rRecording, eKind, dLongestPause, Label); !Chart.IsEmpty()) sHtml += Chart.Html();
    return sHtml;
}

}  // namespace vxtctl
