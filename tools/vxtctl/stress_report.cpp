#include "stress_report.h"

#include <algorithm>
#include <cmath>

#include "common/text.h"
#include "device_types.h"
#include "sensor_report.h"

namespace vxtctl {

using vxtapi::TestError;
using vxttools::CDocument;
using vxttools::CFindings;
using vxttools::CJson;
using vxttools::CTextTable;
using vxttools::g_FormatValue;
using vxttools::g_Trimmed;

namespace {

constexpr int kDigits = 16;  // of 64 bits

struct CKindRow {
    uint32_t uKind;
    const char *pszWord, *pszKey, *pszText;
};
constexpr CKindRow kKinds[] = {
    {vxtapi::kTestInteger, "int", "integer", "integer"},
    {vxtapi::kTestFloatingPoint, "fp", "floating_point", "floating point"},
};
const CKindRow& g_Kind(uint32_t uKind) { return *std::ranges::find(kKinds, uKind, &CKindRow::uKind); }

struct CCheckRow {
    uint32_t uCode;
    const char *pszKey, *pszText;
};
constexpr CCheckRow kChecks[] = {
    {vxtapi::kTestErrorSquares, "squares", "sum of quotients of squares, 64-bit"},
    {vxtapi::kTestErrorAlternating, "alternating", "alternating sum, 32-bit"},
    {vxtapi::kTestErrorRoundOff, "round_off", "round-off"},
    {vxtapi::kTestErrorChecksum, "checksum", "checksum of the square"},
    {vxtapi::kTestErrorKeptDigits, "kept_digits", "digits kept in memory"},
    {vxtapi::kTestErrorDigitRange, "digit_range", "digit that no step writes"},
    {0, "other", "a check that is not known here"},
};
const CCheckRow& g_Check(uint32_t uCode) {
    const auto it = std::ranges::find(kChecks, uCode, &CCheckRow::uCode);
    return it == std::end(kChecks) ? *std::prev(it) : *it;
}

std::string g_Count(uint64_t ull, const std::string& sWhat, const char* pszMany) {
    return std::to_string(ull) + " " + sWhat + (ull == 1 ? "" : pszMany);
}
std::string g_PassCount(uint64_t ull) { return g_Count(ull, "pass", "es"); }
std::string g_CoreCount(uint64_t ull) { return g_Count(ull, "core", "s"); }
std::string g_CoreName(uint32_t uCore) { return "core " + std::to_string(uCore); }

/// A number that is no finite one is none.
std::optional<double> g_Finite(double d) { return std::isfinite(d) ? std::optional(d) : std::nullopt; }

bool g_Compares(const TestError& rError) { return rError.ullExpected != rError.ullFound; }
bool g_HasPlace(const TestError& rError) { return rError.uSize && rError.uPlace != vxtapi::kNoPlace; }

/// What was wrong, and where in the computation.
std::string g_What(const TestError& rError) {
    std::string sText;
    const auto Add = [&sText](const std::string& sPart) { sText += (sText.empty() ? "" : ", ") + sPart; };
    if (rError.uSize) Add(g_Count(rError.uSize, "word", "s"));
    if (rError.ullIteration) Add("step " + std::to_string(rError.ullIteration));
    if (g_HasPlace(rError)) Add("word " + std::to_string(rError.uPlace));
    if (rError.uCode == vxtapi::kTestErrorRoundOff)
        Add("round-off " + (g_Finite(rError.dRoundOff) ? g_Trimmed(rError.dRoundOff, 6) : "beyond all numbers") +
            ", at most " + g_Trimmed(rError.dRoundOffLimit, 6));
    if (g_Compares(rError))
        Add("expected " + vxttools::g_Hex(rError.ullExpected, kDigits) + ", found " +
            vxttools::g_Hex(rError.ullFound, kDigits));
    if (rError.ullBits) Add("bits that differ " + vxttools::g_Hex(rError.ullBits, kDigits));
    if (rError.uSeenBefore > 0)
        Add("the same place has failed alike " + g_Count(rError.uSeenBefore, "time", "s") +
            " before: software is the likelier cause");
    return sText;
}

bool g_IsCore(const CSensor& rSensor) { return rSensor.sDevicePath.starts_with("/cpu/"); }

// --- by core

/// What is known of one core.
struct CCoreResult {
    uint32_t uCore;
    std::vector<const CStressTest*> Tests = {};
    uint64_t ullErrors = 0;

