#include "tune_chart.h"

#include <algorithm>
#include <cmath>

#include "common/markup.h"
#include "common/own_file.h"
#include "common/text.h"

namespace vxtctl {

using vxttools::g_At;
using vxttools::g_Markup;
using vxttools::g_MoveTo;
using vxttools::g_SvgPath;
using vxttools::g_SvgText;
using vxttools::g_TimeStep;
using vxttools::g_TimeText;
using vxttools::g_Trimmed;

namespace {

// Everything in the picture's own units; an observer sees them as CSS pixels.
constexpr double kWidth = 960, kLeft = 70, kRight = 880, kTop = 130, kBottom = 470, kListTop = 540, kLine = 18;
constexpr double kLeastClockStep = 0.1;  ///< MHz
constexpr size_t kLineLength = 125;      ///< characters of 13 units

/// Marks differ in shape, too: prints have no colour. Rules are plain ones, which every viewer knows; paper stays light.
constexpr const char* kHead =
    R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 %W %H" role="img" font-family="system-ui, sans-serif" font-size="13">
<style>
.back { fill: #fff; } text { fill: #222; } .middle { text-anchor: middle; } .end { text-anchor: end; }
.grid { stroke: #ccc; } .found { stroke: #222; stroke-width: 1.5; stroke-dasharray: 2 4; }
.passed, .failed, .stopped, .died { fill: none; stroke-width: 2.5; }
.passed { stroke: #0a6b4f; } .failed { stroke: #b3261e; } .stopped, .died { stroke: #8a5a00; } .died { fill: #8a5a00; }
.try { stroke-width: 1.5; stroke-dasharray: 4 3; fill: none; }
@media screen and (prefers-color-scheme: dark) {
.back { fill: #16181c; } text { fill: #e8e8e8; } .grid { stroke: #454a52; } .found { stroke: #e8e8e8; }
.passed { stroke: #53d3a6; } .failed { stroke: #ff8a80; } .stopped, .died { stroke: #f2c14e; } .died { fill: #f2c14e; }
}
</style>
)";

/// Text as wide as the picture; the place of what follows is told.
std::string g_Lines(const std::string& sText, double& rdY, size_t uMost = SIZE_MAX) {
    std::string sLines;
    for (const std::string& rsLine : vxttools::g_Wrap(sText, kLineLength))
        if (uMost-- > 0) sLines += g_SvgText(kLeft, rdY, rsLine), rdY += kLine;
    return sLines;
}

/// What was being tested by a process that is gone died with it.
CTuneRecord g_WithoutOpenEnd(CTuneRecord Record) {
    for (CTunePoint& rPoint : Record.Points)
        if (rPoint.eEnd == EPointEnd::kInProgress) rPoint.eEnd = EPointEnd::kDied;
    return Record;
}

/// What became of the clock, around its middle.
std::string g_MarkWay(EPointEnd eEnd, double dX, double dY) {
    const std::string sBegin = g_MoveTo(dX, dY);
    switch (eEnd) {
        case EPointEnd::kPassed:
            return sBegin + "m-8 0h16";
        case EPointEnd::kFailed:
            return sBegin + "m-6 -6l12 12m0 -12l-12 12";  // a cross
        case EPointEnd::kStopped:
            return sBegin + "m-6 0a6 6 0 1 0 12 0a6 6 0 1 0 -12 0";  // a ring
        default:
            return sBegin + "m0 -7l7 12h-14z";  // a full triangle
    }
}

class CChart {
public:
    explicit CChart(const CTuneRecord& rRecord) : m_Record(g_WithoutOpenEnd(rRecord)) {
        m_dLowest = m_dHighest = rRecord.Before.dReferenceClock;
        for (const CTunePoint& rPoint : rRecord.Points) {
            m_dSeconds += rPoint.uSeconds;
            m_dLowest = std::min(m_dLowest, rPoint.Clock.dReferenceClock);
            m_dHighest = std::max(m_dHighest, rPoint.Clock.dReferenceClock);
            m_bOneMultiplier = m_bOneMultiplier && rPoint.Clock.dMultiplier == rRecord.Points.front().Clock.dMultiplier;
        }
        m_dSeconds = std::max(m_dSeconds, 1.0);
        m_dStep = vxttools::g_AxisStep(std::max(m_dHighest - m_dLowest, 1.0), kLeastClockStep);
        m_dLowest = (std::ceil(m_dLowest / m_dStep) - 1) * m_dStep;
        m_dHighest = (std::floor(m_dHighest / m_dStep) + 1) * m_dStep;
    }

    std::string Svg(const std::string& sMessage) const {
        const std::string sTitle = "Search for the highest clock, " + m_Record.sBegun;
        std::string sBody = "<title>" + g_Markup(sTitle) + "</title>\n<desc>" + g_Markup(sMessage) +
                            "</desc>\n<rect class=\"back\" width=\"100%\" height=\"100%\"/>\n";
        const std::string sHeadline = m_Record.oFound ? "found: " + g_ClockText(*m_Record.oFound) : sMessage;
        constexpr size_t kMostLines = 3;
        sBody += g_SvgText(kLeft, 24, sTitle);
        double dY = 24 + kLine;
        sBody += g_Lines(sHeadline, dY, kMostLines) + _Axes() + _Found() + _Points();
        dY = kListTop;
        sBody += _List(dY);
        std::string sHead = kHead;
        sHead.replace(sHead.find("%W"), 2, g_At(kWidth));
        sHead.replace(sHead.find("%H"), 2, g_At(dY + kLine));
        return sHead + sBody + "</svg>\n";
    }

private:
    double _X(double dSeconds) const { return kLeft + dSeconds / m_dSeconds * (kRight - kLeft); }
    double _Y(double dClock) const {
        return kBottom - (dClock - m_dLowest) / (m_dHighest - m_dLowest) * (kBottom - kTop);
    }

    std::string _Axes() const {
        const double dMultiplier = m_Record.Points.front().Clock.dMultiplier;
        std::string sAxes = g_SvgText(8, kTop - 26, "Reference clock, MHz") +
                            g_SvgText((kLeft + kRight) / 2, kBottom + 45, "Test time", "middle");
        sAxes += g_SvgText(kWidth - 8, kTop - 26,
                           m_bOneMultiplier ? "Core clock (x " + g_Trimmed(dMultiplier, 3) + "), MHz"
                                            : "At the steps: core clock, MHz",
                           "end");
        for (int i = 0; m_dLowest + i * m_dStep <= m_dHighest + m_dStep / 2; ++i) {
            const double dClock = m_dLowest + i * m_dStep, dY = _Y(dClock);
            sAxes += g_SvgPath("grid", g_MoveTo(kLeft, dY) + "H" + g_At(kRight)) +
                     g_SvgText(kLeft - 8, dY + 4, g_Trimmed(dClock, 3), "end");
            if (m_bOneMultiplier) sAxes += g_SvgText(kRight + 8, dY + 4, g_Trimmed(dClock * dMultiplier, 1));
        }
        const double dStep = g_TimeStep(m_dSeconds);
        for (int i = 0; i * dStep <= m_dSeconds; ++i)
            sAxes += g_SvgPath("grid", g_MoveTo(_X(i * dStep), kBottom) + "v6") +
                     g_SvgText(_X(i * dStep), kBottom + 22, g_TimeText(i * dStep), "middle");
        return sAxes;
    }

    std::string _Found() const {
        if (!m_Record.oFound) return "";
        const double dY = _Y(m_Record.oFound->dReferenceClock);
        if (!(dY >= kTop && dY <= kBottom)) return "";
        return g_SvgPath("found", g_MoveTo(kLeft, dY) + "H" + g_At(kRight), "found: " + g_ClockText(*m_Record.oFound));
    }

    std::string _Points() const {
        constexpr double kLabelWidth = 45;
        std::string sPoints;
        double dSeconds = 0, dLabelEnd = 0, dBefore = 0;
        uint32_t uNumber = 0;
        const CTunePoint* pBefore = nullptr;
        for (const CTunePoint& rPoint : m_Record.Points) {
            const double dX = _X(dSeconds), dY = _Y(rPoint.Clock.dReferenceClock);
            const double dEnd = _X(dSeconds += rPoint.uSeconds);
            const std::string sWay = g_At(dX) + " " + g_At(dY) + "H" + g_At(dEnd), sText = g_PointText(rPoint);
            if (rPoint.eEnd == EPointEnd::kPassed) {
                const bool bJoined = pBefore && pBefore->eEnd == EPointEnd::kPassed;
                sPoints += g_SvgPath(
                    "passed",
                    bJoined ? "M" + g_At(dX) + " " + g_At(dBefore) + "V" + g_At(dY) + "H" + g_At(dEnd) : "M" + sWay,
                    sText);
            } else {
                ++uNumber;
                const std::string sClass = g_Word(rPoint.eEnd);
                sPoints += g_SvgPath(sClass + " try", "M" + sWay) +
                           g_SvgPath(sClass, g_MarkWay(rPoint.eEnd, dEnd, dY), sText) +
                           g_SvgText(dEnd, dY - 11, std::to_string(uNumber), "middle");
            }
            const double dCore = rPoint.Clock.CoreClock();
            if (!m_bOneMultiplier && rPoint.eEnd == EPointEnd::kPassed && dEnd - dX >= kLabelWidth)
                sPoints += g_SvgText((dX + dEnd) / 2, dY - 6, g_Trimmed(dCore, 0), "middle");
            const bool bNewMultiplier = !pBefore || pBefore->Clock.dMultiplier != rPoint.Clock.dMultiplier;
            if (!m_bOneMultiplier && bNewMultiplier && dX >= dLabelEnd) {
                sPoints += g_SvgText(dX, kTop - 8, "x " + g_Trimmed(rPoint.Clock.dMultiplier, 3));
                dLabelEnd = dX + kLabelWidth;
            }
            dBefore = dY;
            pBefore = &rPoint;
        }
        return sPoints;
    }

    /// What the marks are, by their numbers.
    std::string _List(double& rdY) const {
        std::string sList;
        uint32_t uNumber = 0;
        for (const CTunePoint& rPoint : m_Record.Points) {
            if (rPoint.eEnd == EPointEnd::kPassed) continue;
            sList += g_SvgPath(g_Word(rPoint.eEnd), g_MarkWay(rPoint.eEnd, kLeft - 12, rdY - 4));
            sList += g_Lines(std::to_string(++uNumber) + ": " + g_PointText(rPoint), rdY);
        }
        return sList;
    }

    CTuneRecord m_Record;
    double m_dSeconds = 0, m_dLowest, m_dHighest, m_dStep;
    bool m_bOneMultiplier = true;
};

}  // namespace

std::string g_TuneChart(const CTuneRecord& rRecord, const std::string& sMessage) {
    return CChart(rRecord).Svg(sMessage);
}

void g_CheckChartFile(const std::string& sFile) { vxttools::g_CheckOwnFile(sFile, "<svg", "SVG picture"); }

}  // namespace vxtctl
