#include "platform/drive.h"

#include <algorithm>
#include <string_view>

#include "platform/simulated/simulated_system.h"
#include "platform/text.h"
#include "sim/drive_answers.h"

namespace vxt::platform {

using simulated::CSimulatedSystem;
using simulated::CSystemSide;
using simulated::g_GetSystem;
using EHandle = CSimulatedSystem::EHandle;
using vxtsim::CPluggedDevice;

namespace {

constexpr uint32_t kErrorNotReady = 21;        // ERROR_NOT_READY: the drive is gone
constexpr uint32_t kErrorDeviceFailed = 1117;  // ERROR_IO_DEVICE: it refuses the command
constexpr std::wstring_view kDeviceNamespace = L"\\\\.\\";
constexpr uint8_t kIdentifyDevice = 0xEC, kIdentifyPacketDevice = 0xA1;

struct COpenDrive {
    std::string sName;
    EDriveAccess eAccess;
};

const CPluggedDevice* g_Find(const std::string& sName) {
    const vxtsim::CSimMachine& rMachine = simulated::g_GetMachine();
    return vxtsim::g_FindDrive(rMachine.Description().Devices, sName, rMachine.Uptime());
}

/// The drive behind a handle that was opened so at least; null, and the reason, where it is not.
const CPluggedDevice* g_Opened(const CDrive& rDrive, EDriveAccess eNeeded) {
    const auto pOpen = g_GetSystem().State<COpenDrive>(rDrive.Get(), EHandle::kDrive);
    if (!pOpen) return nullptr;
    const bool bMay = eNeeded == EDriveAccess::kAsk || pOpen->eAccess == EDriveAccess::kReadWrite;
    const CPluggedDevice* const pDevice = bMay ? g_Find(pOpen->sName) : nullptr;
    if (!pDevice) g_GetSystem().Fail(bMay ? kErrorNotReady : kErrorAccessDenied);
    return pDevice;
}

}  // namespace

void CloseDrive(uintptr_t uHandle) { g_GetSystem().Close(uHandle); }

CDrive OpenDrive(const wchar_t* pszPath, EDriveAccess eAccess) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses("OpenDrive")) return {};
    std::wstring_view sPath = pszPath;
    if (!sPath.starts_with(kDeviceNamespace)) return CDrive(rSystem.Fail(kErrorPathNotFound));
    sPath.remove_prefix(kDeviceNamespace.size());
    std::string sName = NarrowText(sPath);
    if (!g_Find(sName)) return CDrive(rSystem.Fail(kErrorFileNotFound));
    if (eAccess == EDriveAccess::kReadWrite && !rSystem.m_bHasRights) return CDrive(rSystem.Fail(kErrorAccessDenied));
    auto pOpen = std::make_shared<COpenDrive>(COpenDrive{std::move(sName), eAccess});
    return CDrive(rSystem.Open(EHandle::kDrive, pszPath, std::move(pOpen)));
}

bool IdentifyDrive(const CDrive& rDrive, bool bPacketDevice, std::span<uint8_t, kIdentifyBytes> Data) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("IdentifyDrive")) return false;
    const CPluggedDevice* const pDevice = g_Opened(rDrive, EDriveAccess::kReadWrite);
    if (!pDevice) return false;
    const auto Answer = vxtsim::g_IdentifyAnswer(*pDevice, bPacketDevice ? kIdentifyPacketDevice : kIdentifyDevice);
    if (Answer.size() < Data.size()) return g_GetSystem().Fail(kErrorDeviceFailed) != 0;
    std::ranges::copy(Answer.first(Data.size()), Data.begin());
    return true;
}

bool DescribeDrive(const CDrive& rDrive, std::span<uint8_t> Data, uint32_t& ruSize) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("DescribeDrive")) return false;
    const CPluggedDevice* const pDevice = g_Opened(rDrive, EDriveAccess::kAsk);
    if (!pDevice) return false;
    const std::vector<uint8_t> Answer = vxtsim::g_StorageDescriptor(*pDevice);
    ruSize = static_cast<uint32_t>(std::min(Answer.size(), Data.size()));
    std::copy_n(Answer.begin(), ruSize, Data.begin());
    return true;
}

}  // namespace vxt::platform