    /// By its kind; null: it was not asked for.
    const CStressTest* Find(uint32_t uKind) const {
        const auto it = std::ranges::find(Tests, uKind, &CStressTest::uKind);
        return it == Tests.end() ? nullptr : *it;
    }
};

std::vector<CCoreResult> g_ByCore(const CStressRun& rStress) {
    std::vector<CCoreResult> Cores;
    for (const CStressTest& rTest : rStress.Tests()) {
        if (Cores.empty() || Cores.back().uCore != rTest.uCore) Cores.push_back({rTest.uCore});
        Cores.back().Tests.push_back(&rTest);
        Cores.back().ullErrors += rTest.ullErrors;
    }
    return Cores;
}

/// Which cores erred, and what that speaks for.
std::string g_Culprit(const CStressRun& rStress) {
    const std::vector<CCoreResult> Cores = g_ByCore(rStress);
    const CCoreResult& rWorst = *std::ranges::max_element(Cores, {}, &CCoreResult::ullErrors);
    const auto nErring = std::ranges::count_if(Cores, [](const CCoreResult& r) { return r.ullErrors > 0; });
    const bool bAlike =
        std::ranges::all_of(Cores, [&](const CCoreResult& r) { return r.ullErrors == rWorst.ullErrors; });
    const std::string sWorst = g_CoreName(rWorst.uCore);
    std::string sText;
    if (Cores.size() == 1)
        sText = g_ErrorCount(rWorst.ullErrors) + " on " + sWorst + ", the only one that was tested";
    else if (nErring == 1)
        sText = sWorst + ": " + g_ErrorCount(rWorst.ullErrors) +
                "; the others none: its own clock and voltage are the likeliest cause";
    else
        sText = std::to_string(nErring) + " of " + g_CoreCount(Cores.size()) + " erred, " + sWorst +
                (bAlike ? " as often as the others: " : " most: ") + std::to_string(rWorst.ullErrors) + " of " +
                g_ErrorCount(rStress.ErrorCount());
    if (Cores.size() > 1 && static_cast<size_t>(nErring) == Cores.size())
        sText += "; what they share (clock, voltage, memory, cooling, power) is the likeliest cause";
    if (const uint64_t ullRepeated = rStress.RepeatedCount())
        sText += "; " + std::to_string(ullRepeated) +
                 " repeated an earlier error in place and value: for those software is the likelier cause";
    return sText;
}

/// Why a test shows nothing of its core; empty: it shows something.
std::string g_WhyUnknown(const CStressTest& rTest) {
    const std::string sTest = std::string("the ") + g_Kind(rTest.uKind).pszText + " test";
    if (rTest.bNotRun) return sTest + " could not run: there was no memory";
    if (rTest.ullPasses > 0 || rTest.ullErrors > 0) return "";
    return "no pass of " + sTest + " was completed: nothing is known of this core";
}

CFindings g_StressFindings(const CStressRun& rStress) {
    CFindings Findings;
    for (const CCoreResult& rCore : g_ByCore(rStress)) {
        const std::string sWhere = g_CoreName(rCore.uCore) + ": ";
        if (rCore.ullErrors > 0) Findings.push_back(sWhere + g_ErrorCount(rCore.ullErrors));
        for (const CStressTest* const pTest : rCore.Tests)
            if (const std::string sWhy = g_WhyUnknown(*pTest); !sWhy.empty()) Findings.push_back(sWhere + sWhy);
    }
    return Findings;
}

// --- the verdict

struct CVerdict {
    const char *pszKey, *pszTitle;
    std::string sText;
};

/// Why the time was not over; empty: it was.
std::string g_WhyEarly(const CTimedRun& rRun) {
    if (rRun.eEnd == ERunEnd::kDone) return "";
    return "it ended after " + g_Trimmed(rRun.dLasted, 1) + " of " + std::to_string(rRun.uSeconds) +
           " s: " + (rRun.sReason.empty() ? "interrupted" : rRun.sReason) + ". ";
}

/// Sizes of numbers that were not reached everywhere; empty: all were, or none was wanted.
std::string g_SizesText(const CStressRun& rStress) {
    uint64_t ullFewest = vxtapi::kTestSizes;
    for (const CStressTest& rTest : rStress.Tests())
        if (rTest.uKind == vxtapi::kTestFloatingPoint) ullFewest = std::min(ullFewest, rTest.ullPasses);
    if (ullFewest == vxtapi::kTestSizes) return "";
    return "Every core was at " + std::to_string(ullFewest) + " of the " + std::to_string(vxtapi::kTestSizes) +
           " sizes of numbers, which go from the first-level cache to main memory. ";
}

CVerdict g_Verdict(const CTimedRun& rRun, const CStressRun& rStress, const CFindings& rStressFindings) {
    const std::string sEarly = g_WhyEarly(rRun);
    if (rStress.ErrorCount() > 0) return {"errors", "ERRORS", sEarly + g_Culprit(rStress)};
    if (!rStressFindings.empty()) {
        const size_t uMore = rStressFindings.size() - 1;
        return {"unknown", "NOT ALL WAS TESTED",
                sEarly + rStressFindings.front() + (uMore ? "; the same of " + std::to_string(uMore) + " more" : "")};
    }
    return {"no_errors", sEarly.empty() ? "no errors" : "ENDED EARLY, no errors so far",
            sEarly + g_CoreCount(g_ByCore(rStress).size()) + ", " + g_PassCount(rStress.Passes()) + " in " +
                g_Trimmed(rRun.dLasted, 1) + " s. " + g_SizesText(rStress) +
                "That is no proof: another load, more heat or more time may still bring errors"};
}

// --- tables

CTextTable g_CoreTable(const CStressRun& rStress, const CStressReadings& rReadings) {
    CTextTable Table{"Cores",
                     {">Core", ">Integer passes", ">Floating-point passes", ">Errors", ">Clock", "~>Lowest",
                      ">Temperature", "~>Highest"}};
    const auto Number = [](const std::optional<double>& oValue, const char* pszUnit) {
        return oValue ? g_FormatValue(*oValue, pszUnit) + " " + pszUnit : "-";
    };
    for (const CCoreResult& rCore : g_ByCore(rStress)) {
        CFindings Told;
        std::vector<std::string>& rRow = Table.Rows.emplace_back();
        rRow.push_back(std::to_string(rCore.uCore));
        for (const CKindRow& rKind : kKinds) {
            const CStressTest* const pTest = rCore.Find(rKind.uKind);
            rRow.push_back(pTest ? std::to_string(pTest->ullPasses) : "-");
        }
        rRow.push_back(std::to_string(rCore.ullErrors));
        rRow.push_back(Number(rReadings.Clock(rCore.uCore, Told).oValue, "MHz"));
        rRow.push_back(Number(rReadings.LowestClock(rCore.uCore), "MHz"));
        const std::optional<size_t> oSensor = rReadings.TemperatureOf(rCore.uCore);
        const CSensorSamples& rSamples = rReadings.Temperatures();
        rRow.push_back(Number(oSensor ? rSamples.Readings()[*oSensor].oValue : std::nullopt, "°C"));
        rRow.push_back(Number(oSensor ? rSamples.Series()[*oSensor].oMaximum : std::nullopt, "°C"));
    }
    return Table;
}

CTextTable g_ErrorTable(const CStressRun& rStress) {
    constexpr size_t kShown = 20;
    CTextTable Table{"Errors", {">Core", "Test", ">Pass", ">After", "Check", "What was wrong"}};
    for (const TestError& rError : rStress.Errors()) {
        if (Table.Rows.size() == kShown) break;
        Table.Rows.push_back({std::to_string(rError.uCore), g_Kind(rError.uKind).pszText,
                              std::to_string(rError.ullPass), g_Trimmed(rError.dSeconds, 2) + " s",
                              g_Check(rError.uCode).pszText, g_What(rError)});
    }
    if (rStress.ErrorCount() > Table.Rows.size())
        Table.sTitle += ", the first " + std::to_string(kShown) + " of " + std::to_string(rStress.ErrorCount());
    return Table;
}

}  // namespace

std::optional<uint32_t> g_StressKind(std::string_view sWord) {
    const auto it = std::ranges::find(kKinds, sWord, &CKindRow::pszWord);
    return it == std::end(kKinds) ? std::nullopt : std::optional(it->uKind);
}

std::vector<uint32_t> g_StressKinds() {
    std::vector<uint32_t> Kinds;
    for (const CKindRow& rKind : kKinds) Kinds.push_back(rKind.uKind);
    return Kinds;
}

std::string g_ErrorCount(uint64_t ullErrors) { return ullErrors == 0 ? "no errors" : g_Count(ullErrors, "error", "s"); }

std::string g_StressErrorLine(const TestError& rError) {
    const std::string sWhat = g_What(rError);
    return g_CoreName(rError.uCore) + ", " + g_Kind(rError.uKind).pszText + ", pass " + std::to_string(rError.ullPass) +
           ", after " + g_Trimmed(rError.dSeconds, 3) + " s: " + g_Check(rError.uCode).pszText +
           (sWhat.empty() ? "" : ": " + sWhat);
}

CJson g_ToJson(const TestError& rError) {
    const auto Bits = [](bool bKnown, uint64_t ull) { return bKnown ? CJson(vxttools::g_Hex(ull, kDigits)) : nullptr; };
    const auto OrNull = [](uint64_t ull) { return ull ? CJson(ull) : nullptr; };
    const bool bRoundOff = rError.dRoundOffLimit > 0;
    return {{"core", g_DevicePath(vxtapi::kDeviceCpu, rError.uCore)},
            {"test", g_Kind(rError.uKind).pszKey},
            {"check", g_Check(rError.uCode).pszKey},
            {"code", rError.uCode},
            {"pass", rError.ullPass},
            {"size", OrNull(rError.uSize)},
            {"iteration", OrNull(rError.ullIteration)},
            {"place", g_HasPlace(rError) ? CJson(rError.uPlace) : nullptr},
            {"round_off", vxttools::g_ToJson(bRoundOff ? g_Finite(rError.dRoundOff) : std::nullopt)},
            {"round_off_limit", bRoundOff ? CJson(rError.dRoundOffLimit) : nullptr},
            {"expected", Bits(g_Compares(rError), rError.ullExpected)},
            {"found", Bits(g_Compares(rError), rError.ullFound)},
            {"bits", Bits(rError.ullBits != 0, rError.ullBits)},
            {"seen_before", rError.uSeenBefore},
            {"seconds", vxttools::g_ToJson(g_Finite(rError.dSeconds))}};
}

void g_AddStressSample(CDocument& rDocument, const CStressRun& rStress, const CStressReadings& rReadings,
                       const char* pszEvent, CFindings& rFindings) {
    CJson Cores = CJson::Array();
    for (const CCoreResult& rCore : g_ByCore(rStress)) {
        CJson& rRow = Cores.Push({{"id", g_DevicePath(vxtapi::kDeviceCpu, rCore.uCore)}, {"index", rCore.uCore}});
        for (const CKindRow& rKind : kKinds) {
            const CStressTest* const pTest = rCore.Find(rKind.uKind);
            rRow[std::string(rKind.pszKey) + "_passes"] = pTest ? CJson(pTest->ullPasses) : nullptr;
        }
        rRow["error_count"] = rCore.ullErrors;
        CJson Clock = rReadings.Clock(rCore.uCore, rFindings).ToJson();
        Clock["minimum"] = vxttools::g_ToJson(rReadings.LowestClock(rCore.uCore));
        rRow["core_clock"] = std::move(Clock);
    }
    g_AddEvent(rDocument, rReadings.Temperatures(), pszEvent);
    rDocument["cores"] = std::move(Cores);
    rDocument["total_errors"] = rStress.ErrorCount();
}

std::string g_StressSampleLine(const CStressRun& rStress, const CStressReadings& rReadings) {
    return g_SampleLine(rReadings.Temperatures()) + " passes=" + std::to_string(rStress.Passes()) +
           " errors=" + std::to_string(rStress.ErrorCount());
}

void g_AddStress(CDocument& rDocument, const CTimedRun& rRun, const CStressRun& rStress,
                 const CStressReadings& rReadings, CFindings& rFindings) {
    const CFindings OfTest = g_StressFindings(rStress);
    const CVerdict Verdict = g_Verdict(rRun, rStress, OfTest);
    rDocument["verdict"] = Verdict.pszKey;
    rDocument["message"] = Verdict.sText;
    rDocument["run"] = g_ToJson(rRun);
    rFindings = OfTest;
    g_AddStressSample(rDocument, rStress, rReadings, "summary", rFindings);
    CJson& rErrors = rDocument["errors"] = CJson::Array();
    for (const TestError& rError : rStress.Errors()) rErrors.Push(g_ToJson(rError));
    for (std::string& rsFinding : rReadings.Temperatures().Findings()) rFindings.push_back(std::move(rsFinding));
    rDocument.SetCsv("cores", "errors");

    rDocument.AddTable({std::string("Stability test: ") + Verdict.pszTitle, {""}, {{Verdict.sText}}});
    rDocument.AddTable(g_CoreTable(rStress, rReadings));
    CTextTable Others = g_SeriesTable(rReadings.Temperatures(), [](const CSensor& r) { return !g_IsCore(r); });
    Others.sTitle = "Other temperatures";
    if (!Others.Rows.empty()) rDocument.AddTable(std::move(Others));
    if (!rStress.Errors().empty()) rDocument.AddTable(g_ErrorTable(rStress));
}

}  // namespace vxtctl
