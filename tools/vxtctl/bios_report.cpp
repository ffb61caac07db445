#include "bios_report.h"

#include <algorithm>
#include <chrono>

#include "common/exit_code.h"
#include "common/text.h"
#include "device_types.h"

namespace vxtctl {

using vxtapi::CBIOS;
using vxttools::CJson;
using vxttools::g_Utf8;

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
    {"raw_date", "Date in memory",
     [](CBIOS& r) { return vxttools::g_Printable(r.GetRawDate() ? r.GetRawDate() : ""); }},
};

/// "2009-12-04" from "20091204000000.000000+000"; empty for whatever is no such text or no day.
std::string _IsoDate(const std::string& sText) {
    constexpr std::string_view kForm = "dddddddddddddd.dddddd+ddd";  // the CIM date format; a star: not told
    const auto Fits = [](char cForm, char c) {
        const bool bDigit = c >= '0' && c <= '9';
        return cForm == 'd' ? bDigit || c == '*' : cForm == '+' ? c == '+' || c == '-' : c == cForm;
    };
    if (!std::ranges::equal(kForm, sText, Fits)) return "";
    const auto oDate = vxttools::g_ParseUnsigned(std::string_view(sText).substr(0, 8));
    if (!oDate) return "";
    const std::chrono::year_month_day Day(std::chrono::year(static_cast<int>(*oDate / 10000)),
                                          std::chrono::month(*oDate / 100 % 100), std::chrono::day(*oDate % 100));
    return Day.ok() ? sText.substr(0, 4) + "-" + sText.substr(4, 2) + "-" + sText.substr(6, 2) : "";
}

}  // namespace

void g_AddBios(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary) {
    const std::vector<CInventoryEntry> Devices = rLibrary.Devices(vxtapi::kDeviceBios);
    if (Devices.empty())
        throw vxttools::CFailure(vxttools::EExit::kNoSuchDevice, "this machine does not tell who made its BIOS");
    CJson& rRows = rDocument["bios"] = CJson::array();
    rDocument.SetCsv("bios");
    for (const CInventoryEntry& rEntry : Devices) {
        CBIOS& rBios = *static_cast<CBIOS*>(rEntry.pDevice);
        const std::string sPath = g_DevicePath(vxtapi::kDeviceBios, rEntry.uIndex);
        CJson Row{{"id", sPath}, {"index", rEntry.uIndex}};
        vxttools::CTextTable Table{sPath.substr(1), {"", ""}};
        for (const auto& [pszKey, pszLabel, pRead] : kTexts) {
            const std::string sText = pRead ? pRead(rBios) : _IsoDate(g_Utf8(rBios.GetReleaseDate()));
            Row[pszKey] = sText.empty() ? CJson(nullptr) : CJson(sText);
            Table.Rows.push_back({"  " + std::string(pszLabel), vxttools::g_Cell(Row[pszKey])});
        }
        rRows.push_back(std::move(Row));
        rDocument.AddTable(std::move(Table));
    }
}

}  // namespace vxtctl
