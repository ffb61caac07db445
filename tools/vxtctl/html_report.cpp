#include "html_report.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "common/console.h"
#include "common/exit_code.h"
#include "common/html_page.h"
#include "common/text.h"
#include "cpu_report.h"
#include "device_kinds.h"
#include "device_report.h"
#include "firmware_settings.h"
#include "link_settings.h"
#include "memory_settings.h"
#include "north_bridge_report.h"
#include "recording_chart.h"
#include "sensor_report.h"
#include "serial_mask.h"

namespace vxtctl {

using vxttools::CDocument;
using vxttools::CFailure;
using vxttools::CFindings;
using vxttools::CHtmlPage;
using vxttools::EExit;

const char* const kReportMark = "<meta name=\"generator\" content=\"vxtctl report ";

namespace {

constexpr const char* kGenerator = "vxtctl report " VXT_VERSION;

void g_AddInventory(CDocument& rDocument, const CHostLibrary& rLibrary, CFindings&) {
    g_AddDevices(rDocument, rLibrary.Devices());
    g_AddInventoryTable(rDocument);
}

void g_AddProcessor(CDocument& rDocument, const CHostLibrary& rLibrary, CFindings& rFindings) {
    g_AddCores(rDocument, g_SelectCores(rLibrary, std::nullopt), rFindings);
    g_AddCoreOverview(rDocument);
    g_AddReasonTables(rDocument);
}

void g_AddSensorReadings(CDocument& rDocument, const CHostLibrary& rLibrary, CFindings& rFindings) {
    CSensorSamples Samples(g_FindSensors(rLibrary));
    if (Samples.Sensors().empty()) throw rLibrary.Absent("sensor");
    Samples.Take();
    rDocument.AddTable(g_SensorTable(Samples)).sTitle = "Sensors at " + vxttools::g_IsoTime(Samples.Time());
    for (std::string& rsFinding : Samples.Findings()) rFindings.push_back(std::move(rsFinding));
}

struct CSectionRow {
    const char* pszId;
    const char* pszTitle;
    void (*pAdd)(CDocument&, const CHostLibrary&, CFindings&);
};
/// In front of the kinds of devices.
constexpr CSectionRow kSections[] = {
    {"inventory", "Inventory", g_AddInventory},
    {"processor", "Processor", g_AddProcessor},
    {"sensors", "Sensors", g_AddSensorReadings},
    {"clocks", "Clocks", g_AddClocks},
    {"voltages", "Voltages", g_AddVoltages},
    {"memory", "Memory controller", g_AddMemory},
    {"links", "Links", g_AddLinks},
    {"north-bridge", "North bridge", g_AddNorthBridge},
};

/// A section with its tables, or with why there is none.
template <class TAdd>
void g_AddSection(CHtmlPage& rPage, const CSerialMask& rMask, const std::string& sId, const char* pszTitle,
                  CFindings& rFindings, TAdd Add) {
    if (vxttools::g_WasInterrupted()) throw CFailure(EExit::kInterrupted, "interrupted");
    rPage.Section(sId, pszTitle);
    CDocument Document("", "");
    try {
        Add(Document);
        for (const vxttools::CTextTable& rTable : Document.Tables()) rPage.Table(rMask.Without(rTable));
        if (Document.Tables().empty()) rPage.Paragraph("There is none that the library knows.", "soft");
    } catch (const CFailure& rFailure) {
        if (rFailure.Exit() != EExit::kNoSuchDevice && rFailure.Exit() != EExit::kFailed) throw;
        if (rFailure.Exit() == EExit::kFailed) rFindings.emplace_back(rFailure.what());
        rPage.Paragraph(rMask.Without(rFailure.what()), "soft");
    }
}

void g_AddRecording(CHtmlPage& rPage, const CHostLibrary& rLibrary, const CRecording& rRecording,
                    const CSerialMask& rMask) {
    const std::vector<CSensor> Sensors = g_FindSensors(rLibrary);
    const auto Find = [&](const std::string& sId) { return std::ranges::find(Sensors, sId, &CSensor::sId); };
    const auto lStrange = std::ranges::count_if(rRecording.Sensors,
                                                [&](const CRecordedSensor& r) { return Find(r.sId) == Sensors.end(); });
    const auto Label = [&](const std::string& sId) {
        const auto it = Find(sId);
        return lStrange ? sId.substr(1) : rMask.Without(it->sDevice + ": " + it->sLabel);
    };
    const double dEnd = rRecording.Seconds.back();
    rPage.Section("recording", "Recording");
    if (lStrange)
        rPage.Paragraph(std::to_string(lStrange) + " of " + std::to_string(rRecording.Sensors.size()) +
                        " sensors are not of this PC: the recording is probably another one's. All have their ids as "
                        "names.");
    rPage.Paragraph(rRecording.sName + ": " + std::to_string(rRecording.Seconds.size()) + " samples of " +
                    std::to_string(rRecording.Sensors.size()) + " sensors from " +
                    vxttools::g_IsoTime(rRecording.Begin) + " to " +
                    vxttools::g_IsoTime(rRecording.Begin + std::chrono::milliseconds(std::llround(dEnd * 1000))) +
                    ". Where a line is broken there was no reading." +
                    (rRecording.bTorn ? " The file's last line was incomplete and is left out." : ""));
    rPage.Raw(g_RecordingCharts(rRecording, Label));
}

std::string g_Title(const CHostLibrary& rLibrary) {
    const std::vector<CInventoryEntry> Cores = rLibrary.Devices(vxtapi::kDeviceCpu);
    const std::string sModel = Cores.empty() ? "" : vxttools::g_Utf8(Cores.front().pDevice->GetModel());
    return "Hardware report" + (sModel.empty() ? "" : ": " + sModel);
}

/// What stands above the sections, findings first: they are known last.
void g_AddTop(CHtmlPage& rPage, const CHtmlReport& rReport, const CFindings& rFindings) {
    rPage.Table(
        {"This report",
         {"", ""},
         {{"Made at", vxttools::g_IsoTime(std::chrono::system_clock::now())},
          {"Made by", "vxtctl " VXT_VERSION ", library " + rReport.sLibrary},
          {"PC", rReport.sMachine},
          {"Serial numbers", rReport.bSerials
                                 ? "shown: think of that before you give the page away"
                                 : "left out, of modules, drives, monitors, board and BIOS (--serials shows them)"}}});
    rPage.Section("findings", "What looks wrong");
    if (rFindings.empty())
        rPage.Paragraph("Nothing: all that belongs to this report could be read, and no limit is exceeded.");
    else
        rPage.List(rFindings, "findings");
}

}  // namespace

std::string g_HtmlReport(const CHostLibrary& rLibrary, const CHtmlReport& rReport, CFindings& rFindings) {
    const CSerialMask Mask = rReport.bSerials ? CSerialMask() : CSerialMask(rLibrary);
    const CHtmlPage Empty(Mask.Without(g_Title(rLibrary)), kGenerator, rReport.pRecording ? kChartStyle : "");
    CHtmlPage Sections = Empty;
    for (const CSectionRow& rRow : kSections)
        g_AddSection(Sections, Mask, rRow.pszId, rRow.pszTitle, rFindings,
                     [&](CDocument& rDocument) { rRow.pAdd(rDocument, rLibrary, rFindings); });
    for (const CDeviceKind& rKind : kDeviceKinds)
        g_AddSection(Sections, Mask, rKind.pszKey, rKind.pszTitle, rFindings,
                     [&](CDocument& rDocument) { rKind.pAdd(rDocument, rLibrary, rFindings, rReport.bSerials); });
    if (rReport.pRecording) g_AddRecording(Sections, rLibrary, *rReport.pRecording, Mask);
    CHtmlPage Page = Empty;
    CFindings All = rFindings;
    for (std::string& rsFinding : rLibrary.Findings()) All.push_back(std::move(rsFinding));  // now: all has been read
    for (std::string& rsFinding : All) rsFinding = Mask.Without(std::move(rsFinding));
    g_AddTop(Page, rReport, All);
    Page.Append(Sections);
    return Page.Text();
}

}  // namespace vxtctl
