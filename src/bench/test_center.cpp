#include "bench/test_center.h"

#include <algorithm>
#include <iterator>

#include "api/log/log_checks.h"
#include "bench/floating_point_test_case.h"
#include "bench/integer_test_case.h"
#include "platform/silicon.h"
#include "platform/thread.h"
#include "registers/no_throw.h"
#include "registers/scope_exit.h"

namespace vxt {

namespace {

void g_ReportError(vxtapi::CTestCase* pTestCase, uint32_t uCode) { g_GetTestCenter().ReportError(pTestCase, uCode); }
void g_ReportResult(vxtapi::CTestCase* pTestCase, double dValue) { g_GetTestCenter().ReportResult(pTestCase, dValue); }

}  // namespace

/// A test case and the thread that runs it.
class CTestCenter::CTestCaseThread {
public:
    CTestCaseThread(const std::atomic<bool>& rStopping, vxtapi::CTestCase* pTestCase, CStressTestCase* pOwn,
                    uint32_t uRepeat, uint32_t uCore)
        : m_rStopping(rStopping), m_pTestCase(pTestCase), m_pOwn(pOwn), m_uCore(uCore), m_uRepeat(uRepeat) {}
    CTestCaseThread(const CTestCaseThread&) = delete;
    ~CTestCaseThread() {
        m_Thread.Join();
        if (m_pTestCase) m_pTestCase->Destroy();
    }

    vxtapi::CTestCase* TestCase() const { return m_pTestCase; }
    /// Null for a host's.
    CStressTestCase* Own() const { return m_pOwn; }
    uint32_t Core() const { return m_uCore; }
    uint32_t Repeat() const { return m_uRepeat; }
    void SetRepeat(uint32_t uRepeat) { m_uRepeat = uRepeat; }
    bool IsRunning() const { return m_bRunning; }

    /// False when the system has no thread. Nothing to do while one runs.
    bool Start();
    void Join() { m_Thread.Join(); }
    /// One pass on the calling thread; none while its own runs.
    uint32_t RunOnce();
    /// Gives the test case up without deleting it.
    void Release() { m_pTestCase = nullptr; }

    /// The one whose pass the calling thread runs; null: none.
    static const CTestCaseThread* Current() { return s_pCurrent; }

private:
    static constexpr const char* LogClass() { return "CTestCenter::CTestCaseThread"; }
    bool run();
    /// Whether there was a pass to run: not once the center stops.
    bool _Pass();

    static inline thread_local const CTestCaseThread* s_pCurrent = nullptr;

