// vxtctl stress: whether the cores compute correctly under full load.
#include <algorithm>
#include <set>
#include <sstream>

#include "candidates.h"
#include "common/core_tables.h"
#include "common/text.h"
#include "cpu_report.h"
#include "stress_report.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CWanted {
    std::optional<uint32_t> oSeconds;
    std::optional<std::string> oCores, oKind;
    std::optional<double> oLimit;
    bool bWatch = false;
};
constexpr COption<CWanted> kOptions[] = {
    {"--seconds", "S", "How long, 1 to 86400; 60 when left out", &CWanted::oSeconds},
    {"--cores", "LIST", "Cores like 0,2-3; all of them when left out", &CWanted::oCores, false, nullptr,
     g_CoreCandidates},
    {"--kind", "int|fp", "Only integer or only floating-point tests", &CWanted::oKind},
    {"--limit", "CELSIUS", "End when a temperature rises above it; 70 where the chip tells no limit", &CWanted::oLimit},
    {"--watch", "", "A line for each error as it happens and for each second; with --json an object a line",
     &CWanted::bWatch},
};

struct CRange {
    uint32_t uFirst, uLast;
};

/// "0,2-3". Ends the command when it is no such list.
std::vector<CRange> g_ParseCores(const std::string& sList) {
    std::vector<CRange> Ranges;
    std::istringstream Parts(sList + ",");
    for (std::string sPart; std::getline(Parts, sPart, ',');) {
        const size_t uDash = sPart.find('-');
        const uint32_t uFirst = g_ParseCore(sPart.substr(0, uDash), "--cores");
        const uint32_t uLast = uDash == sPart.npos ? uFirst : g_ParseCore(sPart.substr(uDash + 1), "--cores");
        if (uLast < uFirst) throw CFailure(EExit::kUsage, "--cores " + sPart + ": expected cores like 0,2-3");
        Ranges.push_back({uFirst, uLast});
    }
    return Ranges;
}

/// In their order, each once; all without a range. Ends the command when there is none of that number.
std::vector<CInventoryEntry> g_Chosen(const CHostLibrary& rLibrary, const std::vector<CRange>& rRanges) {
    std::vector<CInventoryEntry> Cores = g_SelectCores(rLibrary, std::nullopt);
    for (const CRange& rRange : rRanges) g_SelectCores(rLibrary, rRange.uLast);
    const auto IsLeftOut = [&](const CInventoryEntry& rCore) {
        return std::ranges::none_of(
            rRanges, [&](const CRange& r) { return r.uFirst <= rCore.uIndex && rCore.uIndex <= r.uLast; });
    };
    if (!rRanges.empty()) std::erase_if(Cores, IsLeftOut);
    return Cores;
}

std::vector<uint32_t> g_Indices(const std::vector<CInventoryEntry>& rCores) {
    std::vector<uint32_t> Indices(rCores.size());
    std::ranges::transform(rCores, Indices.begin(), &CInventoryEntry::uIndex);
    return Indices;
}

void g_CheckRequest(const CTool& rTool, const CWanted& rWanted, uint32_t uSeconds) {
    g_CheckRunTime("--seconds", uSeconds);
    if (!rWanted.bWatch) return;
    const auto& oOutput = rTool.Options().oOutput;
    if (oOutput && oOutput != "-")
        throw CFailure(EExit::kUsage, "--watch shows its lines on standard output, not in a file");
    if (rTool.Output().Format() == EFormat::kCsv)
        throw CFailure(EExit::kUsage, "--watch: its lines are text or, with --json, objects; they are no table");
}

/// What happens while it happens, a line each.
class CEvents {
public:
    CEvents(const CTool& rTool, bool bWatch) : m_rTool(rTool), m_bWatch(bWatch) {}

    void Error(const vxtapi::TestError& rError) const {
        if (!m_bWatch) return;
        const std::string sTime = g_IsoTime(std::chrono::system_clock::now());
        if (!_IsJson()) return g_Print(sTime + " ERROR " + g_StressErrorLine(rError) + "\n");
        CDocument Document = m_rTool.NewDocument();
        Document["event"] = "error";
        Document["ts"] = sTime;
        Document["error"] = g_ToJson(rError);
        g_Print(Document.Data().Dump() + "\n");
    }
    void Sample(const CStressRun& rStress, const CStressReadings& rReadings) const {
        if (!m_bWatch) return;
        if (!_IsJson()) return g_Print(g_StressSampleLine(rStress, rReadings) + "\n");
        CDocument Document = m_rTool.NewDocument();
        CFindings Findings;
        g_AddStressSample(Document, rStress, rReadings, "sample", Findings);
        Document["findings"] = Findings;
        g_Print(Document.Data().Dump() + "\n");
    }

private:
    bool _IsJson() const { return m_rTool.Output().Format() == EFormat::kJson; }

