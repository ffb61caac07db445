// The stability test on chosen cores: what runs, how far it came, what it found.
#pragma once

#include <functional>

#include "host_library.h"

namespace vxtctl {

/// One computation on one core.
struct CStressTest {
    uint32_t uCore, uKind;  ///< the latter one of vxtapi::eTestKind
    vxtapi::CTestCase* pTestCase;
    uint64_t ullPasses = 0;  ///< completed
    uint64_t ullErrors = 0;
    bool bNotRun = false;  ///< it said that it could not compute
};

class CStressRun {
public:
    using COnError = std::function<void(const vxtapi::TestError& rError)>;
    static constexpr size_t kMostKept = 10'000;  ///< errors; later ones are counted only

    /// Chooses every kind on every core. Ends the command when the library has no such tests.
    CStressRun(
        const CHostLibrary& rLibrary, const std::vector<uint32_t>& rCores, const std::vector<uint32_t>& rKinds,
        COnError OnError = [](const vxtapi::TestError&) {});
    CStressRun(const CStressRun&) = delete;
    ~CStressRun() { m_pCenter->Halt(); }

    void Start() { m_pCenter->Start(); }
    /// Takes what the tests have reported up to now.
    void Collect() { _Collect(kMostAtOnce); }
    /// Ends the tests and takes all that is left.
    void Halt();
    /// False: no core has anything to compute any more.
    bool IsRunning() const { return m_pCenter->IsRunning(); }

    /// By core, then by kind.
    const std::vector<CStressTest>& Tests() const { return m_Tests; }
    /// In the order in which they were reported. The test cases that they name are gone with the library.
    const std::vector<vxtapi::TestError>& Errors() const { return m_Errors; }
    uint64_t Passes() const;
    uint64_t ErrorCount() const;
    /// Errors that an earlier one was like in place and value.
    uint64_t RepeatedCount() const { return m_ullRepeated; }

private:
    static constexpr size_t kMostAtOnce = 4096;  ///< the center keeps no more
    void _Collect(size_t uMost);
    CStressTest* _Find(const vxtapi::CTestCase* pTestCase);
    void _Take(const vxtapi::TestError& rError);

    vxtapi::CTestCenter* m_pCenter;
    COnError m_OnError;
    std::vector<CStressTest> m_Tests;
    std::vector<vxtapi::TestError> m_Errors;
    uint64_t m_ullRepeated = 0;
};

}  // namespace vxtctl
