#include "monitor_report.h"

#include <algorithm>
#include <cmath>

#include "common/facts.h"
#include "common/text.h"
#include "device_types.h"
#include "system_id.h"
#include "told.h"

namespace vxtctl {

using vxtapi::CMonitor;
using vxtapi::MonitorInfo;
using vxtapi::MonitorMode;
using vxttools::CDocument;
using vxttools::CFacts;
using vxttools::CJson;
using vxttools::CTextTable;
using vxttools::g_Cell;
using vxttools::g_Trimmed;
using vxttools::g_Utf8;

namespace {

/// By eEdidVerdict.
struct CVerdictRow {
    const char* pszWord;
    const char* pszText;
    bool bIsFinding;
};
constexpr CVerdictRow kVerdicts[] = {
    {"right", "the checksums are right", false},
    {"wrong_extension_checksum", "an extension's checksum is WRONG", true},
    {"cut", "extensions are missing", true},
    {"wrong_checksum", "the checksum is WRONG", true},
    {"other_version", "of a version that is not decoded", false},
    {"no_header", "without its header", true},
    {"blank", "all bytes are the same", true},
    {"short", "too short", true},
    {"none", "the system has none", false},
};

CJson g_Modes(CMonitor& rMonitor, const std::string& sPath) {
    CJson Modes = CJson::Array();
    MonitorMode Mode{};
    for (uint32_t i = 0; i < rMonitor.GetModeCount() && rMonitor.GetMode(i, &Mode); ++i)
        Modes.Push({{"id", sPath + "/mode/" + std::to_string(i)},
                    {"number", i},
                    {"width", Mode.uWidth},
                    {"height", Mode.uHeight},
                    {"refresh", vxttools::g_ToJson(std::optional(Mode.dRefresh))},
                    {"pixel_clock", vxttools::g_ToJson(std::optional(Mode.uPixelClock / 1000.0))},
                    {"interlaced", Mode.bInterlaced != 0},
                    {"preferred", Mode.bPreferred != 0},
                    {"native", Mode.bNative != 0}});
    return Modes;
}

CTextTable g_ModeTable(const CJson& rModes, const std::string& sDevice) {
    CTextTable Table{"Modes of " + sDevice, {">Pixels", ">Refresh", ">Pixel clock", "Remarks"}};
    for (const CJson& rMode : rModes.Items()) {
        std::string sRemarks;
        for (const char* const pszKey : {"interlaced", "preferred", "native"})
            if (rMode[pszKey].Flag()) sRemarks += std::string(sRemarks.empty() ? "" : ", ") + pszKey;
        Table.Rows.push_back({g_Cell(rMode["width"]) + " x " + g_Cell(rMode["height"]),
                              g_Trimmed(*rMode["refresh"].Number(), 2) + " Hz",
                              g_Trimmed(*rMode["pixel_clock"].Number(), 2) + " MHz", sRemarks});
    }
    return Table;
}

/// Inches, by which monitors are sold; 0 where the size is not told.
double g_Diagonal(const MonitorInfo& rInfo) {
    constexpr double kInch = 25.4;  // mm
    if (!rInfo.uWidthMm || !rInfo.uHeightMm) return 0;
    return std::round(std::hypot(rInfo.uWidthMm, rInfo.uHeightMm) / kInch * 10) / 10;
}

CFacts g_Facts(CMonitor& rMonitor, const MonitorInfo& rInfo, bool bSerials) {
    const bool bTold = rInfo.uVersion != 0;  // behind a bad verdict there is none
    CFacts Facts(bSerials);
    Facts.Add("model", "Model", g_Utf8(rMonitor.GetModel()));
    Facts.Add("vendor", "Maker", g_Utf8(rMonitor.GetVendor()));
    Facts.Add("product", "Product", bTold ? CJson(rInfo.uProduct) : CJson(), "",
              vxttools::g_Hex(rInfo.uProduct, 4) + "h");
    Facts.AddSerial("serial_number", "Serial number", rInfo.uSerial ? CJson(rInfo.uSerial) : CJson());
    Facts.AddSerial("serial_text", "Serial number, text", g_Utf8(rMonitor.GetSerialText()));
    Facts.AddNumber("year", rInfo.bModelYear ? "Year of the model" : "Year of making", rInfo.uYear);
    Facts.AddNumber("week", "Week of making", rInfo.uWeek);
    Facts.AddNumber("width", "Width", rInfo.uWidthMm, "mm");
    Facts.AddNumber("height", "Height", rInfo.uHeightMm, "mm");
    Facts.AddNumber("diagonal", "Diagonal", g_Diagonal(rInfo), "inch");
    Facts.AddNumber("aspect_ratio", "Width by height", rInfo.dAspectRatio);
    Facts.Add("digital", "Digital", bTold ? CJson(rInfo.bDigital != 0) : CJson());
    Facts.Add("interface", "Interface", g_Utf8(rMonitor.GetInterface()));
    Facts.AddNumber("bits_per_colour", "Bits per colour", rInfo.uBitsPerColour, "bits");
    Facts.Add("audio", "Audio", bTold ? g_Told(rInfo.bBasicAudio) : CJson());
    Facts.AddNumber("lowest_refresh", "Lowest refresh rate", rInfo.uLowestRefresh, "Hz");
    Facts.AddNumber("highest_refresh", "Highest refresh rate", rInfo.uHighestRefresh, "Hz");
    Facts.AddNumber("lowest_lines", "Lowest line rate", rInfo.uLowestLines, "kHz");
    Facts.AddNumber("highest_lines", "Highest line rate", rInfo.uHighestLines, "kHz");
    Facts.AddNumber("highest_pixel_clock", "Highest pixel clock", rInfo.uHighestPixelClock, "MHz");
    Facts.Add("edid_version", "EDID version",
              bTold ? std::to_string(rInfo.uVersion) + "." + std::to_string(rInfo.uRevision) : "");
    Facts.Add("device_id", "Device", g_SystemId(rMonitor.GetDeviceId(), bSerials));
    return Facts;
}

}  // namespace

void g_AddMonitors(CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings, bool bSerials) {
    CJson& rMonitors = rDocument["monitors"] = CJson::Array();
    for (const CInventoryEntry& rEntry : rLibrary.Devices(vxtapi::kDeviceMonitor)) {
        auto& rMonitor = *static_cast<CMonitor*>(rEntry.pDevice);
        const std::string sPath = g_DevicePath(rEntry.eType, rEntry.uIndex);
        MonitorInfo Info{};
        if (!rMonitor.GetMonitorInfo(&Info)) Info.uVerdict = vxtapi::kEdidNone;
        const CVerdictRow& rVerdict = kVerdicts[std::min<size_t>(Info.uVerdict, std::size(kVerdicts) - 1)];
        if (rVerdict.bIsFinding) rFindings.push_back(sPath + ": its EDID: " + rVerdict.pszText);

        const CFacts Facts = g_Facts(rMonitor, Info, bSerials);
        CJson Monitor{{"id", sPath}, {"index", rEntry.uIndex}, {"verdict", rVerdict.pszWord}};
        Facts.AddTo(Monitor);
        CTextTable Table = Facts.Table(sPath.substr(1));
        Table.Rows.insert(Table.Rows.begin(), {"  EDID", rVerdict.pszText});
        rDocument.AddTable(std::move(Table));
        Monitor["modes"] = g_Modes(rMonitor, sPath);
        if (!Monitor["modes"].Items().empty()) rDocument.AddTable(g_ModeTable(Monitor["modes"], sPath.substr(1)));
        rMonitors.Push(std::move(Monitor));
    }
}

}  // namespace vxtctl
