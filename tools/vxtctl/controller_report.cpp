#include "controller_report.h"

#include <algorithm>

#include "common/facts.h"
#include "common/text.h"
#include "device_types.h"
#include "system_id.h"

namespace vxtctl {

using vxtapi::AttachedDevice;
using vxtapi::CDeviceController;
using vxtapi::ControllerInfo;
using vxttools::CDocument;
using vxttools::CFacts;
using vxttools::CJson;
using vxttools::CTextTable;
using vxttools::g_Utf8;

namespace {

constexpr uint32_t kDeepest = 32;  ///< hubs behind hubs; the standard ends at 5

/// PCI Code and ID Assignment: what a class code of a storage or USB controller stands for.
struct CClassRow {
    uint32_t uCode, uMask;
    const char* pszName;
};
constexpr CClassRow kClasses[] = {
    {0x010601, 0xFFFFFF, "SATA, AHCI"},  {0x010600, 0xFFFF00, "SATA"},        {0x010400, 0xFFFF00, "RAID"},
    {0x010100, 0xFFFF00, "IDE"},         {0x0C0300, 0xFFFFFF, "USB, UHCI"},   {0x0C0310, 0xFFFFFF, "USB, OHCI"},
    {0x0C0320, 0xFFFFFF, "USB 2, EHCI"}, {0x0C0330, 0xFFFFFF, "USB 3, xHCI"},
};

std::string g_ClassText(uint32_t uCode) {
    for (const CClassRow& rRow : kClasses)
        if ((uCode & rRow.uMask) == rRow.uCode) return rRow.pszName;
    return vxttools::g_Hex(uCode, 6) + "h";
}

CFacts g_Facts(CDeviceController& rController, bool bSerials) {
    ControllerInfo Info{};
    (void)rController.GetControllerInfo(&Info);
    const auto Hex = [](uint32_t uValue) { return vxttools::g_Hex(uValue, 4) + "h"; };
    CFacts Facts(bSerials);
    Facts.Add("name", "Name", g_Utf8(rController.GetModel()));
    Facts.Add("vendor", "Maker", g_Utf8(rController.GetVendor()));
    Facts.AddNumber("class_code", "Class", Info.uClassCode, "", g_ClassText(Info.uClassCode));
    Facts.AddNumber("pci_vendor", "PCI vendor", Info.uPciVendor, "", Hex(Info.uPciVendor));
    Facts.AddNumber("pci_device", "PCI device", Info.uPciDevice, "", Hex(Info.uPciDevice));
    Facts.Add("device_id", "Device", g_SystemId(rController.GetDeviceId(), bSerials));
    return Facts;
}

/// What is attached, each behind the one that it is behind.
CJson g_Attached(CDeviceController& rController, const std::string& sPath, bool bSerials) {
    CJson Attached = CJson::Array();
    AttachedDevice Device{};
    (void)rController.GetAttachedCount();  // the first question makes the library look
    for (uint32_t i = 0; rController.GetAttached(i, &Device); ++i) {
        const std::string sId = g_SystemId(Device.szId, bSerials);
        Attached.Push({{"id", sPath + "/attached/" + std::to_string(i)},
                       {"number", i},
                       {"depth", std::min(Device.uDepth, kDeepest)},
                       {"name", g_Utf8(Device.szName)},
                       {"device_id", sId.empty() ? CJson() : CJson(sId)}});
    }
    return Attached;
}

}  // namespace

void g_AddControllers(CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings&, bool bSerials) {
    CJson& rControllers = rDocument["controllers"] = CJson::Array();
    for (const vxtapi::eDeviceType eType : {vxtapi::kDeviceSata, vxtapi::kDeviceIde, vxtapi::kDeviceUsb}) {
        for (const CInventoryEntry& rEntry : rLibrary.Devices(eType)) {
            auto& rController = *static_cast<CDeviceController*>(rEntry.pDevice);
            const std::string sPath = g_DevicePath(rEntry.eType, rEntry.uIndex);
            const CFacts Facts = g_Facts(rController, bSerials);
            CJson Controller{{"id", sPath}, {"index", rEntry.uIndex}};
            Facts.AddTo(Controller);
            Controller["attached"] = g_Attached(rController, sPath, bSerials);
            rDocument.AddTable(Facts.Table(sPath.substr(1)));
            CTextTable Tree{"Attached to " + sPath.substr(1), {"Device", "~Id"}, {}, true};
            for (const CJson& rDevice : Controller["attached"].Items()) {
                const auto uDepth = static_cast<size_t>(*rDevice["depth"].Number());
                Tree.Rows.push_back(
                    {std::string(2 * uDepth, ' ') + rDevice["name"].Text(), vxttools::g_Cell(rDevice["device_id"])});
            }
            if (!Tree.Rows.empty()) rDocument.AddTable(std::move(Tree));
            rControllers.Push(std::move(Controller));
        }
    }
}

}  // namespace vxtctl
