// The benchmarks as rows, and what they measured.
#pragma once

#include <span>

#include "common/json.h"
#include "host_library.h"

namespace vxtctl {

/// One number that a benchmark makes.
struct CScoreRow {
    const char* pszName;       ///< "memory_read", in ids and files
    const char* pszBenchmark;  ///< by which it is chosen, "memory"; rows of one stand together
    const char *pszLabel, *pszUnit;
    bool bLowIsGood;
    vxtapi::eTester eTester;
    /// Runs it, or takes what the row before left. 0: a wrong result, or no memory.
    double (*pMeasure)(vxtapi::CTester& rTester);
};
std::span<const CScoreRow> g_ScoreRows();
/// Nothing when there is no such score.
const CScoreRow* g_FindScore(std::string_view sName);

/// What repeated runs measured.
struct CRuns {
    std::vector<double> Values;  ///< at least one, all above zero

    double Median() const;
    double Lowest() const;
    double Highest() const;
    /// From lowest to highest, in percent of the median.
    double Spread() const { return (Highest() - Lowest()) / Median() * 100; }
    vxttools::CJson ToJson() const;  ///< the values, as they are shown
};

struct CScore {
    const CScoreRow* pRow;
    CRuns Runs;               ///< empty when it went wrong
    std::string sWrong = {};  ///< why
};

/// The processor that the tools run on, by its own name; empty: it has none. On a simulated PC that is another one than the
/// library shows.
std::string g_HostProcessor();

}  // namespace vxtctl