    const std::atomic<bool>& m_rStopping;
    vxtapi::CTestCase* m_pTestCase;
    CStressTestCase* const m_pOwn;
    const uint32_t m_uCore;
    std::atomic<uint32_t> m_uRepeat;
    std::atomic<bool> m_bRunning = false;
    platform::CThread m_Thread;
};

bool CTestCenter::CTestCaseThread::Start() {
    if (m_bRunning.exchange(true)) return true;
    m_Thread.Join();  // an earlier one that has run its passes
    const auto Body = [](void* pThread) { static_cast<CTestCaseThread*>(pThread)->run(); };
    platform::BeginComputing();
    if (m_Thread.Start(Body, this)) return true;
    platform::EndComputing();
    m_bRunning = false;
    return false;
}

bool CTestCenter::CTestCaseThread::run() {
    const CScopeExit End([this] { platform::EndComputing(), m_bRunning = false; });
    s_pCurrent = this;
    if (m_uCore != vxtapi::kNoCore) {
        const bool uOldMask = platform::SetThreadAffinity(uint32_t{1} << m_uCore % 32);
        LOG_PROCESS_ERROR(uOldMask);
    }
    if (m_pOwn) m_pOwn->Begin();
    if (m_uRepeat == vxtapi::kRepeatUntilStopped)
        while (_Pass()) {}
    else
        for (int32_t nPass = 0; nPass < static_cast<int32_t>(m_uRepeat.load()) && _Pass(); ++nPass) {}
    return true;
}

bool CTestCenter::CTestCaseThread::_Pass() {
    if (m_pOwn) m_pOwn->Arm();
    if (m_rStopping) return false;
    m_pTestCase->Run(g_ReportError, g_ReportResult);
    return true;
}

uint32_t CTestCenter::CTestCaseThread::RunOnce() {
    if (m_bRunning.exchange(true)) return 0;
    const CScopeExit End([this] { m_bRunning = false, s_pCurrent = nullptr; });
    s_pCurrent = this;
    if (m_pOwn) m_pOwn->Arm(), m_pOwn->Begin();
    return m_pTestCase->Run(g_ReportError, g_ReportResult);
}

CTestCenter::CTestCenter() = default;

// No locks: where a process ends without shut-down, Windows has killed the threads, whatever they held.
CTestCenter::~CTestCenter() {
    _EndThreads();
    for (const auto& [uKey, pThread] : m_TestCases)
        if (!pThread->Own()) pThread->Release();
}

bool CTestCenter::Init(vxtapi::CDeviceManager& rDevices) {
    const uint32_t uProcessors = rDevices.GetDeviceCount(vxtapi::kDeviceCpu);
    for (uint32_t uCore = 0; uCore < uProcessors; ++uCore) {
        if (!FindTestCase(vxtapi::kTestInteger, uCore)) {
            std::unique_ptr<CStressTestCase> pTestCPU(new (std::nothrow) CIntegerTestCase(uCore));
            LOG_PROCESS_ERROR(pTestCPU);
            const bool bRetCode = _AddOwn(std::move(pTestCPU), uCore);
            LOG_PROCESS_ERROR(bRetCode);
        }
        if (!FindTestCase(vxtapi::kTestFloatingPoint, uCore)) {
            std::unique_ptr<CStressTestCase> pTestFPU(new (std::nothrow) CFloatingPointTestCase(uCore));
            LOG_PROCESS_ERROR(pTestFPU);
            const bool bRetCode = _AddOwn(std::move(pTestFPU), uCore);
            LOG_PROCESS_ERROR(bRetCode);
        }
    }
    return true;
}

void CTestCenter::UnInit() {
    Stop();
    Clear();
}

bool CTestCenter::AddTestCase(vxtapi::CTestCase* pTestCase, uint32_t uRepeat, uint32_t uCore) {
    LOG_PROCESS_ERROR(pTestCase);
    const bool pThread = _Add(pTestCase, nullptr, uRepeat, uCore);
    LOG_PROCESS_ERROR(pThread);
    return true;
}

bool CTestCenter::_AddOwn(std::unique_ptr<CStressTestCase> pTestCase, uint32_t uCore) {
    const auto LogFunction = [](const char*) { return "AddTestCase"; };
    const bool pThread = _Add(pTestCase.get(), pTestCase.get(), vxtapi::kRepeatUntilStopped, uCore);
    LOG_PROCESS_ERROR(pThread);
    pTestCase.release();  // NOLINT(bugprone-unused-return-value): the center's now
    return true;
}

bool CTestCenter::_Add(vxtapi::CTestCase* pTestCase, CStressTestCase* pOwn, uint32_t uRepeat, uint32_t uCore) {
    const std::lock_guard Guard(m_Control);
    return g_NoThrow([&] {
        const auto it = m_TestCases.try_emplace(m_uNextKey).first;
        CScopeExit Forget([&] { m_TestCases.erase(it); });
        it->second = std::make_shared<CTestCaseThread>(m_bStopping, pTestCase, pOwn, uRepeat, uCore);
        Forget.Dismiss();
        ++m_uNextKey;
    });
}

vxtapi::CTestCase* CTestCenter::FindTestCase(uint32_t uKind, uint32_t uCore) {
    const std::lock_guard Guard(m_Control);
    for (const auto& [uKey, pThread] : m_TestCases)
        if (pThread->Core() == uCore && pThread->TestCase()->GetKind() == uKind) return pThread->TestCase();
    return nullptr;
}

CTestCenter::CThreadPointer CTestCenter::_Find(const vxtapi::CTestCase* pTestCase) const {
    const std::lock_guard Guard(m_Control);
    for (const auto& [uKey, pThread] : m_TestCases)
        if (pThread->TestCase() == pTestCase) return pThread;
    return nullptr;
}

uint32_t CTestCenter::GetTestCaseCount() {
    const std::lock_guard Guard(m_Control);
    return static_cast<uint32_t>(m_TestCases.size());
}

bool CTestCenter::SetTestCaseRepeat(int32_t nIndex, uint32_t uRepeat) {
    const std::lock_guard Guard(m_Control);
    if (nIndex < 0 || static_cast<size_t>(nIndex) >= m_TestCases.size()) return false;
    std::next(m_TestCases.begin(), nIndex)->second->SetRepeat(uRepeat);
    return true;
}

bool CTestCenter::SetTestCaseRepeatFor(vxtapi::CTestCase* pTestCase, uint32_t uRepeat) {
    const CThreadPointer pThread = _Find(pTestCase);
    if (pThread) pThread->SetRepeat(uRepeat);
    return pThread != nullptr;
}

uint32_t CTestCenter::RunTestCase(vxtapi::CTestCase* pTestCase) {
    const CThreadPointer pThread = _Find(pTestCase);
    return pThread ? pThread->RunOnce() : 0;
}

bool CTestCenter::StopTestCase(vxtapi::CTestCase* pTestCase) {
    const CThreadPointer pThread = _Find(pTestCase);
    if (pThread) pTestCase->Stop();
    return pThread != nullptr;
}

void CTestCenter::StartAll() {
    _Start([](const CTestCaseThread&) { return true; });
}

void CTestCenter::Start() {
    _Start([](const CTestCaseThread& rThread) { return rThread.Repeat() != 0; });
}

void CTestCenter::_Start(bool (*pIsMeant)(const CTestCaseThread& rThread), const char* pszOperation) {
    const auto LogFunction = [=](const char*) { return pszOperation; };
    const std::lock_guard Guard(m_Control);
    for (const auto& [uKey, pThread] : m_TestCases) {
        const bool bRetCode = !pIsMeant(*pThread) || pThread->Start();
        LOG_CHECK_ERROR(bRetCode);
    }
}

void CTestCenter::Stop() {
    const std::lock_guard Guard(m_Control);
    _EndThreads();
    _ClearRecords();
}

void CTestCenter::Halt() {
    const std::lock_guard Guard(m_Control);
    _EndThreads();
}

void CTestCenter::Clear() {
    const std::lock_guard Guard(m_Control);
    _EndThreads();
    m_TestCases.clear();
    _ClearRecords();
}

void CTestCenter::_EndThreads() {
    m_bStopping = true;
    for (const auto& [uKey, pThread] : m_TestCases) pThread->TestCase()->Stop();
    for (const auto& [uKey, pThread] : m_TestCases) pThread->Join();
    for (const auto& [uKey, pThread] : m_TestCases)
        if (CStressTestCase* const pOwn = pThread->Own()) pOwn->Arm();
    m_bStopping = false;
}

void CTestCenter::_ClearRecords() {
    m_Errors.Clear();
    m_Results.Clear();
}

bool CTestCenter::IsRunning() {
    const std::lock_guard Guard(m_Control);
    return std::ranges::any_of(m_TestCases, [](const auto& rEntry) { return rEntry.second->IsRunning(); });
}

const vxtapi::TestError* CTestCenter::GetNextError() { return m_Errors.TakeNext(); }

const vxtapi::TestResult* CTestCenter::GetNextResult() { return m_Results.TakeNext(); }

bool CTestCenter::ReportError(vxtapi::CTestCase* pTestCase, uint32_t uCode) {
    LOG_PROCESS_ERROR(pTestCase);
    const CTestCaseThread* const pThread = CTestCaseThread::Current();
    const bool bKnown = pThread && pThread->TestCase() == pTestCase;
    vxtapi::TestError Error{};
    if (bKnown && pThread->Own())
        Error = pThread->Own()->LastError();
    else
        Error.uKind = pTestCase->GetKind(), Error.uPlace = vxtapi::kNoPlace;
    Error.pTestCase = pTestCase;
    Error.uCode = uCode;
    Error.uCore = bKnown ? pThread->Core() : vxtapi::kNoCore;
    const bool pErrorMessage = m_Errors.Add(Error);
    platform::FoundError();
    LOG_PROCESS_ERROR(pErrorMessage);
    return true;
}

bool CTestCenter::ReportResult(vxtapi::CTestCase* pTestCase, double dValue) {
    LOG_PROCESS_ERROR(pTestCase);
    const bool pTestResult = m_Results.Set({pTestCase, dValue});
    LOG_PROCESS_ERROR(pTestResult);
    return true;
}

CTestCenter& g_GetTestCenter() {
    static CTestCenter s_TestCenter;
    return s_TestCenter;
}

}  // namespace vxt
