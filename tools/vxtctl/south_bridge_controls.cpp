#include "south_bridge_controls.h"

#include "common/exit_code.h"
#include "common/output.h"
#include "common/text.h"

namespace vxtctl {

using vxtapi::CSouthBridge;
using vxttools::CFailure;
using vxttools::EExit;

CSouthBridge& g_FindSouthBridge(const CHostLibrary& rLibrary) {
    const std::vector<CInventoryEntry> Devices = rLibrary.Devices(vxtapi::kDeviceSouthBridge);
    if (Devices.empty()) throw rLibrary.Absent("south bridge");
    return *static_cast<CSouthBridge*>(Devices.front().pDevice);
}

CWatchdogTimer::CWatchdogTimer(const CHostLibrary& rLibrary) : m_rBridge(g_FindSouthBridge(rLibrary)) {
    const std::string sName = vxttools::g_Utf8(m_rBridge.GetName());
    if (sName != "SQ4 Series Chipset")
        throw CFailure(EExit::kNoSuchDevice, "the library knows no watchdog timer of the " + sName);
}

CWatchdogTimer::~CWatchdogTimer() {
    if (m_bRuns) Stop();
}

bool CWatchdogTimer::Start() {
    if (m_rBridge.EnableWatchDogTimer(true)) {
        m_bRuns = true;
        if (StartOver()) return true;
    }
    Stop();
    return false;
}

bool CWatchdogTimer::Stop() {
    // Switched off first: that needs nothing to be known before, and suffices.
    const bool bOff = m_rBridge.EnableWatchDogTimer(false), bStopped = m_rBridge.TriggerWatchDogTimer(false);
    if (m_bRuns && !bOff && !bStopped)
        vxttools::g_PrintRemark("the watchdog timer could not be switched off: the PC restarts within " +
                                std::to_string(kSeconds) + " s unless 'vxtctl watchdog stop' can");
    m_bRuns = false;
    return bOff;
}

}  // namespace vxtctl
