// The stability test.
#pragma once

#include <vxtapi/device_manager.h>
#include <vxtapi/test_center.h>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>

#include "bench/stress_test_case.h"
#include "bench/test_records.h"

namespace vxt {

class CTestCenter final : public vxtapi::CTestCenter {
public:
    CTestCenter();
    /// Ends threads that still run. A host's test cases are left alone: its code may be gone by then.
    ~CTestCenter();

    /// An integer and a floating-point test case for every processor of `rDevices` that has none yet.
    bool Init(vxtapi::CDeviceManager& rDevices);
    void UnInit();

    void StartAll() override;
    uint32_t RunTestCase(vxtapi::CTestCase* pTestCase) override;
    bool StopTestCase(vxtapi::CTestCase* pTestCase) override;
    bool AddTestCase(vxtapi::CTestCase* pTestCase, uint32_t uRepeat, uint32_t uCore) override;
    vxtapi::CTestCase* FindTestCase(uint32_t uKind, uint32_t uCore) override;
    uint32_t GetTestCaseCount() override;
    bool SetTestCaseRepeat(int32_t nIndex, uint32_t uRepeat) override;
    bool SetTestCaseRepeatFor(vxtapi::CTestCase* pTestCase, uint32_t uRepeat) override;
    void Clear() override;
    void Start() override;
    void Stop() override;
    const vxtapi::TestError* GetNextError() override;
    const vxtapi::TestResult* GetNextResult() override;
    void Halt() override;
    bool IsRunning() override;

    /// From the thread that runs the pass, by way of the callbacks. False when the report was dropped.
    bool ReportError(vxtapi::CTestCase* pTestCase, uint32_t uCode);
    bool ReportResult(vxtapi::CTestCase* pTestCase, double dValue);

private:
    class CTestCaseThread;
    using CThreadPointer = std::shared_ptr<CTestCaseThread>;

    /// Bodies that operations share log under these.
    static constexpr const char* LogClass() { return "CTestCenter"; }
    /// Takes `pTestCase` over; `pOwn` is the same one when it is the library's.
    bool _Add(vxtapi::CTestCase* pTestCase, CStressTestCase* pOwn, uint32_t uRepeat, uint32_t uCore);
    bool _AddOwn(std::unique_ptr<CStressTestCase> pTestCase, uint32_t uCore);
    void _Start(bool (*pIsMeant)(const CTestCaseThread& rThread), const char* pszOperation = __builtin_FUNCTION());
    CThreadPointer _Find(const vxtapi::CTestCase* pTestCase) const;
    void _EndThreads();  ///< with m_Control held, as the next one
    void _ClearRecords();

    mutable std::mutex m_Control;  ///< the map, and starting and ending of threads; never taken by those
    std::map<uint32_t, CThreadPointer> m_TestCases;
    uint32_t m_uNextKey = 0;
    std::atomic<bool> m_bStopping = false;
    CTestErrors m_Errors;
    CTestResults m_Results;
};

CTestCenter& g_GetTestCenter();

}  // namespace vxt
