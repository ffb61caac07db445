// What the library's own test cases tell the test center beyond their codes.
#pragma once

#include <vxtapi/test_center.h>

#include <atomic>

namespace vxt {

/// One core's computation. The error that it reports is described by LastError, on the thread that reports it.
class CStressTestCase : public vxtapi::CTestCase {
public:
    CStressTestCase(uint32_t uKind, uint32_t uCore) : m_uKind(uKind), m_uCore(uCore) {}
    virtual ~CStressTestCase() = default;

    uint32_t GetKind() final { return m_uKind; }
    uint32_t Run(vxtapi::TestErrorCallback pReportError, vxtapi::TestResultCallback pReportResult) final;
    void Stop() final { m_bStop = true; }
    void Destroy() final { delete this; }

    /// Begins to count passes and seconds anew.
    void Begin();
    /// Forgets an earlier Stop. Whoever may be stopped meanwhile looks at his own flag behind this: then a Stop that comes
    /// between that look and the pass ends the pass.
    void Arm() { m_bStop = false; }
    const vxtapi::TestError& LastError() const { return m_Error; }

protected:
    /// One pass; calls _Report for what it finds. False when it was not completed: stopped, broken off by an error, or
    /// nothing was computed.
    virtual bool _Compute() = 0;
    /// An error of that code of which nothing else is known.
    static vxtapi::TestError _NewError(uint32_t uCode);
    /// Fills in what every error says; `Error` brings the rest.
    void _Report(vxtapi::TestError Error);
    const std::atomic<bool>& _StopFlag() const { return m_bStop; }

private:
    const uint32_t m_uKind, m_uCore;
    std::atomic<bool> m_bStop = false;
    vxtapi::TestErrorCallback m_pReportError = nullptr;  ///< of the pass that runs
    uint32_t m_uMismatches = 0;                          ///< of the pass that runs
    uint64_t m_ullBegun = 0, m_ullPasses = 0;            ///< passes since Begin, and those that were completed
    double m_dBegin = 0;
    vxtapi::TestError m_Error{};
};

}  // namespace vxt
