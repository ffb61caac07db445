#include "input_report.h"

#include "common/facts.h"
#include "common/text.h"
#include "device_types.h"
#include "system_id.h"

namespace vxtctl {

using vxttools::CFacts;
using vxttools::CJson;
using vxttools::g_Utf8;

void g_AddInputDevices(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings&,
                       bool bSerials) {
    CJson& rInputs = rDocument["input_devices"] = CJson::Array();
    for (const vxtapi::eDeviceType eType : {vxtapi::kDeviceKeyboard, vxtapi::kDeviceMouse}) {
        for (const CInventoryEntry& rEntry : rLibrary.Devices(eType)) {
            auto& rInput = *static_cast<vxtapi::CInputDevice*>(rEntry.pDevice);
            const std::string sPath = g_DevicePath(rEntry.eType, rEntry.uIndex);
            CFacts Facts(bSerials);
            Facts.Add("name", "Name", g_Utf8(rInput.GetModel()));
            Facts.Add("vendor", "Maker", g_Utf8(rInput.GetVendor()));
            Facts.Add("connection", "Connection", g_Utf8(rInput.GetConnection()));
            Facts.Add("device_id", "Device", g_SystemId(rInput.GetDeviceId(), bSerials));
            CJson Input{{"id", sPath}, {"index", rEntry.uIndex}};
            Facts.AddTo(Input);
            rInputs.Push(std::move(Input));
            rDocument.AddTable(Facts.Table(sPath.substr(1)));
        }
    }
}

}  // namespace vxtctl
