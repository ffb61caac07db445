#include "module_report.h"

#include <algorithm>

#include "common/core_tables.h"
#include "common/facts.h"
#include "common/text.h"
#include "device_types.h"

namespace vxtctl {

using vxtapi::CMemoryModule;
using vxtapi::MemoryModuleGrade;
using vxtapi::MemoryModuleInfo;
using vxtapi::MemoryModuleTime;
using vxttools::CDocument;
using vxttools::CFacts;
using vxttools::CJson;
using vxttools::CTextTable;
using vxttools::g_Cell;
using vxttools::g_Hex;
using vxttools::g_Trimmed;
using vxttools::g_Utf8;

namespace {

/// By eSpdVerdict.
struct CVerdictRow {
    const char* pszWord;
    const char* pszText;
    const char* pszNone;  ///< why facts are missing
    bool bIsFinding;
};
constexpr CVerdictRow kVerdicts[] = {
    {"right", "the checksum is right", vxttools::kNotTold, false},
    {"wrong_checksum", "the checksum is WRONG", vxttools::kNotTold, true},
    {"too_short", "its data end too early", "its data end too early", true},
    {"erased", "its data are erased", "its data are erased", true},
    {"unknown_type", "its data are of no type that is decoded", "its data are of no type that is decoded", true},
    {"unreadable", "it answered at the start, but its data cannot be read", "its data cannot be read", true},
};

const CVerdictRow& g_Verdict(const MemoryModuleInfo& rInfo) {
    return kVerdicts[std::min<size_t>(rInfo.uVerdict, std::size(kVerdicts) - 1)];
}

std::string g_TypeText(uint32_t uMemory) {
    switch (uMemory) {
        case vxtapi::kSpdDdr:
            return "DDR";
        case vxtapi::kSpdDdr2:
            return "DDR2";
        case vxtapi::kSpdDdr3:
            return "DDR3";
        default:
            return "number " + g_Hex(uMemory, 2) + "h";
    }
}

struct CTimeRow {
    const char* pszKey;
    const char* pszHeading;
    MemoryModuleTime MemoryModuleGrade::*pTime;
};
constexpr CTimeRow kTimes[] = {
    {"tcl", ">tCL", &MemoryModuleGrade::Tcl},     {"trcd", ">tRCD", &MemoryModuleGrade::Trcd},
    {"trp", ">tRP", &MemoryModuleGrade::Trp},     {"tras", ">tRAS", &MemoryModuleGrade::Tras},
    {"trc", ">tRC", &MemoryModuleGrade::Trc},     {"trrd", "~>tRRD", &MemoryModuleGrade::Trrd},
    {"twr", "~>tWR", &MemoryModuleGrade::Twr},    {"twtr", "~>tWTR", &MemoryModuleGrade::Twtr},
    {"trtp", "~>tRTP", &MemoryModuleGrade::Trtp}, {"trfc", "~>tRFC", &MemoryModuleGrade::Trfc},
    {"tfaw", "~>tFAW", &MemoryModuleGrade::Tfaw},
};

CJson g_OrNull(double dValue) { return dValue > 0 ? vxttools::g_ToJson(std::optional(dValue)) : CJson(); }

CJson g_Grades(CMemoryModule& rModule, const std::string& sPath) {
    CJson Grades = CJson::Array();
    MemoryModuleGrade Grade{};
    for (uint32_t i = 0; i < rModule.GetGradeCount() && rModule.GetGrade(i, &Grade); ++i) {
        CJson Row{{"id", sPath + "/grade/" + std::to_string(i)},
                  {"number", i},
                  {"data_rate", Grade.uDataRate},
                  {"clock", vxttools::g_ToJson(std::optional(Grade.dClock))},
                  {"cas_latency", vxttools::g_ToJson(std::optional(Grade.dCasLatency))}};
        for (const CTimeRow& rRow : kTimes) {
            const MemoryModuleTime& rTime = Grade.*rRow.pTime;
            Row[rRow.pszKey] = {{"clocks", g_OrNull(rTime.dClocks)}, {"ns", g_OrNull(rTime.dNanoseconds)}};
        }
        Grades.Push(std::move(Row));
    }
    return Grades;
}

/// "9 (13.13)": clocks, and the nanoseconds that the module asks for.
std::string g_TimeText(const CJson& rTime) {
    const auto oNanoseconds = rTime["ns"].Number();
    return oNanoseconds ? g_Cell(rTime["clocks"]) + " (" + g_Trimmed(*oNanoseconds, 3) + ")" : "-";
}

vxttools::CCells g_GradeRows(const CJson& rModule) {
    vxttools::CCells Rows;
    for (const CJson& rGrade : rModule["grades"].Items()) {
        std::vector<std::string>& rRow = Rows.emplace_back();
        rRow = {g_Cell(rGrade["data_rate"]), g_Trimmed(*rGrade["clock"].Number(), 2), g_Cell(rGrade["cas_latency"])};
        for (const CTimeRow& rTime : kTimes) rRow.push_back(g_TimeText(rGrade[rTime.pszKey]));
    }
    return Rows;
}

void g_AddGradeTables(CDocument& rDocument, const CJson& rModules) {
    for (auto& [sModules, rRows] : vxttools::g_ShareRows(rModules, g_GradeRows)) {
        if (rRows.empty()) continue;
        CTextTable Table{"Grades of memory/" + sModules + ": the timings in clocks (ns)",
                         {">MT/s", ">MHz", ">CL"},
                         std::move(rRows)};
        for (const CTimeRow& rTime : kTimes) Table.Columns.emplace_back(rTime.pszHeading);
        vxttools::g_DropEmptyColumns(Table);
        rDocument.AddTable(std::move(Table));
    }
}

std::vector<double> g_CasLatencies(CMemoryModule& rModule) {
    constexpr uint32_t kMost = 16;
    uint32_t uCount = kMost;
    std::vector<double> Clocks(kMost);
    Clocks.resize(rModule.GetCasLatencies(Clocks.data(), uCount) ? uCount : 0);
    return Clocks;
}

std::vector<uint8_t> g_ReadSpd(CMemoryModule& rModule) {
    uint32_t uSize = 256;
    std::vector<uint8_t> Bytes(uSize);
    Bytes.resize(rModule.ReadSpd(Bytes.data(), uSize) ? uSize : 0);
    return Bytes;
}

std::vector<double> g_Voltages(const MemoryModuleInfo& rInfo) {
    std::vector<double> Voltages;
    for (const double d : rInfo.adVoltages)
        if (d > 0) Voltages.push_back(d);
    return Voltages;
}

/// Text as remarks of a machine file.
std::string g_Remarks(const std::string& sText) {
    std::string sRemarks;
    for (size_t uBegin = 0, uEnd; uBegin < sText.size(); uBegin = uEnd + 1) {
        uEnd = std::min(sText.find('\n', uBegin), sText.size());
        sRemarks += (uEnd == uBegin ? "#" : "# ") + sText.substr(uBegin, uEnd - uBegin) + "\n";
    }
    return sRemarks;
}

/// What is told, but may not be so.
std::vector<std::string> g_Doubts(const MemoryModuleInfo& rInfo) {
    std::vector<std::string> Doubts;
    if (rInfo.bSizeDoubtful) Doubts.emplace_back("the size: ranks, rows and columns make another one");
    if (rInfo.bManufacturerIsText)
        Doubts.emplace_back("the maker: letters stand where its number should, the name is chance");
    return Doubts;
}

CFacts g_Facts(CMemoryModule& rModule, const MemoryModuleInfo& rInfo, bool bSerials) {
    const CVerdictRow& rVerdict = g_Verdict(rInfo);
    const int nSumDigits = rInfo.uMemory == vxtapi::kSpdDdr3 ? 4 : 2;
    const auto Sum = [&](uint32_t uSum) { return rInfo.bHasSum ? CJson(uSum) : CJson(); };
    const auto Hex = [](uint32_t uValue, int nDigits) { return g_Hex(uValue, nDigits) + "h"; };
    const bool bHasType = rInfo.uVerdict != vxtapi::kSpdErased && rInfo.uVerdict != vxtapi::kSpdUnreadable;
    CFacts Facts(bSerials, rVerdict.pszNone);
    Facts.Add("type", "Type", bHasType && rInfo.uMemory ? g_TypeText(rInfo.uMemory) : "");
    Facts.Add("form", "Form", g_Utf8(rModule.GetModuleType()));
    Facts.AddNumber("size", "Size", rInfo.uSize, "MiB");
    Facts.AddNumber("ranks", "Ranks", rInfo.uRanks);
    Facts.AddNumber("data_width", "Data width", rInfo.uDataWidth, "bits");
    Facts.Add("ecc_width", "ECC", rInfo.uDataWidth ? CJson(rInfo.uEccWidth) : CJson(), "bits",
              rInfo.uEccWidth ? "" : "none");
    Facts.AddNumber("chip_width", "Width of a chip", rInfo.uDeviceWidth, "bits");
    Facts.AddNumber("banks", "Banks of a chip", rInfo.uBanks);
    Facts.AddNumber("row_bits", "Row address", rInfo.uRowBits, "bits");
    Facts.AddNumber("column_bits", "Column address", rInfo.uColumnBits, "bits");
    Facts.Add("manufacturer", "Maker", g_Utf8(rModule.GetVendor()));
    Facts.Add("chip_manufacturer", "Maker of the chips", g_Utf8(rModule.GetDramVendor()));
    Facts.Add("part_number", "Part number", g_Utf8(rModule.GetModel()));
    Facts.AddSerial("serial_number", "Serial number", rInfo.bHasSerial ? CJson(g_Hex(rInfo.uSerial, 8)) : CJson());
    Facts.AddNumber("module_revision", "Revision of the module", rInfo.uModuleRevision, "",
                    Hex(rInfo.uModuleRevision, 4));
    Facts.AddNumber("year", "Year of making", rInfo.uYear);
    Facts.AddNumber("week", "Week of making", rInfo.uWeek);
    Facts.Add("voltages", "Voltages", g_Voltages(rInfo), "V");
    Facts.Add("cas_latencies", "CAS latencies", g_CasLatencies(rModule), "clocks");
    Facts.Add("spd_revision", "Revision of the data",
              rInfo.uSpdRevision
                  ? std::to_string(rInfo.uSpdRevision >> 4) + "." + std::to_string(rInfo.uSpdRevision & 15)
                  : "");
    Facts.Add("stored_sum", "Stored checksum", Sum(rInfo.uStoredSum), "", Hex(rInfo.uStoredSum, nSumDigits));
    Facts.Add("computed_sum", "Computed checksum", Sum(rInfo.uComputedSum), "", Hex(rInfo.uComputedSum, nSumDigits));
    return Facts;
}

}  // namespace

void g_AddModules(CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings,
                  const CModuleView& rView) {
    CJson& rModules = rDocument["modules"] = CJson::Array();
    CDocument Told("", "");
    std::string sDumps;  // as machine files take them
    for (const CInventoryEntry& rEntry : rLibrary.Devices(vxtapi::kDeviceMemory)) {
        auto& rModule = *static_cast<CMemoryModule*>(rEntry.pDevice);
        const std::string sPath = g_DevicePath(rEntry.eType, rEntry.uIndex);
        MemoryModuleInfo Info{};
        if (!rModule.GetModuleInfo(&Info)) Info.uVerdict = vxtapi::kSpdUnreadable;
        const CVerdictRow& rVerdict = g_Verdict(Info);
        if (rVerdict.bIsFinding) rFindings.push_back(sPath + ": " + rVerdict.pszText);

        const CFacts Facts = g_Facts(rModule, Info, rView.bSerials);
        CJson Module{{"id", sPath},
                     {"index", rEntry.uIndex},
                     {"address", Info.uAddress},
                     {"verdict", rVerdict.pszWord},
                     {"doubts", g_Doubts(Info)}};
        Facts.AddTo(Module);
        Module["spd"] = nullptr;
        CTextTable Table = Facts.Table(sPath.substr(1));
        Table.Rows.insert(Table.Rows.begin(),
                          {{"  At", g_Hex(Info.uAddress, 2) + "h on the SMBus"}, {"  Data", rVerdict.pszText}});
        for (const CJson& rDoubt : Module["doubts"].Items()) {
            rFindings.push_back(sPath + ": doubtful is " + rDoubt.Text());
            Table.Rows.push_back({"  Doubtful", rDoubt.Text()});
        }
        if (rView.bRaw) {
            const std::vector<uint8_t> Bytes = g_ReadSpd(rModule);
            if (Bytes.empty() && !rVerdict.bIsFinding) rFindings.push_back(sPath + ": its data could not be read");
            if (!Bytes.empty()) Module["spd"] = vxttools::g_HexString(Bytes);
            if (!Bytes.empty()) sDumps += "[smbus " + g_Hex(Info.uAddress, 2) + "]\n" + vxttools::g_HexDump(Bytes);
        }
        Module["grades"] = g_Grades(rModule, sPath);
        if (Module["grades"].Items().empty())
            Table.Rows.push_back(
                {"  Grades", rVerdict.pszNone == vxttools::kNotTold ? "its timings are not told" : rVerdict.pszNone});
        rModules.Push(std::move(Module));
        Told.AddTable(std::move(Table));
    }
    g_AddGradeTables(Told, rModules);
    constexpr size_t kMark = 2;  // "# "
    if (rView.bRaw) {
        const size_t uWidth = rView.uWidth == vxttools::kUnlimited ? rView.uWidth : rView.uWidth - kMark;
        return rDocument.SetText(g_Remarks(Told.Text(false, uWidth)) + sDumps);
    }
    for (const CTextTable& rTable : Told.Tables()) rDocument.AddTable(rTable);
}

}  // namespace vxtctl
