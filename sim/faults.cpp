#include "faults.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace vxtsim {

namespace {

constexpr struct {
    std::string_view sName;
    EFault eFault;
    const char* pszOutcome;
} kKinds[] = {
    {"fail", EFault::kFail, "failed"},
    {"zero", EFault::kZeroLength, "returned no data"},
    {"count", EFault::kWrongCount, "returned a wrong count of bytes"},
    {"drop", EFault::kDropWrite, "was dropped"},
    {"ones", EFault::kAllOnes, "answered all ones"},
    {"delay", EFault::kDelay, "came 50 ms late"},
};

/// Cuts the text before the next `cEnd` off `rsText`.
std::string_view g_TakeUntil(std::string_view& rsText, char cEnd) {
    const size_t uEnd = std::min(rsText.find(cEnd), rsText.size());
    const std::string_view sPart = rsText.substr(0, uEnd);
    rsText.remove_prefix(std::min(uEnd + 1, rsText.size()));
    return sPart;
}

bool g_Number(std::string_view sText, uint64_t ullMaximum, uint64_t& rullValue) {
    uint64_t ullValue = 0;
    for (const char c : sText) {
        if (c < '0' || c > '9') return false;
        ullValue = ullValue * 10 + static_cast<uint64_t>(c - '0');
        if (ullValue > ullMaximum) return false;
    }
    rullValue = ullValue;
    return !sText.empty();
}

/// A well-mixed number that depends on nothing but its input (splitmix64).
uint64_t g_Mix(uint64_t ullValue) {
    ullValue += 0x9E3779B97F4A7C15;
    ullValue = (ullValue ^ ullValue >> 30) * 0xBF58476D1CE4E5B9;
    ullValue = (ullValue ^ ullValue >> 27) * 0x94D049BB133111EB;
    return ullValue ^ ullValue >> 31;
}

}  // namespace

CFaultPlan CFaultPlan::After(uint64_t ullGood, EFault eFault, bool bForever) {
    CFaultPlan Plan;
    Plan.m_eFault = eFault, Plan.m_ullGood = ullGood, Plan.m_bForever = bForever;
    return Plan;
}

bool CFaultPlan::Parse(const std::string& sText, CFaultPlan& rPlan, std::string& rsError) {
    constexpr uint64_t kMaximumSeed = 0xFFFFFFFF;
    CFaultPlan Plan;
    uint64_t ullPercent = 1;
    Plan.m_ullSeed = 1;
    const auto Fail = [&](const std::string& sExpected, std::string_view sWord) {
        rsError = "expected " + sExpected + ", found " + (sWord.empty() ? "nothing" : std::string(sWord));
        return false;
    };
    std::string_view sRest = sText;
    do {
        const std::string_view sWord = g_TakeUntil(sRest, ',');
        std::string_view sValue = sWord;
        const std::string_view sKey = g_TakeUntil(sValue, '=');
        if (sKey == "seed") {
            if (!g_Number(sValue, kMaximumSeed, Plan.m_ullSeed)) return Fail("seed=0 to seed=4294967295", sWord);
        } else if (sKey == "rate") {
            if (!g_Number(sValue, 100, ullPercent)) return Fail("rate=0 to rate=100", sWord);
        } else if (sKey == "kinds") {
            Plan.m_Kinds.clear();
            do {
                const std::string_view sKind = g_TakeUntil(sValue, '+');
                const auto pKind = std::find_if(std::begin(kKinds), std::end(kKinds),
                                                [&](const auto& rKind) { return rKind.sName == sKind; });
                if (pKind == std::end(kKinds)) return Fail(KindNames(), sKind);
                Plan.m_Kinds.push_back(pKind->eFault);
            } while (!sValue.empty());
        } else {
            return Fail("seed=, rate= or kinds=", sWord);
        }
    } while (!sRest.empty());
    if (Plan.m_Kinds.empty())
        for (const auto& rKind : kKinds) Plan.m_Kinds.push_back(rKind.eFault);
    Plan.m_uPercent = static_cast<uint32_t>(ullPercent);
    rPlan = Plan;
    return true;
}

std::string CFaultPlan::KindNames() {
    std::string sNames;
    for (const auto& rKind : kKinds)
        sNames += (sNames.empty() ? "" : &rKind == std::end(kKinds) - 1 ? " or " : ", ") + std::string(rKind.sName);
    return sNames;
}

const char* g_FaultOutcome(EFault eFault) {
    const auto pKind =
        std::find_if(std::begin(kKinds), std::end(kKinds), [&](const auto& rKind) { return rKind.eFault == eFault; });
    return pKind == std::end(kKinds) ? "was served" : pKind->pszOutcome;
}

EFault CFaultPlan::Next() {
    const uint64_t ullRequest = m_ullRequests++;
    EFault eFault = EFault::kNone;
    if (m_uPercent) {
        const uint64_t ullMix = g_Mix(m_ullSeed << 32 ^ ullRequest);
        if (ullMix % 100 < m_uPercent) eFault = m_Kinds[static_cast<size_t>(g_Mix(ullMix) % m_Kinds.size())];
    } else if (ullRequest == m_ullGood || (m_bForever && ullRequest > m_ullGood)) {
        eFault = m_eFault;
    }
    if (eFault != EFault::kNone) ++m_ullInjected;
    return eFault;
}

}  // namespace vxtsim
