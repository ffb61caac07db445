#include "firmware_report.h"

#include <algorithm>

#include "common/text.h"
#include "firmware/cmos_items.h"
#include "firmware/wmi_values.h"

namespace vxtdiag {

using vxt::CQORBIOSHandler;
using vxt::platform::WmiValue;
using vxttools::CDocument;
using vxttools::CFailure;
using vxttools::CJson;
using vxttools::CTextTable;
using vxttools::EExit;
using vxttools::g_Cell;
using vxttools::g_Hex;

namespace {

constexpr int32_t kLongestList = 1 << 16;  ///< a longer one is a broken answer
constexpr uint32_t kClocks[] = {0x01010000, 0x01020000, 0x01030000};
constexpr uint32_t kFirstVoltage = 0x02010000;

const char* _Unit(uint32_t uID) { return std::ranges::count(kClocks, uID) ? "kHz" : uID >= kFirstVoltage ? "mV" : ""; }

std::optional<int32_t> _Integer(CQORBIOSHandler& rHandler, const WmiValue& rPack, const wchar_t* pszName) {
    int32_t nValue = 0;
    return rHandler.ReadInteger(rPack, pszName, nValue) ? std::optional(nValue) : std::nullopt;
}

/// The library's own reading gives 0 for whatever goes wrong: here the status counts, too.
void _ReadValue(CQORBIOSHandler& rHandler, CFirmwareObject& rObject) {
    const WmiValue Id = static_cast<int32_t>(rObject.Record.uID);
    WmiValue Pack;
    if (!rHandler.CallMethod(vxt::kFirmwareClass, L"GetValue", L"id", &Id, L"pack", &Pack)) return;
    rObject.oStatus = _Integer(rHandler, Pack, L"status");
    if (rObject.oStatus == 0) rObject.oValue = _Integer(rHandler, Pack, L"value");
}

void _ReadList(CQORBIOSHandler& rHandler, CFirmwareObject& rObject) {
    int32_t nCount = 0;
    if (!rHandler.GetDValues(rObject.Record.uID, nullptr, nCount) || nCount < 0 || nCount > kLongestList) return;
    std::vector<double> Values(static_cast<size_t>(nCount));
    if (nCount > 0 && !rHandler.GetDValues(rObject.Record.uID, Values.data(), nCount)) return;
    rObject.oValues.emplace();
    for (const double dValue : Values) rObject.oValues->push_back(static_cast<int32_t>(dValue));
}

std::string _Reason(const CFirmwareObject& rObject) {
    if (rObject.oValue) return "";
    if (!rObject.oStatus) return "the firmware gives no answer";
    return *rObject.oStatus == 0 ? "the firmware's answer has no value"
                                 : "the firmware refuses with status " + std::to_string(*rObject.oStatus);
}

template <class TValue> CJson _OrNull(const std::optional<TValue>& rValue) {
    return rValue ? CJson(*rValue) : CJson(nullptr);
}

CJson _ToJson(const CFirmwareObject& rObject) {
    const std::string sId = g_Hex(rObject.Record.uID, 8), sName = vxttools::g_Utf8(rObject.Record.szID.data());
    return {{"id", "/firmware/" + sId},
            {"object_id", sId},
            {"name", sName},
            {"property", rObject.Record.uProperty},
            {"value", _OrNull(rObject.oValue)},
            {"unit", _Unit(rObject.Record.uID)},
            {"status", rObject.oValue ? "ok" : "unavailable"},
            {"reason", rObject.oValue ? CJson(nullptr) : CJson(_Reason(rObject))},
            {"values", _OrNull(rObject.oValues)},
            {"info", _OrNull(rObject.oInfo)}};
}

/// Numbers in a row; of a long list the ends.
std::string _Numbers(const CJson& rNumbers, bool bAll) {
    constexpr size_t kLongList = 8, kShownAtEnds = 3;
    if (rNumbers.is_null()) return "-";
    const bool bShort = !bAll && rNumbers.size() > kLongList;
    std::string sText;
    for (size_t i = 0; i < rNumbers.size(); ++i) {
        if (bShort && i == kShownAtEnds) sText += " ...";
        if (bShort && i >= kShownAtEnds && i + kShownAtEnds < rNumbers.size()) continue;
        sText += (sText.empty() ? "" : " ") + rNumbers[i].dump();
    }
    return sText;
}

void _AddBoard(CDocument& rDocument, const CFirmwareSession& rSession, std::vector<std::string>& rFindings) {
    vxt::CBIOSMiscInfo& rInfo = vxt::g_GetBIOSMiscInfo();
    const bool bInfo = rInfo.Init();
    if (!rSession.HasCommands()) rFindings.push_back("the interface's version and commands cannot be read");
    if (!bInfo) rFindings.push_back("the board's vendor and graphics cannot be read");
    const std::string sVendor = vxttools::g_Printable(rInfo.GetVendorName());  // may be there without the rest
    const uint32_t uVersion = vxt::g_GetQORBIOS().GetVersion();
    CJson Commands = CJson::array();
    std::string sCommands;
    for (const uint32_t uCommand : vxt::g_GetQORBIOS().GetCommandList()) {
        Commands.push_back("0x" + g_Hex(uCommand, 8));
        sCommands += (sCommands.empty() ? "" : " ") + g_Hex(uCommand, 8);
    }
    rDocument["interface_version"] = uVersion ? CJson(uVersion) : CJson(nullptr);
    rDocument["vendor"] = sVendor.empty() ? CJson(nullptr) : CJson(sVendor);
    CJson& rGraphics = rDocument["integrated_graphics"] = {{"present", nullptr}, {"information", nullptr}};
    if (bInfo) rGraphics = {{"present", rInfo.IsIGPPresent()}, {"information", rInfo.GetIGPInfo()}};
    rDocument["commands"] = Commands;
    rDocument.AddTable({"Firmware",
                        {"", ""},
                        {{"  interface version", g_Cell(rDocument["interface_version"])},
                         {"  vendor", g_Cell(rDocument["vendor"])},
                         {"  integrated graphics", g_Cell(rGraphics["present"])},
                         {"  commands", sCommands.empty() ? "-" : sCommands}}});
}

}  // namespace

std::vector<CFirmwareObject> g_ReadFirmwareObjects(const CFirmwareSession& rSession,
                                                   std::vector<std::string>& rFindings) {
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
        _ReadValue(rHandler, rObject);
        _ReadList(rHandler, rObject);
        if (std::vector<uint32_t> Info; rHandler.GetInfo(rRecord.uID, Info)) rObject.oInfo = std::move(Info);
        if (!rObject.oStatus || (rObject.oStatus == 0 && !rObject.oValue))
            rFindings.push_back(sObject + ": " + _Reason(rObject));
        if (!rObject.oValues) rFindings.push_back(sObject + ": its list of values cannot be read");
        if (!rObject.oInfo) rFindings.push_back(sObject + ": its description cannot be read");
    }
    return Objects;
}

