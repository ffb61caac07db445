// vxtctl bench: how fast processor and memory are.
#include <algorithm>
#include <filesystem>

#include "benchmark_report.h"
#include "common/command.h"
#include "common/console.h"
#include "common/file_replacement.h"
#include "common/progress_line.h"
#include "common/text.h"

namespace vxtctl {

using namespace vxttools;

namespace {

std::vector<std::string> g_BenchmarkNames() {
    std::vector<std::string> Names;
    for (const CScoreRow& rRow : g_ScoreRows())
        if (Names.empty() || Names.back() != rRow.pszBenchmark) Names.emplace_back(rRow.pszBenchmark);
    return Names;
}

std::vector<CCandidate> g_BenchmarkCandidates(const CTool&, const std::string&) {
    std::vector<CCandidate> Candidates;
    for (const std::string& rsName : g_BenchmarkNames()) Candidates.push_back({rsName, "benchmark"});
    return Candidates;
}

struct CWanted {
    std::vector<std::string> Names;
    std::optional<uint32_t> oRuns;
    std::optional<std::string> oSave, oCompare;
};
constexpr COption<CWanted> kOptions[] = {
    {"NAME", "", "integer, whetstone, cache, memory; all of them when left out", &CWanted::Names, false, nullptr,
     g_BenchmarkCandidates},
    {"--runs", "N", "How often each is measured, 1 to 100; 5 when left out", &CWanted::oRuns},
    {"--save", "FILE", "Keep the scores in FILE; one that is there already is replaced", &CWanted::oSave},
    {"--compare", "FILE", "Say what changed since FILE was saved, beyond what runs differ by themselves",
     &CWanted::oCompare},
};

std::vector<CScore> g_Chosen(const std::vector<std::string>& rNames) {
    const std::vector<std::string> Known = g_BenchmarkNames();
    for (const std::string& rsName : rNames)
        if (std::ranges::count(Known, rsName) == 0)
            throw CFailure(EExit::kUsage, "no benchmark '" + rsName + "'" + g_DidYouMean(rsName, Known));
    std::vector<CScore> Scores;
    for (const CScoreRow& rRow : g_ScoreRows())
        if (rNames.empty() || std::ranges::count(rNames, rRow.pszBenchmark)) Scores.push_back({&rRow, {}});
    return Scores;
}

/// Stays on one core where there is one: what asks a core for something stays there on Windows.
void g_StayOnCore(const CHostLibrary& rLibrary) {
    const std::vector<CInventoryEntry> Cores = rLibrary.Devices(vxtapi::kDeviceCpu);
    if (!Cores.empty()) static_cast<vxtapi::CCPU*>(Cores.front().pDevice)->GetCurrentMultiplier();
}

vxtapi::CTester& g_Tester(const CHostLibrary& rLibrary, const CScoreRow& rRow) {
    vxtapi::CBenchmarkCenter* const pCenter = rLibrary.Performance().GetBenchmarkCenter();
    vxtapi::CTester* const pTester = pCenter ? pCenter->GetTester(rRow.eTester) : nullptr;
    if (!pTester)
        throw CFailure(EExit::kFailed,
                       std::string("the library has no benchmark '") + rRow.pszBenchmark + "' here; --log tells why");
    return *pTester;
}

/// Each benchmark in turn, again and again: what the computer does besides then meets all of them. The first time warms
/// caches and clock up and does not count.
void g_MeasureAll(const CTool& rTool, const CHostLibrary& rLibrary, std::vector<CScore>& rScores, uint32_t uRuns) {
    CProgressLine Line(rTool.Options().bQuiet);
    for (uint32_t uRun = 0; uRun <= uRuns; ++uRun)
        for (CScore& rScore : rScores) {
            if (g_WasInterrupted()) throw CFailure(EExit::kInterrupted, "interrupted; there are no scores");
            if (!rScore.sWrong.empty()) continue;
            Line.Show((uRun == 0 ? "warming up" : "run " + std::to_string(uRun) + " of " + std::to_string(uRuns)) +
                      ": " + rScore.pRow->pszLabel);
            const double dValue = rScore.pRow->pMeasure(g_Tester(rLibrary, *rScore.pRow));
            if (!(dValue > 0)) {
                rScore.sWrong = "its result was wrong, or there was no memory; --log tells";
                rScore.Runs.Values.clear();
            } else if (uRun > 0) {
                rScore.Runs.Values.push_back(dValue);
            }
        }
}

/// Ends the command when nothing could be compared.
CSavedScores g_LoadFor(const CTool& rTool, const std::string& sFile, const std::vector<CScore>& rScores) {
    CSavedScores Saved = g_LoadScores(sFile);
    const auto IsThere = [&](const CScore& rScore) { return Saved.Find(rScore.pRow->pszName) != nullptr; };
    if (std::ranges::none_of(rScores, IsThere))
        throw CFailure(EExit::kFailed, sFile + " holds no scores to compare with: none of these benchmarks");
    if (Saved.sProcessor != g_HostProcessor())
        rTool.Output().Note(sFile + " was saved on another processor: '" + Saved.sProcessor + "'");
    return Saved;
}

/// Ends the command when the file cannot be written, or is something else than saved scores.
void g_CheckSave(const std::string& sFile) {
    std::error_code Error;
    const auto uSize = std::filesystem::file_size(g_Path(sFile), Error);
    if (!Error && uSize > 0) try {
            g_LoadScores(sFile);
        } catch (const CFailure& rFailure) {
            throw CFailure(EExit::kFailed, std::string(rFailure.what()) + "; it is not replaced");
        }
    g_OnFile(sFile, [&] { CFileReplacement Test(g_Path(sFile)); });
}

EExit g_Bench(CTool& rTool, const CWanted& rWanted) {
    constexpr uint32_t kUsualRuns = 5, kMostRuns = 100;
    const uint32_t uRuns = rWanted.oRuns.value_or(kUsualRuns);
    if (uRuns < 1 || uRuns > kMostRuns)
        throw CFailure(EExit::kUsage, "--runs: expected 1 to " + std::to_string(kMostRuns));
    if (uRuns < kFewestToCompare && (rWanted.oSave || rWanted.oCompare))
        throw CFailure(EExit::kUsage, "--runs: to compare scores each needs at least " +
                                          std::to_string(kFewestToCompare) + " runs, fewer show no spread");
    std::vector<CScore> Scores = g_Chosen(rWanted.Names);
    std::optional<CSavedScores> oSaved;
    if (rWanted.oCompare) oSaved = g_LoadFor(rTool, *rWanted.oCompare, Scores);
    if (rWanted.oSave) g_CheckSave(*rWanted.oSave);
    const CHostLibrary Library(rTool.Options());
    const std::string sProcessor = g_HostProcessor();
    rTool.Output().Note("measured on the computer this program runs on: " + sProcessor);
    g_StayOnCore(Library);
    g_MeasureAll(rTool, Library, Scores, uRuns);

    CDocument Document = rTool.NewDocument();
    Document.SetCsv("scores");
    Document["processor"] = sProcessor;
    Document["saved_to"] = nullptr;
    Document["compared_with"] = nullptr;
    if (oSaved)
        Document["compared_with"] = {{"file", oSaved->sFile}, {"ts", oSaved->sTime}, {"processor", oSaved->sProcessor}};
    CFindings Findings;
    g_AddScores(Document, Scores, oSaved ? &*oSaved : nullptr, Findings);
    const auto IsMeasured = [](const CScore& rScore) { return !rScore.Runs.Values.empty(); };
    const bool bSaved = rWanted.oSave && std::ranges::any_of(Scores, IsMeasured);
    Document["saved_to"] = bSaved ? CJson(*rWanted.oSave) : nullptr;
    if (bSaved) g_WriteFile(g_Path(*rWanted.oSave), *rWanted.oSave, g_ScoreFileText(Scores, sProcessor));
    return Library.Emit(rTool, Document, std::move(Findings));
}

}  // namespace

extern constexpr CCommand kBench{"bench", "Measure processor, cache and memory, and compare with earlier scores",
                                 "  vxtctl bench cache --runs 5 --save before.json\n"
                                 "  vxtctl bench cache --runs 5 --json",
                                 g_NewCall<CWanted, kOptions, g_Bench>};

}  // namespace vxtctl
