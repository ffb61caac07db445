#include "device_report.h"

#include "common/text.h"
#include "device_types.h"

namespace vxtctl {

using vxttools::CJson;
using vxttools::g_Cell;
using vxttools::g_Utf8;

void g_AddDevices(vxttools::CDocument& rDocument, const std::vector<CInventoryEntry>& rEntries) {
    CJson& rDevices = rDocument["devices"] = CJson::Array();
    for (const auto& [eType, uIndex, pDevice] : rEntries)
        rDevices.Push({{"id", g_DevicePath(eType, uIndex)},
                       {"type", static_cast<uint32_t>(eType)},
                       {"type_name", g_Utf8(pDevice->GetTypeName())},
                       {"index", uIndex},
                       {"name", g_Utf8(pDevice->GetName())},
                       {"model", g_Utf8(pDevice->GetModel())},
                       {"description", g_Utf8(pDevice->GetDescription())},
                       {"vendor", g_Utf8(pDevice->GetVendor())},
                       {"version", pDevice->GetVersion()}});
}

void g_AddInventoryTable(vxttools::CDocument& rDocument) {
    vxttools::CTextTable Table{"Devices", {"Device", "Name", "~Model", "~Description", "~Vendor", "~>Version"}};
    for (const CJson& rDevice : std::as_const(rDocument)["devices"].Items()) {
        const auto Unless = [&](const char* pszKey, const char* pszOther) {
            return rDevice[pszKey] == rDevice[pszOther] ? std::string() : g_Cell(rDevice[pszKey]);
        };
        Table.Rows.push_back({g_Cell(rDevice["id"]).substr(1), g_Cell(rDevice["name"]), Unless("model", "name"),
                              Unless("description", "model"), g_Cell(rDevice["vendor"]), g_Cell(rDevice["version"])});
    }
    rDocument.AddTable(std::move(Table));
}

}  // namespace vxtctl