std::vector<std::string> g_AddFirmware(CDocument& rDocument, const CFirmwareSession& rSession, const std::string& sId) {
    std::vector<std::string> Findings;
    _AddBoard(rDocument, rSession, Findings);
    const std::string sWanted = vxttools::g_Lower(sId);
    CJson& rObjects = rDocument["objects"] = CJson::array();
    rDocument.SetCsv("objects");
    CTextTable Table{"Objects", {"ID", "Name", ">Property", ">Value", "Unit", "Legal values", "Description words"}};
    for (const CFirmwareObject& rObject : g_ReadFirmwareObjects(rSession, Findings)) {
        CJson Row = _ToJson(rObject);
        if (!sWanted.empty() && Row["object_id"] != sWanted) continue;
        Table.Rows.push_back({Row["object_id"], Row["name"], g_Cell(Row["property"]), g_Cell(Row["value"]), Row["unit"],
                              rObject.oValue ? _Numbers(Row["values"], !sWanted.empty()) : g_Cell(Row["reason"]),
                              _Numbers(Row["info"], !sWanted.empty())});
        rObjects.push_back(std::move(Row));
    }
    if (!sWanted.empty() && rObjects.empty())
        throw CFailure(EExit::kNoSuchDevice, "no firmware object '" + sId + "'; IDs look like 01010000");
    rDocument.AddTable(std::move(Table));
    return Findings;
}

}  // namespace vxtdiag
