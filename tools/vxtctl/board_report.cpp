#include "board_report.h"

#include <algorithm>
#include <chrono>

#include "common/facts.h"
#include "common/text.h"
#include "device_types.h"

namespace vxtctl {

using vxtapi::CBIOS;
using vxttools::CDocument;
using vxttools::CFacts;
using vxttools::CJson;
using vxttools::CTextTable;
using vxttools::g_ParseUnsigned;
using vxttools::g_Printable;
using vxttools::g_Utf8;

namespace {

struct CTextRow {
    const char* pszKey;
    const char* pszLabel;
    std::string (*pRead)(CBIOS&);
};
constexpr const char* kSerial = "serial_number";
constexpr CTextRow kTexts[] = {
    {"manufacturer", "Manufacturer", [](CBIOS& r) { return g_Utf8(r.GetManufacturer()); }},
    {"version", "Version", [](CBIOS& r) { return g_Utf8(r.GetBIOSVersion()); }},
    {"release_date", "Release date", [](CBIOS& r) { return g_Utf8(r.GetReleaseDate()); }},
    {"release_date_iso", "Release date, ISO", nullptr},
    {kSerial, "Serial number", [](CBIOS& r) { return g_Utf8(r.GetSerialNumber()); }},
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

}  // namespace

void g_AddBoards(CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings&, bool bSerials) {
    CJson& rBoards = rDocument["boards"] = CJson::Array();
    for (const CInventoryEntry& rEntry : rLibrary.Devices(vxtapi::kDeviceBoard)) {
        auto& rBoard = *static_cast<vxtapi::CBoard*>(rEntry.pDevice);
        const std::string sPath = g_DevicePath(rEntry.eType, rEntry.uIndex);
        CFacts Facts(bSerials, "the system does not say");
        Facts.Add("manufacturer", "Manufacturer", g_Utf8(rBoard.GetManufacturer()));
        Facts.Add("product", "Product", g_Utf8(rBoard.GetProduct()));
        Facts.Add("version", "Version", g_Utf8(rBoard.GetBoardVersion()));
        Facts.AddSerial(kSerial, "Serial number", g_Utf8(rBoard.GetSerialNumber()));
        CJson Board{{"id", sPath}, {"index", rEntry.uIndex}};
        Facts.AddTo(Board);
        rBoards.Push(std::move(Board));
        rDocument.AddTable(Facts.Table(sPath.substr(1)));
    }
}

void g_AddBios(CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings&, bool bSerials) {
    CJson& rRows = rDocument["bios"] = CJson::Array();
    for (const CInventoryEntry& rEntry : rLibrary.Devices(vxtapi::kDeviceBios)) {
        CBIOS& rBios = *static_cast<CBIOS*>(rEntry.pDevice);
        const std::string sPath = g_DevicePath(vxtapi::kDeviceBios, rEntry.uIndex);
        CJson Row{{"id", sPath}, {"index", rEntry.uIndex}};
        CTextTable Table{sPath.substr(1), {"", ""}};
        for (const auto& [pszKey, pszLabel, pRead] : kTexts) {
            const bool bLeftOut = !bSerials && pszKey == kSerial;
            const std::string sText = bLeftOut ? "" : pRead ? pRead(rBios) : g_IsoDate(g_Utf8(rBios.GetReleaseDate()));
            Row[pszKey] = sText.empty() ? nullptr : CJson(sText);
            Table.Rows.push_back({"  " + std::string(pszLabel), bLeftOut        ? vxttools::kSerialsLeftOut
                                                                : sText.empty() ? "not told"
                                                                                : sText});
        }
        rRows.Push(std::move(Row));
        rDocument.AddTable(std::move(Table));
    }
}

}  // namespace vxtctl
