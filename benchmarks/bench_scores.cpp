// The benchmark testers' scores, as a host gets them: ten runs of each, with their spread. Then the cache tester's loop beside
// the same one in inline assembly.
#include <vxtapi/benchmark_center.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

#include "bench/benchmark_center.h"
#include "read_loop.h"

namespace {

constexpr int kRuns = 10;

void g_PrintScores(const char* pszName, const char* pszUnit, const std::function<double()>& Measure) {
    std::vector<double> Scores(kRuns);
    std::ranges::generate(Scores, Measure);
    std::ranges::sort(Scores);
    const double dLowest = Scores.front(), dMedian = (Scores[kRuns / 2 - 1] + Scores[kRuns / 2]) / 2;
    std::printf("%-26s %10.3f %10.3f %10.3f  %-5s %5.1f %%\n", pszName, dLowest, dMedian, Scores.back(), pszUnit,
                (Scores.back() - dLowest) / dMedian * 100);
}

/// A computation whose result is wrong shows a score of 0.
void g_PrintComputation(vxtapi::CComputation& rComputation, const char* pszName, const char* pszUnit) {
    g_PrintScores(pszName, pszUnit, [&] { return rComputation.Run() ? rComputation.GetScore() : 0; });
    g_PrintScores(pszName, "s", [&] { return rComputation.Run() ? rComputation.GetSeconds() : 0; });
}

}  // namespace

int main() {
    vxt::CBenchmarkCenter Center;
    if (!Center.Init()) return 1;
    auto& rProcessor = *static_cast<vxtapi::CCPUTester*>(Center.GetTester(vxtapi::kTesterProcessor));
    auto& rMemory = *static_cast<vxtapi::CMemoryTester*>(Center.GetTester(vxtapi::kTesterMemory));
    auto& rCache = *static_cast<vxtapi::CCacheTester*>(Center.GetTester(vxtapi::kTesterCache));

    std::printf("%-26s %10s %10s %10s  %-5s %7s\n", "", "lowest", "median", "highest", "", "spread");
    g_PrintComputation(*rProcessor.GetFloatingPointComputation(), "FloatingPointComputation", "MI/s");
    g_PrintComputation(*rProcessor.GetIntegerComputation(), "IntegerComputation", "D/s");
    g_PrintScores("cache read", "MB/s", [&] { return rCache.MeasureReadBandwidth(); });
    g_PrintScores("memory read", "MB/s", [&] { return rMemory.MeasureReadBandwidth(); });
    g_PrintScores("memory write", "MB/s", [&] { return rMemory.MeasureWriteBandwidth(); });
    std::printf("\nsecond-level cache %u KiB, lines of %u bytes\n\n", rCache.GetCacheSize(), rCache.GetLineSize());
    vxtbench::g_CompareReadLoops();
}
