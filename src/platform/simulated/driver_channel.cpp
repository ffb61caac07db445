#include "platform/driver_channel.h"

#include "platform/simulated/hang.h"
#include "platform/simulated/simulated_system.h"

namespace vxt::platform {

using simulated::CSimulatedSystem;
using simulated::CSystemSide;
using simulated::g_GetSystem;
using EHandle = CSimulatedSystem::EHandle;

namespace {
constexpr std::wstring_view kDevicePrefix = L"\\\\.\\";
constexpr const wchar_t* kDriverService = L"VXTDriver";  ///< its device has the same name
}  // namespace

void CloseDriver(uintptr_t uHandle) { g_GetSystem().Close(uHandle); }

CDriverChannel OpenDriver(const wchar_t* pszDevice) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    const std::lock_guard Guard(rSystem.m_Lock);
    if (rSystem.Refuses("OpenDriver", kErrorFileNotFound)) return {};
    const auto it = rSystem.m_Services.find(kDriverService);
    const bool bPresent = std::wstring(kDevicePrefix) + kDriverService == pszDevice && it != rSystem.m_Services.end() &&
                          it->second.uState == kServiceRunning;
    if (bPresent && !rSystem.m_bHasRights) return CDriverChannel(rSystem.Fail(kErrorAccessDenied));
    return CDriverChannel(bPresent ? rSystem.Open(EHandle::kDriver, pszDevice) : rSystem.Fail(kErrorFileNotFound));
}

bool ControlDriver(const CDriverChannel& rChannel, uint32_t uCode, const void* pIn, uint32_t uInSize, void* pOut,
                   uint32_t uOutSize, uint32_t& ruReturned) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    ruReturned = 0;
    if (rSystem.Refuses(nullptr) || !rSystem.Find(rChannel.Get(), EHandle::kDriver)) return false;
    const vxtsim::CControlReply Reply =
        rSystem.m_Server.Control(uCode, simulated::g_CurrentCore(), {static_cast<const uint8_t*>(pIn), uInSize},
                                 {static_cast<uint8_t*>(pOut), pOut ? uOutSize : 0});
    simulated::g_EndIfHung();
    if (!simulated::g_KeepState()) return rSystem.Fail(kErrorAccessDenied);  // done, but the PC would forget it
    ruReturned = Reply.uReturned;
    return Reply.bSuccess;
}

}  // namespace vxt::platform
