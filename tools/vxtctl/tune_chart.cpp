#include "tune_chart.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>

#include "common/console.h"
#include "common/exit_code.h"
#include "common/file_replacement.h"
#include "common/output.h"
#include "common/text.h"

namespace vxtctl {

using vxttools::CFailure;
using vxttools::EExit;
using vxttools::g_Trimmed;

namespace {

// Everything in the picture's own units; an observer sees them as CSS pixels.
constexpr double kWidth = 960, kLeft = 70, kRight = 880, kTop = 130, kBottom = 470, kListTop = 540, kLine = 18;
constexpr size_t kLineLength = 125;  ///< characters of 13 units

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

/// A text as XML takes it: marks as entities, and no control characters, which it has no way to write.
std::string g_Xml(const std::string& sText) {
    std::string sXml;
    for (const char c : sText) switch (c) {
            case '&':
                sXml += "&amp;";
                break;
            case '<':
                sXml += "&lt;";
                break;
            case '>':
                sXml += "&gt;";
                break;
            case '"':
                sXml += "&quot;";
                break;
            default:
                sXml += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
        }
    return sXml;
}

std::string g_At(double d) { return g_Trimmed(d, 1); }

std::string g_TextAt(double dX, double dY, const std::string& sText, const char* pszClass = "start") {
    return "<text class=\"" + std::string(pszClass) + "\" x=\"" + g_At(dX) + "\" y=\"" + g_At(dY) + "\">" +
           g_Xml(sText) + "</text>\n";
}

/// Text as wide as the picture; the place of what follows is told.
std::string g_Lines(const std::string& sText, double& rdY, size_t uMost = SIZE_MAX) {
    std::string sLines;
    for (const std::string& rsLine : vxttools::g_Wrap(sText, kLineLength))
        if (uMost-- > 0) sLines += g_TextAt(kLeft, rdY, rsLine), rdY += kLine;
    return sLines;
}

std::string g_Path(const std::string& sClass, const std::string& sWay, const std::string& sTitle = "") {
    return "<path class=\"" + sClass + "\" d=\"" + sWay + "\"" +
           (sTitle.empty() ? "/>\n" : "><title>" + g_Xml(sTitle) + "</title></path>\n");
}

/// "2:00", "1:20:00"
std::string g_TimeText(double dSeconds) {
    const auto ullSeconds = static_cast<uint64_t>(std::llround(dSeconds));
    const auto Two = [](uint64_t ull) { return (ull < 10 ? ":0" : ":") + std::to_string(ull); };
    const uint64_t ullHours = ullSeconds / 3600, ullMinutes = ullSeconds / 60 % 60;
    return (ullHours ? std::to_string(ullHours) + Two(ullMinutes) : std::to_string(ullMinutes)) + Two(ullSeconds % 60);
}

constexpr double kMostSteps = 9;  ///< of an axis

/// The smallest of 1, 2, 5, 10, ... of which the range has so few that each can be labelled.
double g_ClockStep(double dRange) {
    double dStep = std::pow(10, std::floor(std::log10(std::max(dRange / kMostSteps, 0.1))));
    for (const double dFactor : {1, 2, 5, 10})
        if (dRange / (dStep * dFactor) <= kMostSteps) return dStep * dFactor;
    return dStep * 10;
}

double g_TimeStep(double dRange) {
    constexpr double kSteps[] = {1, 2, 5, 10, 20, 30, 60, 120, 300, 600, 1200, 1800, 3600, 7200, 21600};
    const auto it = std::ranges::find_if(kSteps, [&](double d) { return dRange / d <= kMostSteps; });
    return it != std::end(kSteps) ? *it : 86400 * std::ceil(dRange / kMostSteps / 86400);
}

const char* g_PointClass(EPointEnd eEnd) {
    return eEnd == EPointEnd::kInProgress ? g_Word(EPointEnd::kDied) : g_Word(eEnd);
}

/// What became of the clock, around its middle.
std::string g_MarkWay(EPointEnd eEnd, double dX, double dY) {
    const std::string sBegin = "M" + g_At(dX) + " " + g_At(dY);
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

std::string g_PointText(const CTunePoint& rPoint) {
    const std::string sSeconds = std::to_string(rPoint.uSeconds) + " s";
    const std::string sClock = g_ClockText(rPoint.Clock);
    switch (rPoint.eEnd) {
        case EPointEnd::kPassed:
            return sClock + " passed " + sSeconds;
        case EPointEnd::kFailed:
            return sClock + " failed after " + sSeconds + (rPoint.sError.empty() ? "" : ": " + rPoint.sError);
        case EPointEnd::kStopped:
            return sClock + " was stopped after " + sSeconds;
        default:
            return sClock + ": this PC died, or vxtctl was killed, after about " + sSeconds;
    }
}

class CChart {
public:
    explicit CChart(const CTuneRecord& rRecord) : m_rRecord(rRecord) {
        m_dLowest = m_dHighest = rRecord.Before.dReferenceClock;
        for (const CTunePoint& rPoint : rRecord.Points) {
            m_dSeconds += rPoint.uSeconds;
            m_dLowest = std::min(m_dLowest, rPoint.Clock.dReferenceClock);
            m_dHighest = std::max(m_dHighest, rPoint.Clock.dReferenceClock);
            m_bOneMultiplier = m_bOneMultiplier && rPoint.Clock.dMultiplier == rRecord.Points.front().Clock.dMultiplier;
        }
        m_dSeconds = std::max(m_dSeconds, 1.0);
        m_dStep = g_ClockStep(std::max(m_dHighest - m_dLowest, 1.0));
        m_dLowest = (std::ceil(m_dLowest / m_dStep) - 1) * m_dStep;
        m_dHighest = (std::floor(m_dHighest / m_dStep) + 1) * m_dStep;
    }

    std::string Svg(const std::string& sMessage) const {
        const std::string sTitle = "Search for the highest clock, " + m_rRecord.sBegun;
        std::string sBody = "<title>" + g_Xml(sTitle) + "</title>\n<desc>" + g_Xml(sMessage) +
                            "</desc>\n<rect class=\"back\" width=\"100%\" height=\"100%\"/>\n";
        const std::string sHeadline = m_rRecord.oFound ? "found: " + g_ClockText(*m_rRecord.oFound) : sMessage;
        constexpr size_t kMostLines = 3;
        sBody += g_TextAt(kLeft, 24, sTitle);
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
        const double dMultiplier = m_rRecord.Points.front().Clock.dMultiplier;
        std::string sAxes = g_TextAt(8, kTop - 26, "Reference clock, MHz") +
                            g_TextAt((kLeft + kRight) / 2, kBottom + 45, "Test time", "middle");
        sAxes += g_TextAt(kWidth - 8, kTop - 26,
                          m_bOneMultiplier ? "Core clock (x " + g_Trimmed(dMultiplier, 3) + "), MHz"
                                           : "At the steps: core clock, MHz",
                          "end");
        for (int i = 0; m_dLowest + i * m_dStep <= m_dHighest + m_dStep / 2; ++i) {
            const double dClock = m_dLowest + i * m_dStep, dY = _Y(dClock);
            sAxes += g_Path("grid", "M" + g_At(kLeft) + " " + g_At(dY) + "H" + g_At(kRight)) +
                     g_TextAt(kLeft - 8, dY + 4, g_Trimmed(dClock, 3), "end");
            if (m_bOneMultiplier) sAxes += g_TextAt(kRight + 8, dY + 4, g_Trimmed(dClock * dMultiplier, 1));
        }
        const double dStep = g_TimeStep(m_dSeconds);
        for (int i = 0; i * dStep <= m_dSeconds; ++i)
            sAxes += g_Path("grid", "M" + g_At(_X(i * dStep)) + " " + g_At(kBottom) + "v6") +
                     g_TextAt(_X(i * dStep), kBottom + 22, g_TimeText(i * dStep), "middle");
        return sAxes;
    }

    std::string _Found() const {
        if (!m_rRecord.oFound) return "";
        const double dY = _Y(m_rRecord.oFound->dReferenceClock);
        if (!(dY >= kTop && dY <= kBottom)) return "";
        return g_Path("found", "M" + g_At(kLeft) + " " + g_At(dY) + "H" + g_At(kRight),
                      "found: " + g_ClockText(*m_rRecord.oFound));
    }

    std::string _Points() const {
        constexpr double kLabelWidth = 45;
        std::string sPoints;
        double dSeconds = 0, dLabelEnd = 0, dBefore = 0;
        uint32_t uNumber = 0;
        const CTunePoint* pBefore = nullptr;
        for (const CTunePoint& rPoint : m_rRecord.Points) {
            const double dX = _X(dSeconds), dY = _Y(rPoint.Clock.dReferenceClock);
            const double dEnd = _X(dSeconds += rPoint.uSeconds);
            const std::string sWay = g_At(dX) + " " + g_At(dY) + "H" + g_At(dEnd), sText = g_PointText(rPoint);
            if (rPoint.eEnd == EPointEnd::kPassed) {
                const bool bJoined = pBefore && pBefore->eEnd == EPointEnd::kPassed;
                sPoints += g_Path(
                    "passed",
                    bJoined ? "M" + g_At(dX) + " " + g_At(dBefore) + "V" + g_At(dY) + "H" + g_At(dEnd) : "M" + sWay,
                    sText);
            } else {
                ++uNumber;
                const std::string sClass = g_PointClass(rPoint.eEnd);
                sPoints += g_Path(sClass + " try", "M" + sWay) +
                           g_Path(sClass, g_MarkWay(rPoint.eEnd, dEnd, dY), sText) +
                           g_TextAt(dEnd, dY - 11, std::to_string(uNumber), "middle");
            }
            const double dCore = rPoint.Clock.CoreClock();
            if (!m_bOneMultiplier && rPoint.eEnd == EPointEnd::kPassed && dEnd - dX >= kLabelWidth)
                sPoints += g_TextAt((dX + dEnd) / 2, dY - 6, g_Trimmed(dCore, 0), "middle");
            const bool bNewMultiplier = !pBefore || pBefore->Clock.dMultiplier != rPoint.Clock.dMultiplier;
            if (!m_bOneMultiplier && bNewMultiplier && dX >= dLabelEnd) {
                sPoints += g_TextAt(dX, kTop - 8, "x " + g_Trimmed(rPoint.Clock.dMultiplier, 3));
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
        for (const CTunePoint& rPoint : m_rRecord.Points) {
            if (rPoint.eEnd == EPointEnd::kPassed) continue;
            sList += g_Path(g_PointClass(rPoint.eEnd), g_MarkWay(rPoint.eEnd, kLeft - 12, rdY - 4));
            sList += g_Lines(std::to_string(++uNumber) + ": " + g_PointText(rPoint), rdY);
        }
        return sList;
    }

    const CTuneRecord& m_rRecord;
    double m_dSeconds = 0, m_dLowest, m_dHighest, m_dStep;
    bool m_bOneMultiplier = true;
};

}  // namespace

std::string g_TuneChart(const CTuneRecord& rRecord, const std::string& sMessage) {
    return CChart(rRecord).Svg(sMessage);
}

void g_CheckChartFile(const std::string& sFile) {
    namespace fs = std::filesystem;
    const fs::path Path = vxttools::g_Path(sFile);
    vxttools::g_OnFile(sFile, [&] { const vxttools::CFileReplacement Test(Path); });
    std::error_code Ignored;
    if (!fs::is_regular_file(Path, Ignored) || fs::file_size(Path, Ignored) == 0) return;
    constexpr size_t kLooked = 1024;  // bytes; a comment or a document type may stand in front
    std::string sBegin(kLooked, '\0');
    std::ifstream File(Path, std::ios::binary);
    File.read(sBegin.data(), kLooked);
    sBegin.resize(static_cast<size_t>(File.gcount()));
    if (sBegin.find("<svg") == sBegin.npos)
        throw CFailure(EExit::kFailed, sFile + " is no SVG picture and stays as it is; nothing was done");
}

}  // namespace vxtctl
