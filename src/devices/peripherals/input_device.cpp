#include "devices/peripherals/input_device.h"

#include <iterator>

#include "api/log/log_checks.h"
#include "devices/framework/device_list_file.h"

namespace vxt {

namespace {

/// By whom the tree's entry was made, which is how its ID begins.
struct CConnection {
    const wchar_t *pszBeginning, *pszText;
};
constexpr CConnection kConnections[] = {
    {L"ACPI\\", L"PS/2"},  // serial mice are SERENUM's
    {L"USB\\", L"USB"},
    {L"HID\\VID_", L"USB"},
    {L"HID\\{00001124-", L"Bluetooth"},  // the service's number: human interface devices
    {L"HID\\{00001812-", L"Bluetooth"},  // likewise, low energy
    {L"BTH", L"Bluetooth"},
};

}  // namespace

bool CSystemInputDevice::Init(uint32_t uIndex) {
    const platform::CDeviceList hList = platform::OpenDeviceList(m_rKind.eSetupClass);
    LOG_PROCESS_ERROR(hList);
    if (!g_ReadTreeDevice(hList, uIndex, m_Device)) return false;
    m_uIndex = uIndex;
    const std::wstring_view sId = m_Device.Id.View();
    const auto pRow = std::ranges::find_if(
        kConnections, [&](const CConnection& rRow) { return g_BeginsWith(sId, rRow.pszBeginning); });
    m_Connection.Set(pRow == std::end(kConnections) ? sId.substr(0, sId.find(L'\\')) : pRow->pszText);
    return true;
}

}  // namespace vxt
