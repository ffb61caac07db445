#include "devices/peripherals/tree_device.h"

#include "api/log/log_checks.h"
#include "platform/error_code.h"

namespace vxt {

namespace {

template <size_t N>
bool g_ReadText(const platform::CDeviceList& rList, uint32_t uIndex, platform::EDeviceText eText, CWideText<N>& rText) {
    std::wstring sText;
    if (!platform::GetDeviceText(rList, uIndex, eText, sText)) return false;
    rText.SetClean(sText);
    return !rText.IsEmpty();
}

}  // namespace

bool g_ReadTreeDevice(const platform::CDeviceList& rList, uint32_t uIndex, CTreeDevice& rDevice) {
    rDevice = {};
    std::wstring sId;
    if (!platform::GetDeviceId(rList, uIndex, sId)) {
        LOG_PROCESS_ERROR(platform::LastError() == platform::kErrorNoMoreItems);
        return false;
    }
    rDevice.Id.SetClean(sId);
    g_ReadTreeName(rList, uIndex, rDevice.Name);
    g_ReadText(rList, uIndex, platform::EDeviceText::kManufacturer, rDevice.Manufacturer);
    return true;
}

void g_ReadTreeName(const platform::CDeviceList& rList, uint32_t uIndex, CWideText<kDeviceNameLength>& rName) {
    if (!g_ReadText(rList, uIndex, platform::EDeviceText::kFriendlyName, rName))
        g_ReadText(rList, uIndex, platform::EDeviceText::kDescription, rName);
}

}  // namespace vxt
