#include "sensor_watch.h"

#include <algorithm>

#include "common/line_file.h"
#include "common/live_screen.h"
#include "sensor_report.h"

namespace vxtctl {

using namespace vxttools;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

/// Where samples go, one after the other.
class CSink {
public:
    virtual ~CSink() = default;
    virtual void Take(const CSensorSamples& rSamples) = 0;
    /// Between two samples.
    virtual void Idle(const CSensorSamples&) {}
    /// How long it can do without Idle.
    virtual milliseconds Patience() const { return milliseconds::max(); }
};

std::string g_Seconds(milliseconds Duration) {
    return g_Trimmed(std::chrono::duration<double>(Duration).count(), 3) + " s";
}

class CScreen final : public CSink {
public:
    CScreen(const CTool& rTool, milliseconds Interval) : m_bColor(rTool.Output().IsColored()), m_Interval(Interval) {}

    void Take(const CSensorSamples& rSamples) override { m_Screen.Draw(_Picture(rSamples)); }
    void Idle(const CSensorSamples& rSamples) override { m_Screen.Follow(_Picture(rSamples)); }
    milliseconds Patience() const override { return milliseconds(100); }  // a window that grows is seen to follow

private:
    CLiveScreen::CPicture _Picture(const CSensorSamples& rSamples) const {
        return [&rSamples, this](size_t uColumns) {
            CTextTable Table = g_SeriesTable(rSamples);
            Table.sTitle = "Sample " + std::to_string(rSamples.Count()) + ", " + g_IsoTime(rSamples.Time()) +
                           ", every " + g_Seconds(m_Interval) + ", Ctrl-C ends";
            std::string sText;
            std::vector<std::string> LeftOut;
            g_AppendTable(Table, m_bColor, uColumns, sText, LeftOut);
            return sText;
        };
    }

    CLiveScreen m_Screen;
    bool m_bColor;
    milliseconds m_Interval;
};

/// A line of text or JSON for each sample.
class CLines final : public CSink {
public:
    using CRender = std::function<std::string(const CSensorSamples&)>;
    explicit CLines(CRender Render) : m_Render(std::move(Render)) {}

    void Take(const CSensorSamples& rSamples) override { g_Print(m_Render(rSamples) + "\n"); }

private:
    CRender m_Render;
};

class CRecorder final : public CSink {
public:
    CRecorder(const CTool& rTool, const std::string& sName, const CSensorSamples& rSamples)
        : m_File(sName, g_CsvHeading(rSamples)) {
        if (m_File.WasTorn()) rTool.Output().Note(sName + ": its last line was incomplete and is gone");
    }

    void Take(const CSensorSamples& rSamples) override { m_File.Append(g_CsvLine(rSamples)); }
    void Sync() { m_File.Sync(); }

private:
    CLineFile m_File;
};

CDocument g_Event(const CTool& rTool, const CSensorSamples& rSamples, const char* pszEvent) {
    CDocument Document = rTool.NewDocument();
    g_AddEvent(Document, rSamples, pszEvent);
    Document.SetOneLine();
    return Document;
}

std::unique_ptr<CSink> g_NewDisplay(const CTool& rTool, milliseconds Interval, bool bLive) {
    if (bLive) return std::make_unique<CScreen>(rTool, Interval);
    switch (rTool.Output().Format()) {
        case EFormat::kCsv:
            return std::make_unique<CLines>([bFirst = true](const CSensorSamples& rSamples) mutable {
                const std::string sHeading = std::exchange(bFirst, false) ? g_CsvHeading(rSamples) + "\n" : "";
                return sHeading + g_CsvLine(rSamples);
            });
        case EFormat::kJson:
            return std::make_unique<CLines>([&rTool](const CSensorSamples& rSamples) {
                CDocument Document = g_Event(rTool, rSamples, "sample");
                Document["findings"] = rSamples.Findings();
                return Document.Data().Dump();
            });
        default:
            return std::make_unique<CLines>(g_SampleLine);
    }
}

/// Waits until it is time, while the sinks follow what happens. False: the user asked to end.
bool g_WaitUntil(steady_clock::time_point Time, const CHostLibrary& rLibrary, const CSensorSamples& rSamples,
                 const std::vector<CSink*>& rSinks) {
    milliseconds Patience = milliseconds::max();
    for (const CSink* const pSink : rSinks) Patience = std::min(Patience, pSink->Patience());
    while (true) {
        const auto Left = std::chrono::ceil<milliseconds>(Time - steady_clock::now());
        if (Left.count() <= 0) return !g_WasInterrupted();
        if (!rLibrary.Pause(std::min(Left, Patience))) return false;
        for (CSink* const pSink : rSinks) pSink->Idle(rSamples);
    }
}

/// All samples. False: the user asked to end.
bool g_TakeAll(const CHostLibrary& rLibrary, CSensorSamples& rSamples, const CWatching& rWatching,
               const std::vector<CSink*>& rSinks) {
    const steady_clock::time_point Start = steady_clock::now();
    while (true) {
        rSamples.Take();
        for (CSink* const pSink : rSinks) pSink->Take(rSamples);
        if (rWatching.oCount == rSamples.Count()) return true;
        // The next one on the grid that began with the first: there is no drift, and none is made up that came too late.
        const auto nPassed = (steady_clock::now() - Start) / rWatching.Interval;
        if (!g_WaitUntil(Start + (nPassed + 1) * rWatching.Interval, rLibrary, rSamples, rSinks)) return false;
    }
}

}  // namespace

EExit g_WatchSensors(CTool& rTool, const CHostLibrary& rLibrary, CSensorSamples& rSamples, const CWatching& rWatching) {
    std::optional<CRecorder> oRecorder;
    std::vector<CSink*> Sinks;
    if (rWatching.oRecord) {
        Sinks.push_back(&oRecorder.emplace(rTool, *rWatching.oRecord, rSamples));
        if (!rWatching.bWatch && !rWatching.oCount)
            rTool.Output().Note("recording every " + g_Seconds(rWatching.Interval) + " until Ctrl-C");
    }
    const EFormat eFormat = rTool.Output().Format();
    const bool bLive = eFormat == EFormat::kText && g_IsStdoutObedient();  // as it begins: a terminal may go away
    std::unique_ptr<CSink> pDisplay;
    if (rWatching.bWatch) Sinks.push_back((pDisplay = g_NewDisplay(rTool, rWatching.Interval, bLive)).get());
    const bool bEnough = g_TakeAll(rLibrary, rSamples, rWatching, Sinks);
    pDisplay.reset();  // the terminal is as it was
    if (oRecorder) oRecorder->Sync();

    // Lines of text or CSV are all there is; what they were altogether is a table, or a line of JSON.
    const bool bLines = rWatching.bWatch && !bLive && eFormat != EFormat::kJson;
    CDocument Document = bLines ? rTool.NewDocument() : g_Event(rTool, rSamples, "summary");
    if (!bLines)
        Document.AddTable(g_SeriesTable(rSamples)).sTitle = "Sensors, samples: " + std::to_string(rSamples.Count());
    const EExit eExit = rLibrary.Emit(rTool, Document, rSamples.Findings());
    return bEnough ? eExit : EExit::kInterrupted;
}

}  // namespace vxtctl
