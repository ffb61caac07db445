// What south bridges do beside measuring: the watchdog timer, and the firmware's clock calibration.
#pragma once

#include "host_library.h"

namespace vxtctl {

/// The PC's south bridge. Ends the command when there is none.
vxtapi::CSouthBridge& g_FindSouthBridge(const CHostLibrary& rLibrary);

inline constexpr const char* kSouthBridgePath = "/south-bridge/0";

/// The chip's watchdog timer: it restarts the PC when nobody starts it over in time. Nobody can read whether it runs.
class CWatchdogTimer {
public:
    static constexpr uint32_t kSeconds = 30;  ///< the library's count: 3000 steps of 10 ms

    /// Ends the command when the chip has none.
    explicit CWatchdogTimer(const CHostLibrary& rLibrary);
    CWatchdogTimer(const CWatchdogTimer&) = delete;
    /// Stops it when this process started it and it is not to go on.
    ~CWatchdogTimer();

    /// Starts it, with all of its time. It is left stopped when that fails, or the user is told.
    bool Start();
    bool StartOver() { return m_rBridge.TriggerWatchDogTimer(true); }
    bool Stop();
    /// It goes on when this goes.
    void Keep() { m_bRuns = false; }

private:
    vxtapi::CSouthBridge& m_rBridge;
    bool m_bRuns = false;
};

}  // namespace vxtctl
