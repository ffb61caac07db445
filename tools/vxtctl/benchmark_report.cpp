#include "benchmark_report.h"

#include <algorithm>
#include <cmath>

#include "common/text.h"

namespace vxtctl {

using vxttools::CJson;
using vxttools::g_ToJson;
using vxttools::g_Trimmed;

namespace {

/// Four digits, or all of those before the point.
std::string g_ScoreText(double dValue) {
    constexpr int kDigits = 4;
    const int nBefore = dValue >= 1 ? static_cast<int>(std::log10(dValue)) + 1 : 0;
    return g_Trimmed(dValue, std::max(kDigits - nBefore, 0));
}

enum class EChange { kUnknown, kBetter, kWorse, kWithin };
struct CChangeWords {
    const char *pszKey, *pszText;
};
/// By EChange.
constexpr CChangeWords kChanges[] = {
    {nullptr, "-"}, {"better", "better"}, {"worse", "WORSE"}, {"within_spread", "within the spread"}};

struct CComparison {
    EChange eChange = EChange::kUnknown;
    double dPercent = 0;

    bool IsKnown() const { return eChange != EChange::kUnknown; }
    const CChangeWords& Words() const { return kChanges[static_cast<size_t>(eChange)]; }
};

/// Unknown where one of them is missing. Runs that follow each other have more in common than runs of another hour, so the
/// ranges lie further apart by themselves than they are wide: a change is what leaves the wider one's width between them, and
/// kLeastPercent.
CComparison g_Compare(const CScore& rScore, const CRuns* pBefore) {
    constexpr double kLeastPercent = 2;
    const CRuns& rNow = rScore.Runs;
    if (!pBefore || rNow.Values.empty()) return {};
    const double dPercent = (rNow.Median() / pBefore->Median() - 1) * 100;
    const double dWidth = std::max(rNow.Highest() - rNow.Lowest(), pBefore->Highest() - pBefore->Lowest());
    const bool bHigher = rNow.Lowest() - pBefore->Highest() > dWidth,
               bLower = pBefore->Lowest() - rNow.Highest() > dWidth;
    if ((!bHigher && !bLower) || std::abs(dPercent) < kLeastPercent) return {EChange::kWithin, dPercent};
    return {bHigher == rScore.pRow->bLowIsGood ? EChange::kWorse : EChange::kBetter, dPercent};
}

std::string g_Percent(double dPercent) { return (dPercent > 0 ? "+" : "") + g_Trimmed(dPercent, 1) + " %"; }

CJson g_RunsJson(const CRuns& rRuns) {
    return {{"median", g_ToJson(std::optional(rRuns.Median()))},
            {"minimum", g_ToJson(std::optional(rRuns.Lowest()))},
            {"maximum", g_ToJson(std::optional(rRuns.Highest()))},
            {"spread", g_ToJson(std::optional(rRuns.Spread()))},
            {"runs", rRuns.ToJson()}};
}

}  // namespace

void g_AddScores(vxttools::CDocument& rDocument, const std::vector<CScore>& rScores, const CSavedScores* pSaved,
                 vxttools::CFindings& rFindings) {
    CJson& rArray = rDocument["scores"] = CJson::Array();
    vxttools::CTextTable Table{"Scores", {"Benchmark", ">Median", "Unit", "~>Runs", ">Spread"}};
    if (pSaved)
        for (const char* const pszColumn : {">Saved", ">Change", "Verdict"}) Table.Columns.emplace_back(pszColumn);
    for (const CScore& rScore : rScores) {
        const CScoreRow& rRow = *rScore.pRow;
        const bool bMeasured = !rScore.Runs.Values.empty();
        const CRuns* const pBefore = pSaved ? pSaved->Find(rRow.pszName) : nullptr;
        const CComparison Comparison = g_Compare(rScore, pBefore);
        rArray.Push({{"id", std::string("/bench/") + rRow.pszName},
                     {"label", rRow.pszLabel},
                     {"unit", rRow.pszUnit},
                     {"better", rRow.bLowIsGood ? "lower" : "higher"},
                     {"measured", bMeasured ? g_RunsJson(rScore.Runs) : nullptr},
                     {"reason", bMeasured ? nullptr : CJson(rScore.sWrong)},
                     {"saved", pBefore ? g_RunsJson(*pBefore) : nullptr},
                     {"change", Comparison.IsKnown() ? g_ToJson(std::optional(Comparison.dPercent)) : nullptr},
                     {"verdict", Comparison.IsKnown() ? CJson(Comparison.Words().pszKey) : nullptr}});
        std::vector<std::string>& rCells = Table.Rows.emplace_back();
        rCells = {rRow.pszLabel, bMeasured ? g_ScoreText(rScore.Runs.Median()) : "-", rRow.pszUnit,
                  std::to_string(rScore.Runs.Values.size()),
                  rScore.Runs.Values.size() > 1 ? g_Trimmed(rScore.Runs.Spread(), 1) + " %" : "-"};
        if (pSaved) {
            rCells.push_back(pBefore ? g_ScoreText(pBefore->Median()) : "-");
            rCells.push_back(Comparison.IsKnown() ? g_Percent(Comparison.dPercent) : "-");
            rCells.emplace_back(Comparison.Words().pszText);
        }
        const std::string sName = std::string(rRow.pszName) + ": ";
        if (!bMeasured) rFindings.push_back(sName + rScore.sWrong);
        if (Comparison.eChange == EChange::kWorse)
            rFindings.push_back(sName + g_ScoreText(rScore.Runs.Median()) + " " + rRow.pszUnit + ", " +
                                g_ScoreText(pBefore->Median()) + " in " + pSaved->sFile + ": worse beyond the spread");
    }
    rDocument.AddTable(std::move(Table));
}

}  // namespace vxtctl
