// vxtctl bios: who made the firmware, and when.
#include <algorithm>
#include <chrono>

#include "common/command.h"
#include "common/text.h"
#include "device_types.h"
#include "host_library.h"

namespace vxtctl {

using namespace vxttools;
using vxtapi::CBIOS;

namespace {

struct CTextRow {
    const char* pszKey;
    const char* pszLabel;
    std::string (*pRead)(CBIOS&);
};
constexpr CTextRow kTexts[] = {
    {"manufacturer", "Manufacturer", [](CBIOS& r) { return g_Utf8(r.GetManufacturer()); }},
    {"version", "Version", [](CBIOS& r) { return g_Utf8(r.GetBIOSVersion()); }},
    {"release_date", "Release date", [](CBIOS& r) { return g_Utf8(r.GetReleaseDate()); }},
    {"release_date_iso", "Release date, ISO", nullptr},
    {"serial_number", "Serial number", [](CBIOS& r) { return g_Utf8(r.GetSerialNumber()); }},
    {"description", "Description", [](CBIOS& r) { return g_Utf8(r.GetDescription()); }},
    {"raw_date", "Date in memory", [](CBIOS& r) { return g_Printable(r.GetRawDate() ? r.GetRawDate() : ""); }},
};

/// "2009-12-04" from "20091204000000.000000+000"; empty for whatever is no such text or no day.
std::string g_IsoDate(const std::string& sText) {
    constexpr std::string_view kForm = "dddddddddddddd.dddddd+ddd";  // the CIM date format; a star: not told
    const auto Fits = [](char cForm, char c) {
        const bool bDigit = c >= '0' && c <= '9';
        return cForm == 'd' ? bDigit || c == '*' : cForm == '+' ? c == '+' || c == '-' : c == cForm;
    };
    if (!std::ranges::equal(kForm, sText, Fits)) return "";
    const auto oDate = g_ParseUnsigned(std::string_view(sText).substr(0, 8));
    if (!oDate) return "";
    const std::chrono::year_month_day Day(std::chrono::year(static_cast<int>(*oDate / 10000)),
                                          std::chrono::month(*oDate / 100 % 100), std::chrono::day(*oDate % 100));
    return Day.ok() ? sText.substr(0, 4) + "-" + sText.substr(4, 2) + "-" + sText.substr(6, 2) : "";
}

EExit g_Bios(CTool& rTool) {
    const CHostLibrary Library(rTool.Options());
    const std::vector<CInventoryEntry> Devices = Library.Devices(vxtapi::kDeviceBios);
    if (Devices.empty())
        throw CFailure(EExit::kNoSuchDevice,
                       "this machine does not tell who made its BIOS" + CHostLibrary::FilterHint());
    CDocument Document = rTool.NewDocument();
    CJson& rRows = Document["bios"] = CJson::Array();
    Document.SetCsv("bios");
    for (const CInventoryEntry& rEntry : Devices) {
        CBIOS& rBios = *static_cast<CBIOS*>(rEntry.pDevice);
        const std::string sPath = g_DevicePath(vxtapi::kDeviceBios, rEntry.uIndex);
        CJson Row{{"id", sPath}, {"index", rEntry.uIndex}};
        CTextTable Table{sPath.substr(1), {"", ""}};
        for (const auto& [pszKey, pszLabel, pRead] : kTexts) {
            const std::string sText = pRead ? pRead(rBios) : g_IsoDate(g_Utf8(rBios.GetReleaseDate()));
            Row[pszKey] = sText.empty() ? nullptr : CJson(sText);
            Table.Rows.push_back({"  " + std::string(pszLabel), sText.empty() ? "not told" : sText});
        }
        rRows.Push(std::move(Row));
        Document.AddTable(std::move(Table));
    }
    return Library.Emit(rTool, Document);
}

}  // namespace

extern constexpr CCommand kBios{"bios", "Show who made the BIOS, and when", "  vxtctl bios\n  vxtctl bios --json",
                                g_NewCall<g_Bios>};

}  // namespace vxtctl
