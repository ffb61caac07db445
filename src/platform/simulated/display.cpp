#include "platform/display.h"

#include <algorithm>

#include "platform/simulated/simulated_system.h"
#include "sim/models/display_driver.h"

namespace vxt::platform {

using simulated::CSimulatedSystem;
using simulated::CSystemSide;
using simulated::g_GetMachine;
using simulated::g_GetSystem;
using vxtsim::CDisplayDriver;
using EHandle = CSimulatedSystem::EHandle;

namespace {

std::wstring g_DeviceName(uint32_t uOutput) { return L"\\\\.\\DISPLAY" + std::to_wstring(uOutput + 1); }

}  // namespace

bool GetDisplayName(uint32_t uIndex, CDisplayName& rName) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("GetDisplayName")) return false;
    const vxtsim::CMachineDescription& rMachine = g_GetMachine().Description();
    const auto ouAdapter = CDisplayDriver::AdapterOf(rMachine, uIndex);
    if (!ouAdapter) return g_GetSystem().Fail(kErrorInvalidHandle);
    const vxtsim::CDisplayAdapter& rAdapter = rMachine.Displays.at(*ouAdapter);
    rName = {g_DeviceName(uIndex), std::wstring(rAdapter.sName.begin(), rAdapter.sName.end()),
             std::wstring(rAdapter.sId.begin(), rAdapter.sId.end())};
    return true;
}

void CloseDisplay(uintptr_t uHandle) { g_GetSystem().Close(uHandle); }

CDisplay OpenDisplay(const wchar_t* pszDevice) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses("OpenDisplay")) return {};
    const vxtsim::CMachineDescription& rMachine = g_GetMachine().Description();
    for (uint32_t uOutput = 0; CDisplayDriver::AdapterOf(rMachine, uOutput); ++uOutput)
        if (g_DeviceName(uOutput) == pszDevice)
            return CDisplay(rSystem.Open(EHandle::kDisplay, pszDevice, std::make_shared<uint32_t>(uOutput)));
    return CDisplay(rSystem.Fail(kErrorFileNotFound));
}

int32_t EscapeDisplay(const CDisplay& rDisplay, int32_t nEscape, std::span<const std::byte> In,
                      std::span<std::byte> Out) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    constexpr int32_t kFailed = -1;
    const auto puOutput = rSystem.State<uint32_t>(rDisplay.Get(), EHandle::kDisplay);
    auto* const pDriver = g_GetMachine().Model<CDisplayDriver>();
    if (rSystem.Refuses("EscapeDisplay") || !puOutput) return kFailed;
    if (!pDriver) return 0;
    std::vector<uint8_t> InBytes(In.size()), OutBytes(Out.size());
    std::ranges::transform(In, InBytes.begin(), [](std::byte Byte) { return std::to_integer<uint8_t>(Byte); });
    const int32_t nAnswer = pDriver->Escape(*puOutput, nEscape, InBytes, OutBytes);
    if (nAnswer > 0) std::ranges::transform(OutBytes, Out.begin(), [](uint8_t ucByte) { return std::byte{ucByte}; });
    return simulated::g_KeepState() ? nAnswer : kFailed;
}

}  // namespace vxt::platform
