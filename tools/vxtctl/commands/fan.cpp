// vxtctl fan: every fan of the south bridge and the Super I/O chip.
#include "common/command.h"
#include "fan_control.h"
#include "hold_records.h"

namespace vxtctl {

using namespace vxttools;

namespace {

struct CModeRow {
    const char* pszName;  ///< in JSON; null: not known
    const char* pszText;
};
/// By EFanMode.
constexpr CModeRow kModes[] = {{nullptr, "not told"}, {"manual", "manual"}, {"automatic", "automatic"}};

/// By what is on disk of the fan: "running", "left_behind", or nothing.
const char* g_HoldOf(const CFan& rFan, CHoldRecords& rRecords) {
    if (!rRecords.Find(rFan.Id())) return nullptr;
    return rRecords.IsBusyElsewhere() ? "running" : "left_behind";
}

/// What the sensor reads, under the fan's own id; no sensor: why.
CQuantity g_Reading(const CFan& rFan, const char* pszKey, const char* pszLabel, const char* pszUnit,
                    const std::optional<CSensor>& rSensor, const char* pszNone) {
    CQuantity Quantity{.sId = {}, .sLabel = {}, .sUnit = pszUnit, .sReason = pszNone};
    if (rSensor) Quantity = g_ReadSensor(*rSensor);
    Quantity.sId = rFan.Id() + "/" + pszKey;
    Quantity.sLabel = pszLabel;
    return Quantity;
}

CJson g_FanToJson(const CFan& rFan, CHoldRecords& rRecords) {
    const CQuantity Speed = g_Reading(rFan, "speed", "Speed", "RPM", rFan.SpeedSensor(), "the chip does not tell it");
    CQuantity Duty = g_Reading(rFan, "duty", "Duty", "%", rFan.DutySensor(), "the chip's fans cannot be set");
    if (rFan.Mode() == EFanMode::kAutomatic) {
        Duty.oValue.reset();
        Duty.bOutOfRange = false, Duty.sReason = "the chip drives the fan itself";
    }
    const char* const pszMode = kModes[static_cast<size_t>(rFan.Mode())].pszName;
    const char* const pszHold = g_HoldOf(rFan, rRecords);
    CQuantity Start = rFan.StartTemperature();
    Start.sId = rFan.Id() + "/start_temperature";
    return {{"id", rFan.Id()},
            {"label", rFan.Label()},
            {"chip", rFan.Chip()},
            {"speed", Speed.ToJson()},
            {"duty", Duty.ToJson()},
            {"mode", pszMode ? CJson(pszMode) : nullptr},
            {"start_temperature", Start.ToJson()},
            {"settable", rFan.IsControlled()},
            {"hold", pszHold ? CJson(pszHold) : nullptr}};
}

void g_AddTable(CDocument& rDocument, const std::vector<CFan>& rFans) {
    CTextTable Table{"Fans", {"Fan", "~Chip", ">RPM", ">Duty, %", "Mode", "~>Starts at, °C"}};
    const std::vector<CJson>& rRows = std::as_const(rDocument)["fans"].Items();
    for (size_t i = 0; i < rFans.size(); ++i)
        Table.Rows.push_back(
            {rFans[i].Name(), rFans[i].Chip(), g_Cell(rRows[i]["speed"]), g_Cell(rRows[i]["duty"]),
             rFans[i].IsControlled() ? kModes[static_cast<size_t>(rFans[i].Mode())].pszText : "not settable",
             g_Cell(rRows[i]["start_temperature"])});
    rDocument.AddTable(std::move(Table));
}

EExit g_Fan(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    const std::vector<CFan> Fans = g_FindFans(Library);
    if (Fans.empty()) throw Library.Absent("fan");
    CHoldRecords Records(Library);
    CDocument Document = rTool.NewDocument();
    CJson& rRows = Document["fans"] = CJson::Array();
    Document.SetCsv("fans");
    for (const CFan& rFan : Fans) rRows.Push(g_FanToJson(rFan, Records));
    g_AddTable(Document, Fans);
    for (const CJson& rRow : std::as_const(Document)["fans"].Items())
        if (rRow["hold"] == CJson("left_behind")) rTool.Output().Note(Records.LeftBehind(rRow["id"].Text()));
    return Library.Emit(rTool, Document);
}

}  // namespace

extern constexpr CCommand kFan{"fan", "Show every fan: speed, duty, what drives it",
                               "  vxtctl fan\n  vxtctl fan --json", g_NewCall<g_Fan>};

}  // namespace vxtctl
