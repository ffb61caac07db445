#include "device_report.h"

#include <algorithm>

#include "common/exit_code.h"
#include "common/text.h"
#include "device_types.h"

namespace vxtctl {

using vxttools::CDocument;
using vxttools::CFailure;
using vxttools::CJson;
using vxttools::EExit;
using vxttools::g_Cell;
using vxttools::g_Utf8;

std::string g_DevicePath(vxtapi::eDeviceType eType, uint32_t uIndex) {
    const auto pType = std::ranges::find(kDeviceTypes, eType, &CDeviceTypeName::eType);
    return "/" + std::string(pType->pszWord) + "/" + std::to_string(uIndex);
}

CDeviceSelector::CDeviceSelector(const std::string& sText) : m_sText(sText) {
    const size_t uColon = sText.find(':');
    const std::string sWord = sText.substr(0, uColon);
    const auto pType = std::ranges::find(kDeviceTypes, sWord, &CDeviceTypeName::pszWord);
    if (pType == std::end(kDeviceTypes)) {
        std::string sWords;
        for (const CDeviceTypeName& rType : kDeviceTypes)
            sWords += std::string(sWords.empty() ? "" : ", ") + rType.pszWord;
        throw CFailure(EExit::kNoSuchDevice, "no device type '" + sWord + "'; there are: " + sWords);
    }
    m_eType = pType->eType;
    if (uColon == std::string::npos) return;
    m_oIndex = vxttools::g_ParseUnsigned(std::string_view(sText).substr(uColon + 1));
    if (!m_oIndex) throw CFailure(EExit::kUsage, "'" + sText + "': expected TYPE:INDEX with a number for INDEX");
}

std::vector<CInventoryEntry> g_SelectDevices(const CHostLibrary& rLibrary, const CDeviceSelector& rSelector) {
    std::vector<CInventoryEntry> Entries = rLibrary.Devices(rSelector.m_eType);
    std::erase_if(Entries, [&](const CInventoryEntry& rEntry) {
        return rSelector.m_oIndex.value_or(rEntry.uIndex) != rEntry.uIndex;
    });
    if (Entries.empty()) throw CFailure(EExit::kNoSuchDevice, "this machine has no device '" + rSelector.m_sText + "'");
    return Entries;
}

void g_AddDevices(CDocument& rDocument, const std::vector<CInventoryEntry>& rEntries) {
    CJson& rDevices = rDocument["devices"] = CJson::array();
    for (const auto& [eType, uIndex, pDevice] : rEntries)
        rDevices.push_back({{"id", g_DevicePath(eType, uIndex)},
                            {"type", static_cast<uint32_t>(eType)},
                            {"type_name", g_Utf8(pDevice->GetTypeName())},
                            {"index", uIndex},
                            {"name", g_Utf8(pDevice->GetName())},
                            {"model", g_Utf8(pDevice->GetModel())},
                            {"description", g_Utf8(pDevice->GetDescription())},
                            {"vendor", g_Utf8(pDevice->GetVendor())},
                            {"version", pDevice->GetVersion()}});
}

void g_AddInventoryTable(CDocument& rDocument) {
    vxttools::CTextTable Table{"Devices", {"Device", "Name", "Model", "Description", "Vendor", ">Version"}};
    for (const CJson& rDevice : std::as_const(rDocument)["devices"]) {
        const auto Unless = [&](const char* pszKey, const char* pszOther) {
            return rDevice.at(pszKey) == rDevice.at(pszOther) ? std::string() : g_Cell(rDevice.at(pszKey));
        };
        Table.Rows.push_back({g_Cell(rDevice.at("id")).substr(1), g_Cell(rDevice.at("name")), Unless("model", "name"),
                              Unless("description", "model"), g_Cell(rDevice.at("vendor")),
                              g_Cell(rDevice.at("version"))});
    }
    rDocument.AddTable(std::move(Table));
}

void g_AddDeviceTables(CDocument& rDocument) {
    for (const CJson& rDevice : std::as_const(rDocument)["devices"]) {
        vxttools::CTextTable Table{g_Cell(rDevice.at("id")), {"", ""}};
        for (const auto& [sKey, rValue] : rDevice.items())
            if (sKey != "id") Table.Rows.push_back({"  " + sKey, g_Cell(rValue)});
        rDocument.AddTable(std::move(Table));
    }
}

}  // namespace vxtctl
