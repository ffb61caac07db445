#include "benchmark_scores.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

#if __has_include(<cpuid.h>)
#include <cpuid.h>
#endif

#include "common/text.h"

namespace vxtctl {

using vxtapi::CCPUTester;
using vxtapi::CMemoryTester;
using vxtapi::CTester;

namespace {

double g_Run(vxtapi::CComputation* pComputation) {
    return pComputation && pComputation->Run() ? pComputation->GetScore() : 0;
}

/// Of the run before, if that went well.
double g_Seconds(vxtapi::CComputation* pComputation) {
    return pComputation && pComputation->GetScore() > 0 ? pComputation->GetSeconds() : 0;
}

constexpr CScoreRow kRows[] = {
    {"integer", "integer", "Integer, digits", "D/s", false, vxtapi::kTesterProcessor,
     [](CTester& r) { return g_Run(static_cast<CCPUTester&>(r).GetIntegerComputation()); }},
    // The score stands at its ceiling on processors of today: the time tells them apart.
    {"integer_time", "integer", "Integer, time", "s", true, vxtapi::kTesterProcessor,
     [](CTester& r) { return g_Seconds(static_cast<CCPUTester&>(r).GetIntegerComputation()); }},
    {"whetstone", "whetstone", "Floating point, Whetstone", "MI/s", false, vxtapi::kTesterProcessor,
     [](CTester& r) { return g_Run(static_cast<CCPUTester&>(r).GetFloatingPointComputation()); }},
    {"cache_read", "cache", "First-level cache, read", "MB/s", false, vxtapi::kTesterCache,
     [](CTester& r) -> double { return static_cast<vxtapi::CCacheTester&>(r).MeasureReadBandwidth(); }},
    {"memory_read", "memory", "Memory, read", "MB/s", false, vxtapi::kTesterMemory,
     [](CTester& r) -> double { return static_cast<CMemoryTester&>(r).MeasureReadBandwidth(); }},
    {"memory_write", "memory", "Memory, write", "MB/s", false, vxtapi::kTesterMemory,
     [](CTester& r) -> double { return static_cast<CMemoryTester&>(r).MeasureWriteBandwidth(); }},
};

}  // namespace

std::span<const CScoreRow> g_ScoreRows() { return kRows; }

const CScoreRow* g_FindScore(std::string_view sName) {
    const auto it = std::ranges::find(kRows, sName, &CScoreRow::pszName);
    return it == std::end(kRows) ? nullptr : &*it;
}

double CRuns::Median() const {
    std::vector<double> Sorted = Values;
    std::ranges::sort(Sorted);
    const size_t uHalf = Sorted.size() / 2;
    return Sorted.size() % 2 ? Sorted[uHalf] : (Sorted[uHalf - 1] + Sorted[uHalf]) / 2;
}

double CRuns::Lowest() const { return *std::ranges::min_element(Values); }
double CRuns::Highest() const { return *std::ranges::max_element(Values); }

vxttools::CJson CRuns::ToJson() const {
    vxttools::CJson Json = vxttools::CJson::Array();
    for (const double d : Values) Json.Push(vxttools::g_ToJson(std::optional(d)));
    return Json;
}

std::string g_HostProcessor() {
#if __has_include(<cpuid.h>)
    // The brand string: 16 characters in each of three leaves, by the processors' data sheets.
    constexpr unsigned kFirstLeaf = 0x80000002, kLeaves = 3;
    std::array<unsigned, 4 * kLeaves> Registers{};
    for (unsigned i = 0; i < kLeaves; ++i) {
        unsigned* const pu = &Registers[4 * i];
        if (!__get_cpuid(kFirstLeaf + i, pu, pu + 1, pu + 2, pu + 3)) return "";
    }
    std::string sName(sizeof Registers, '\0');
    std::memcpy(sName.data(), Registers.data(), sName.size());
    sName = vxttools::g_Printable(sName);
    return sName.substr(std::min(sName.find_first_not_of(' '), sName.size()));
#else
    return "";
#endif
}

}  // namespace vxtctl
