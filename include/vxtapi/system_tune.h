// Automatic tuning: the highest reference clock at which the stability test finds no error.
#pragma once

#include <vxtapi/test_center.h>

#include <cstdint>

namespace vxtapi {

/// How a search of the processor's clock went.
enum eTuneStatus : int32_t {
    kTuneNever = -1,    ///< GetLastTuneStatus: nothing is known of a search
    kTuneFinished = 0,  ///< the top of the range was reached, and no test failed at the last clock
    kTuneStopped = 1,   ///< by Stop
    kTuneRunning = 2,   ///< never in the configuration file
    kTuneFailed = 3,    ///< ended at a clock at which the stability test failed, and went below it
};

/// What a search does with a clock.
enum eTuneState : uint32_t {
    kTuneBegins = 0,  ///< it is set next, and tested: the PC may not survive that
    kTuneTests = 1,   ///< a second more of the test is over
    kTunePassed = 2,  ///< tested as long as it had to be
    kTuneFails = 3,   ///< the test found an error
    kTuneBreaks = 4,  ///< Stop ended its test
    kTuneSets = 5,    ///< it is set next, without a test: on the way to another one, or one that passed before
};

/// A clock of a search. Every kTuneBegins is followed by one of kTunePassed, kTuneFails and kTuneBreaks of the same clock.
struct TunePoint {
    uint32_t uState;          ///< eTuneState
    uint32_t uNumber;         ///< of the clocks that were tested up to now, from 1; 0: none yet
    double dReferenceClock;   ///< MHz
    double dMultiplier;       ///< of the processor; times the reference clock it is the core clock
    uint32_t uSeconds;        ///< of the test at this clock
    uint32_t uDuration;       ///< seconds that this test takes if nothing fails
    const TestError* pError;  ///< of kTuneFails, valid during the call; else null
};

/// Follows a search, for a host that shows or notes what happens.
class CTuneObserver {
public:
    /// Slot 0: on the thread of the search, which goes on when the call returns. It may call Stop and read the tuner.
    virtual void OnPoint(const TunePoint* pPoint) = 0;

protected:
    ~CTuneObserver() = default;
};

/// Finds, unattended, the highest stable processor clock. Obtained from CPerformanceControl::GetSystemTune.
///
/// A search raises the reference clock from the present one, by the steps or the list that the clock generator has, and runs
/// the stability test for two minutes or more at each. Where the processor's multiplier is free and the reference clock has
/// gained more than one step of it, the reference clock goes back to its default and the multiplier up by a step. At the end
/// the last clock that was found stable is in force; kept: unless the first one failed, or a step of the multiplier had just been
/// gained: then it is the entry or the default below, which is slower than what passed, or was not tested at all. Hosts that
/// follow the search know the clocks that passed.
///
/// A search survives the PC's death: for its time the host is registered under the user's RunOnce key, value "VXT", with the
/// argument " AutoTune"; and every clock is kept in the configuration file as it was tested. A host that is started with that
/// argument calls StartTune again, which goes on near where the search died. Every end of a search removes the value. A clock
/// that was stopped counts as tested there: the next search begins above it. Where the configuration file cannot be read or
/// written the search goes on without it (the log tells), and the value's path is not quoted (kept).
///
/// Threads: one search at a time, on one and the same thread, which it blocks for minutes to hours. Stop, GetStatus and the
/// three getters behind GetLastTuneStatus may be called from any; GetLastTuneStatus only while no search runs.
class CSystemTune {
public:
    virtual const wchar_t* GetName() = 0;  ///< slot 0: "QORSystemTune"
    /// Slot 1: searches the processor's clock. True when the search came to its end: at the top of the range, or, where the
    /// clock generator has a list of clocks, also at a clock that failed. False when it was stopped, when a test failed where
    /// there is no list, and when a device or the firmware is missing: GetStatus and the log tell which.
    virtual bool StartTune() = 0;
    /// Slot 2: asks a running search to end, which it does within a second, with the clock of that moment still set; in kTuneBegins
    /// the clock is not even set, and the last one that passed is.
    virtual void Stop() = 0;
    virtual int32_t GetStatus() = 0;          ///< slot 3: eTuneStatus of this process's last search; 0 before
    virtual int32_t GetLastTuneStatus() = 0;  ///< slot 4: of the last search that ended, from the configuration file
    virtual double GetReferenceClock() = 0;   ///< slot 5: MHz, that the search is at or sets next; 0 before
    virtual double GetMultiplier() = 0;       ///< slot 6: of the processor, likewise
    virtual double GetMemoryClock() = 0;      ///< slot 7: MHz, likewise
    /// Slot 8: searches the processor's clock and steps the memory's clock up, as wanted; the link's step is empty. Any
    /// number but 0 is wanted. The memory's clocks are set one after the other, 2 seconds each, without a test between them:
    /// only for memory that is known to be good for all. True when every step succeeded; the first failure ends it.
    virtual bool AutoTune(uint8_t bCPU, uint8_t bHTLink, uint8_t bMemory) = 0;
    /// Slot 9: follows searches from now on; null: nobody. The caller owns it and keeps it until another one is set. Never
    /// during a search.
    virtual void SetObserver(CTuneObserver* pObserver) = 0;
    /// Slot 10: the next search begins at the present clock, wherever an earlier one died. False when that could not be
    /// written. Never during a search.
    virtual bool ForgetLastTune() = 0;

protected:
    ~CSystemTune() = default;
};

}  // namespace vxtapi
