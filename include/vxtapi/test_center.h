// The stability test: every core computes what is known beforehand, and what comes out wrong is collected.
#pragma once

#include <cstdint>

namespace vxtapi {

class CTestCase;

/// What test cases report with, from the thread that runs the pass; both return at once.
using TestErrorCallback = void (*)(CTestCase* pTestCase, uint32_t uCode);
/// One value is kept for each test case, the latest.
using TestResultCallback = void (*)(CTestCase* pTestCase, double dValue);

/// Kinds of the library's own test cases. A host's have numbers from 1000 up.
enum eTestKind : uint32_t {
    kTestInteger = 0,        ///< sums in integer arithmetic
    kTestFloatingPoint = 1,  ///< squares of large numbers by fast Fourier transforms, from the caches to memory
};

/// What the library's test cases report.
enum eTestError : uint32_t {
    kTestErrorSquares = 11,      ///< integer: a sum of quotients of squares, 64-bit
    kTestErrorAlternating = 12,  ///< integer: an alternating sum, 32-bit
    kTestErrorNotRun = 20,       ///< floating point: no memory for any number; nothing was tested
    kTestErrorRoundOff = 21,     ///< floating point: a coefficient of the square is too far from an integer
    kTestErrorChecksum = 22,     ///< floating point: the new digits are not those of the old number's square
    kTestErrorKeptDigits = 23,   ///< floating point: the digits in memory are not those that the last step wrote
    kTestErrorDigitRange = 24,   ///< floating point: a digit that no step writes
};

/// Sizes of numbers that the floating-point test case squares: 2^11 words and each twice the one before. A 32-bit process is
/// spared the largest two: 32 and 64 MiB for each core.
inline constexpr uint32_t kTestSizes = sizeof(void*) == 4 ? 11 : 13;
inline constexpr uint32_t kRepeatUntilStopped = 0xFFFFFFFF;
inline constexpr uint32_t kNoCore = 0xFFFFFFFF;  ///< not pinned

/// One computation that checks itself. A host may bring its own: the center owns it from AddTestCase on.
class CTestCase {
public:
    /// Slot 0: one of eTestKind or a host's own number.
    virtual uint32_t GetKind() = 0;
    /// Slot 1: one pass on the calling thread, through to its end or until Stop. Returns how many mismatches it reported.
    /// The library's own report as result how many passes they have completed since their thread was started; one that an
    /// error breaks off is not completed. A floating-point pass is one size of number, the next pass takes the next size:
    /// after kTestSizes passes it has been from the first-level cache to main memory, as far as there was memory.
    virtual uint32_t Run(TestErrorCallback pReportError, TestResultCallback pReportResult) = 0;
    /// Slot 2: asks a running pass to end early; returns at once. Any thread. The library's own end within 10 ms.
    virtual void Stop() = 0;
    /// Slot 3: deletes it. The center calls it, with the thread ended; never where the library is unloaded without
    /// UnInitVXTAPI.
    virtual void Destroy() = 0;

protected:
    ~CTestCase() = default;
};

inline constexpr uint32_t kNoPlace = 0xFFFFFFFF;  ///< it is not known which word is wrong

/// An error. What stands behind `uCore` is what the library's own test cases know; where a host's report, nothing is (zeros,
/// kNoPlace).
struct TestError {
    CTestCase* pTestCase;
    uint32_t uCode;  ///< eTestError, or a host's own
    uint32_t uKind;
    uint32_t uCore;  ///< that the thread is pinned to, or kNoCore
    /// Times that this step of the computation had failed with the same wrong value before, on any core: hardware seldom
    /// errs twice alike, so from 1 on software is the likelier cause. 0 where `ullIteration` is.
    uint32_t uSeenBefore;
    uint32_t uSize;         ///< words of the number; 0 where there is none
    uint32_t uPlace;        ///< word that is wrong, or kNoPlace
    uint64_t ullPass;       ///< from 1, since the thread was started
    uint64_t ullIteration;  ///< floating point: step of the pass, from 1; 0 where there is none
    uint64_t ullExpected;   ///< sum or checksum; the same as `ullFound` where the check has none
    uint64_t ullFound;
    uint64_t ullBits;       ///< of the wrong value that differ, where that is known; else 0
    double dRoundOff;       ///< largest distance from an integer, infinite where it ran away; 0 where there is none
    double dRoundOffLimit;  ///< that it may not exceed
    double dSeconds;        ///< since the thread was started
};

struct TestResult {
    CTestCase* pTestCase;
    double dValue;
};

/// Runs test cases, each on its own thread pinned to its core. Obtained from CPerformanceControl::GetTestCenter. After
/// InitVXTAPI it has an integer and a floating-point test case for every processor device, in that order by core.
///
/// Threads: any may call, also several at once; a test case must not, from its pass. Stop, Halt, Clear and a start wait for
/// passes to end: 10 ms with the library's own test cases. Records that are handed out belong to the center. They stay
/// valid until Stop, Clear or shut-down, or until 4096 more have been handed out.
class CTestCenter {
public:
    /// Slot 0: starts the thread of every test case, whatever its repeat value; one that runs goes on. A thread that cannot
    /// be started leaves a line in the log.
    virtual void StartAll() = 0;
    /// Slot 1: one pass of a test case on the calling thread. Returns its mismatches, which are reported as those of a
    /// thread are. 0, and no pass, when the center does not have it or its own thread runs (IsRunning).
    virtual uint32_t RunTestCase(CTestCase* pTestCase) = 0;
    /// Slot 2: asks a running pass of a test case to end early; its thread goes on with the next one. False if absent.
    virtual bool StopTestCase(CTestCase* pTestCase) = 0;
    /// Slot 3: takes a test case over; `uRepeat` passes (0: Start leaves it out), or kRepeatUntilStopped. `uCore`: processor
    /// that its thread is pinned to, modulo 32, or kNoCore. False, and the test case still the caller's, when it is null
    /// or memory runs out.
    virtual bool AddTestCase(CTestCase* pTestCase, uint32_t uRepeat, uint32_t uCore) = 0;
    virtual CTestCase* FindTestCase(uint32_t uKind, uint32_t uCore) = 0;  ///< slot 4: the first such; null: none
    virtual uint32_t GetTestCaseCount() = 0;                              ///< slot 5
    /// Slot 6: test cases are numbered from 0 in the order in which they were added. False: no such number. A thread that
    /// runs a number of passes obeys a new number; until stopped or not it decides when it starts.
    virtual bool SetTestCaseRepeat(int32_t nIndex, uint32_t uRepeat) = 0;
    virtual bool SetTestCaseRepeatFor(CTestCase* pTestCase, uint32_t uRepeat) = 0;  ///< slot 7: false if absent
    /// Slot 8: deletes every test case, and all errors and results. Threads that run are stopped before.
    virtual void Clear() = 0;
    /// Slot 9: starts the thread of every test case whose repeat value is not 0.
    virtual void Start() = 0;
    /// Slot 10: ends all threads and deletes errors and results: fetch them before, or use Halt.
    virtual void Stop() = 0;
    /// Slot 11: the oldest error, removed from the list; null: none. At most 4096 wait, later ones are dropped.
    virtual const TestError* GetNextError() = 0;
    virtual const TestResult* GetNextResult() = 0;  ///< slot 12: the oldest result, likewise
    /// Slot 13: ends all threads as Stop does and leaves errors and results to be fetched.
    virtual void Halt() = 0;
    /// Slot 14: whether any thread has passes to run; false when all have run their number, or could not be pinned.
    virtual bool IsRunning() = 0;

protected:
    ~CTestCenter() = default;
};

}  // namespace vxtapi
