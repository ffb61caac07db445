#include "support/settings_folder.h"

#include <sys/wait.h>

#include <csignal>

#include "support/simulated_pc.h"

namespace vxttest {

CSettingsFolder::CSettingsFolder() : m_pWorld(std::make_shared<CLogCapture>()) { SetInstallDir(nullptr); }
CSettingsFolder::~CSettingsFolder() = default;

void CSettingsFolder::SetInstallDir(const char* pszValue) {
    vxtsim::CMachineDescription Description = CSimulatedPc::Describe(CSimulatedPc::kDefaultMachine);
    if (pszValue) Description.Registry["HKLM\\Software\\QOR\\QOR Velomar!InstallDir"] = std::string("sz:") + pszValue;
    vxt::platform::simulated::g_Restart(std::move(Description));
}

CSaver::CSaver() : m_uProcess(static_cast<uintptr_t>(fork())) {
    if (m_uProcess == 0) g_SaveInTurn();
}

int CSaver::AffordableKills() { return 100; }

void CSaver::Kill() {
    if (m_uProcess == 0) return;
    kill(static_cast<pid_t>(m_uProcess), SIGKILL);
    waitpid(static_cast<pid_t>(m_uProcess), nullptr, 0);
    m_uProcess = 0;
}

}  // namespace vxttest
