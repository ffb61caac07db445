#include "platform/simulated/hang.h"

#include <unistd.h>

#include <cstdio>

#include "platform/simulated/simulated_system.h"

namespace vxt::platform::simulated {

void g_EndIfHung() {
    const vxtsim::CSimMachine& rMachine = g_GetMachine();
    if (!rMachine.HasHung()) return;
    const CSystemSide SystemSide;
    const std::string sReason = rMachine.HangReason();
    if (const auto& rOnHang = g_GetSystem().m_OnHang) return rOnHang(sReason);
    static std::mutex s_Lock;
    s_Lock.lock();  // for good: other threads that come here end with the process
    g_ResetState();
    std::fprintf(stderr, "%s\n", sReason.c_str());
    _exit(vxtsim::kHungStatus);
}

}  // namespace vxt::platform::simulated
