#include "stress_run.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "common/exit_code.h"

namespace vxtctl {

using vxtapi::TestError;
using vxttools::CFailure;
using vxttools::EExit;

CStressRun::CStressRun(const CHostLibrary& rLibrary, const std::vector<uint32_t>& rCores,
                       const std::vector<uint32_t>& rKinds, COnError OnError)
    : m_pCenter(rLibrary.Performance().GetTestCenter()), m_OnError(std::move(OnError)) {
    if (!m_pCenter) throw CFailure(EExit::kFailed, "the library has no stability test here; --log tells why");
    for (uint32_t i = 0; i < m_pCenter->GetTestCaseCount(); ++i)
        m_pCenter->SetTestCaseRepeat(static_cast<int32_t>(i), 0);
    for (const uint32_t uCore : rCores)
        for (const uint32_t uKind : rKinds) {
            vxtapi::CTestCase* const pTestCase = m_pCenter->FindTestCase(uKind, uCore);
            if (!pTestCase || !m_pCenter->SetTestCaseRepeatFor(pTestCase, vxtapi::kRepeatUntilStopped))
                throw CFailure(EExit::kFailed, "the library has no stability test for core " + std::to_string(uCore));
            m_Tests.push_back({uCore, uKind, pTestCase});
        }
}

void CStressRun::Halt() {
    m_pCenter->Halt();
    _Collect(std::numeric_limits<size_t>::max());  // nobody adds to them any more
}

// While tests run there may always be another one: what they report meanwhile is left to the next time.
void CStressRun::_Collect(size_t uMost) {
    for (size_t i = 0; i < uMost; ++i) {
        const TestError* const pError = m_pCenter->GetNextError();
        if (!pError) break;
        _Take(*pError);
    }
    for (size_t i = 0; i < m_Tests.size(); ++i) {  // one waits for each at most
        const vxtapi::TestResult* const pResult = m_pCenter->GetNextResult();
        if (!pResult) break;
        if (CStressTest* const pTest = _Find(pResult->pTestCase))
            pTest->ullPasses = static_cast<uint64_t>(pResult->dValue);
    }
}

CStressTest* CStressRun::_Find(const vxtapi::CTestCase* pTestCase) {
    const auto it = std::ranges::find(m_Tests, pTestCase, &CStressTest::pTestCase);
    return it == m_Tests.end() ? nullptr : &*it;
}

void CStressRun::_Take(const TestError& rError) {
    CStressTest* const pTest = _Find(rError.pTestCase);
    if (!pTest) return;
    if (rError.uCode == vxtapi::kTestErrorNotRun) {
        pTest->bNotRun = true;
        return;
    }
    ++pTest->ullErrors;
    if (rError.uSeenBefore > 0) ++m_ullRepeated;
    if (m_Errors.size() < kMostKept) m_Errors.push_back(rError);
    m_OnError(rError);
}

uint64_t CStressRun::Passes() const {
    return std::accumulate(m_Tests.begin(), m_Tests.end(), uint64_t{0},
                           [](uint64_t ull, const CStressTest& r) { return ull + r.ullPasses; });
}

uint64_t CStressRun::ErrorCount() const {
    return std::accumulate(m_Tests.begin(), m_Tests.end(), uint64_t{0},
                           [](uint64_t ull, const CStressTest& r) { return ull + r.ullErrors; });
}

}  // namespace vxtctl
