#include "bench/stress_test_case.h"

#include "platform/clock.h"

namespace vxt {

void CStressTestCase::Begin() {
    m_ullBegun = m_ullPasses = 0;
    m_dBegin = platform::RunningSeconds();
}

uint32_t CStressTestCase::Run(vxtapi::TestErrorCallback pReportError, vxtapi::TestResultCallback pReportResult) {
    m_pReportError = pReportError;
    m_uMismatches = 0;
    ++m_ullBegun;
    if (_Compute()) ++m_ullPasses;
    pReportResult(this, static_cast<double>(m_ullPasses));
    return m_uMismatches;
}

vxtapi::TestError CStressTestCase::_NewError(uint32_t uCode) {
    vxtapi::TestError Error{};
    Error.uCode = uCode;
    Error.uPlace = vxtapi::kNoPlace;
    return Error;
}

void CStressTestCase::_Report(vxtapi::TestError Error) {
    Error.pTestCase = this;
    Error.uKind = m_uKind;
    Error.uCore = m_uCore;
    Error.ullPass = m_ullBegun;
    Error.dSeconds = platform::RunningSeconds() - m_dBegin;
    m_Error = Error;
    ++m_uMismatches;
    m_pReportError(this, Error.uCode);
}

}  // namespace vxt
