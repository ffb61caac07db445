#include "firmware_objects.h"

#include "common/text.h"
#include "firmware/wmi_values.h"

namespace vxtdiag {

using vxt::CQORBIOSHandler;
using vxt::platform::WmiValue;
using vxttools::g_Hex;

namespace {

constexpr int32_t kLongestList = 1 << 16;  ///< a longer one is a broken answer
std::optional<int32_t> g_Integer(CQORBIOSHandler& rHandler, const WmiValue& rPack, const wchar_t* pszName) {
    int32_t nValue = 0;
    return rHandler.ReadInteger(rPack, pszName, nValue) ? std::optional(nValue) : std::nullopt;
}

/// The library's own reading gives 0 for whatever goes wrong: here the status counts, too.
void g_ReadValue(CQORBIOSHandler& rHandler, CFirmwareObject& rObject) {
    const WmiValue Id = static_cast<int32_t>(rObject.Record.uID);
    WmiValue Pack;
    if (!rHandler.CallMethod(vxt::kFirmwareClass, L"GetValue", L"id", &Id, L"pack", &Pack)) return;
    rObject.oStatus = g_Integer(rHandler, Pack, L"status");
    if (rObject.oStatus == 0) rObject.oValue = g_Integer(rHandler, Pack, L"value");
}

void g_ReadList(CQORBIOSHandler& rHandler, CFirmwareObject& rObject) {
    int32_t nCount = 0;
    if (!rHandler.GetDValues(rObject.Record.uID, nullptr, nCount) || nCount < 0 || nCount > kLongestList) return;
    std::vector<double> Values(static_cast<size_t>(nCount));
    if (nCount > 0 && !rHandler.GetDValues(rObject.Record.uID, Values.data(), nCount)) return;
    rObject.oValues.emplace();
    for (const double dValue : Values) rObject.oValues->push_back(static_cast<int32_t>(dValue));
}

}  // namespace

std::string g_Reason(const CFirmwareObject& rObject) {
    if (rObject.oValue) return "";
    if (!rObject.oStatus) return "the firmware gives no answer";
    return *rObject.oStatus == 0 ? "the firmware's answer has no value"
                                 : "the firmware refuses with status " + std::to_string(*rObject.oStatus);
}

std::vector<CFirmwareObject> g_ReadFirmwareObjects(const CFirmwareSession& rSession, CFindings& rFindings) {
    CQORBIOSHandler& rHandler = vxt::g_GetQORBIOSHandler();
    std::vector<CFirmwareObject> Objects;
    vxt::CCapabilityPack Pack;
    if (!rSession.HasObjects() || !rHandler.GetObjectID(Pack)) {
        rFindings.push_back("the firmware's objects cannot be listed");
        return Objects;
    }
    for (const vxt::CFunctionRecord& rRecord : Pack.Records) {
        CFirmwareObject& rObject = Objects.emplace_back(CFirmwareObject{rRecord});
        const std::string sObject = "object " + g_Hex(rRecord.uID, 8);
        g_ReadValue(rHandler, rObject);
        g_ReadList(rHandler, rObject);
        if (std::vector<uint32_t> Info; rHandler.GetInfo(rRecord.uID, Info)) rObject.oInfo = std::move(Info);
        if (!rObject.oStatus || (rObject.oStatus == 0 && !rObject.oValue))
            rFindings.push_back(sObject + ": " + g_Reason(rObject));
        if (!rObject.oValues) rFindings.push_back(sObject + ": its list of values cannot be read");
        if (!rObject.oInfo) rFindings.push_back(sObject + ": its description cannot be read");
    }
    return Objects;
}

}  // namespace vxtdiag
