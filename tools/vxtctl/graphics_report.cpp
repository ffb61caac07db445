#include "graphics_report.h"

#include "common/facts.h"
#include "common/text.h"
#include "device_types.h"

namespace vxtctl {

using vxttools::CFacts;
using vxttools::CJson;

void g_AddGraphics(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings,
                   bool bSerials) {
    CJson& rGraphics = rDocument["graphics"] = CJson::Array();
    for (const CInventoryEntry& rEntry : rLibrary.Devices(vxtapi::kDeviceGpu)) {
        auto& rProcessor = *static_cast<vxtapi::CGraphicsProcessor*>(rEntry.pDevice);
        const std::string sPath = g_DevicePath(rEntry.eType, rEntry.uIndex);
        vxtapi::EngineClockLimits Limits{};
        if (!rProcessor.GetEngineClockLimits(&Limits)) Limits = {};
        vxttools::CQuantity Clock{sPath + "/engine_clock", "Engine clock", "MHz"};
        vxttools::g_TakeReading(Clock, rProcessor.GetEngineClock(), vxttools::kPlausibleClock, nullptr, rFindings);
        if (Limits.dHighest > 0) Clock.Limits = {Limits.dLowest, Limits.dHighest};
        CFacts Facts(bSerials);
        Facts.Add("name", "Name", vxttools::g_Utf8(rProcessor.GetModel()));
        Facts.Add("integrated", "Part of the chipset", rProcessor.IsIntegrated());
        CJson Processor{{"id", sPath}, {"index", rEntry.uIndex}};
        Facts.AddTo(Processor);
        Processor["engine_clock"] = Clock.ToJson();
        Processor["step"] = Limits.dStep > 0 ? CJson(Limits.dStep) : CJson();
        vxttools::CTextTable Table = Facts.Table(sPath.substr(1));
        const auto Text = [](double dClock) { return vxttools::g_Trimmed(dClock, 1); };
        Table.Rows.push_back({"  Engine clock", Clock.oValue ? Text(*Clock.oValue) + " MHz" : Clock.sReason});
        if (Clock.Limits.oMaximum)
            Table.Rows.push_back({"  Its limits", Text(Limits.dLowest) + " to " + Text(Limits.dHighest) + " MHz"});
        rDocument.AddTable(std::move(Table));
        rGraphics.Push(std::move(Processor));
    }
}

}  // namespace vxtctl