    const CTool& m_rTool;
    bool m_bWatch;
};

std::string g_Progress(const CTimedRun& rRun, const CStressRun& rStress, const CStressReadings& rReadings) {
    constexpr size_t kWidth = 10;
    const auto uDone = static_cast<size_t>(kWidth * std::min(rRun.dLasted / rRun.uSeconds, 1.0));
    std::string sText =
        " [" + std::string(uDone, '#') + std::string(kWidth - uDone, '-') + "] " + g_ErrorCount(rStress.ErrorCount());
    if (const std::optional<double> oHighest = rReadings.Highest())
        sText += ", at most " + g_Trimmed(*oHighest, 1) + " °C";
    sText += ", passes: " + std::to_string(rStress.Passes());
    return sText;
}

/// Until the time is over or it cannot go on. Whatever ends it, nothing that was found is lost.
void g_Run(CTimedRun& rRun, const CTool& rTool, const CHostLibrary& rLibrary, CStressRun& rStress,
           CStressReadings& rReadings, const CEvents& rEvents) {
    constexpr std::chrono::milliseconds kStep{200};
    uint32_t uNextSample = 1;  // the first was taken before the load
    const auto Look = [&](double dSeconds) {
        rStress.Collect();
        if (!rStress.IsRunning()) {
            rRun.sReason = "the test's threads ended before the time was over; --log tells why";
            return ERunEnd::kFailed;
        }
        if (dSeconds < uNextSample) return ERunEnd::kDone;
        uNextSample = static_cast<uint32_t>(dSeconds) + 1;
        const std::string sHot = rReadings.Take();
        rEvents.Sample(rStress, rReadings);
        rRun.sReason = sHot.empty() ? rReadings.Lost() : sHot;
        return !sHot.empty() ? ERunEnd::kTooHot : rRun.sReason.empty() ? ERunEnd::kDone : ERunEnd::kFailed;
    };
    rStress.Start();
    g_RunFor(rRun, rTool, rLibrary, {Look, [&] { return g_Progress(rRun, rStress, rReadings); }, kStep});
    rStress.Halt();
}

EExit g_Stress(CTool& rTool, const CWanted& rWanted) {
    constexpr uint32_t kUsualSeconds = 60;
    CTimedRun Run{rWanted.oSeconds.value_or(kUsualSeconds)};
    g_CheckRequest(rTool, rWanted, Run.uSeconds);
    const std::vector<CRange> Ranges = rWanted.oCores ? g_ParseCores(*rWanted.oCores) : std::vector<CRange>();
    const CHostLibrary Library(rTool.Options());
    Library.RemarkOnCores(rTool.Output());
    const std::vector<CInventoryEntry> Cores = g_Chosen(Library, Ranges);
    const CEvents Events(rTool, rWanted.bWatch);
    CStressRun Stress(Library, g_Indices(Cores),
                      rWanted.oKind ? std::vector{*g_StressKind(*rWanted.oKind)} : g_StressKinds(),
                      [&](const vxtapi::TestError& rError) { Events.Error(rError); });
    CStressReadings Readings(Library, Cores, rWanted.oLimit);
    if (const std::string sHot = Readings.Take(); !sHot.empty())
        throw CFailure(EExit::kFailed, sHot + " already; the test was not started");
    rTool.Output().Note(Readings.WatchText().empty() ? "there is no temperature that could be watched"
                                                     : "watched meanwhile: " + Readings.WatchText());
    g_Run(Run, rTool, Library, Stress, Readings, Events);
    if (!Run.sReason.empty()) g_PrintRemark(Run.sReason);

    CDocument Document = rTool.NewDocument();
    CFindings Findings;
    g_AddStress(Document, Run, Stress, Readings, Findings);
    if (rWanted.bWatch) Document.SetOneLine();
    const EExit eFindings = Library.Emit(rTool, Document, std::move(Findings));
    return Run.eEnd == ERunEnd::kDone ? eFindings : g_RunExit(Run);
}

}  // namespace

extern constexpr CCommand kStress{
    "stress", "Test whether the cores compute correctly under full load, which heats them",
    "  vxtctl stress --seconds 1 --kind int  a first look: hours of both kinds tell more\n"
    "  vxtctl stress --seconds 1 --cores 0,2-3 --kind int --json",
    g_NewCall<CWanted, kOptions, g_Stress>};

}  // namespace vxtctl
