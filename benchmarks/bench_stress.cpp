// What the stability test costs: an integer pass (a pass far below 20 ms would mean that a compiler has folded its sums), a
// floating-point pass of each size, and a report.
#include <benchmark/benchmark.h>

#include "bench/floating_point_test_case.h"
#include "bench/integer_test_case.h"
#include "bench/test_records.h"
#include "bench_machine.h"

namespace {

void g_Ignore(vxtapi::CTestCase*, uint32_t) {}
void g_Ignore(vxtapi::CTestCase*, double) {}

void IntegerPass(benchmark::State& rState) {
    vxtbench::SwitchOn();
    vxt::CIntegerTestCase TestCase(0);
    for (auto _ : rState)
        if (TestCase.Run(g_Ignore, g_Ignore) != 0) rState.SkipWithError("a sound core errs");
}
BENCHMARK(IntegerPass)->Unit(benchmark::kMillisecond);

/// From pass to pass the next size, so one iteration is a walk over all of them.
void FloatingPointWalk(benchmark::State& rState) {
    vxtbench::SwitchOn();
    vxt::CFloatingPointTestCase TestCase(0);
    for (auto _ : rState)
        for (size_t uSize = 0; uSize < std::size(vxt::fft::kSizes); ++uSize)
            if (TestCase.Run(g_Ignore, g_Ignore) != 0) rState.SkipWithError("a sound core errs");
}
BENCHMARK(FloatingPointWalk)->Unit(benchmark::kMillisecond);

void ReportAndFetch(benchmark::State& rState) {
    vxt::CTestErrors Errors;
    vxtapi::TestError Error{};
    for (auto _ : rState) {
        ++Error.ullFound %= 16;
        benchmark::DoNotOptimize(Errors.Add(Error));
        benchmark::DoNotOptimize(Errors.TakeNext());
    }
}
BENCHMARK(ReportAndFetch);

}  // namespace
