// A module's record as text, for tables of cases.
#pragma once

#include <sstream>
#include <string>

#include "devices/memory/spd.h"

namespace vxttest {

template <class TNumber> std::string g_OrNone(const std::optional<TNumber>& roNumber, bool bHex = false) {
    std::ostringstream Text;
    if (bHex) Text << std::hex << std::uppercase;
    roNumber ? Text << +*roNumber : Text << '-';
    return Text.str();
}

/// "verdict=right type=DDR2 ... 800/5=5-5-5-18-22-3-6-3-3-42-": each grade with its clocks in the order of ESpdTiming, and
/// after "ns=" the times of the first grade.
inline std::string g_SpdText(const vxt::CSpdRecord& rRecord) {
    static constexpr const char* kVerdicts[] = {"right", "wrong", "short", "erased", "unknown"};
    static constexpr const char* kModules[] = {
        "-",          "unbuffered",  "buffered",   "registered", "UDIMM",        "RDIMM",        "SO-DIMM",
        "Micro-DIMM", "Mini-RDIMM",  "Mini-UDIMM", "Mini-CDIMM", "72b-SO-UDIMM", "72b-SO-RDIMM", "72b-SO-CDIMM",
        "LRDIMM",     "16b-SO-DIMM", "32b-SO-DIMM"};
    std::ostringstream Text;
    Text.precision(6);
    Text << "verdict=" << kVerdicts[static_cast<int>(rRecord.eVerdict)] << " type=" << static_cast<int>(rRecord.eMemory)
         << " module=" << kModules[static_cast<int>(rRecord.eModule)] << " sum=" << g_OrNone(rRecord.ousStoredSum, true)
         << '/' << g_OrNone(rRecord.ousComputedSum, true);
    Text << " size=" << g_OrNone(rRecord.ouSize) << (rRecord.bSizeDoubtful ? "?" : "")
         << " ranks=" << g_OrNone(rRecord.ouRanks) << " width=" << g_OrNone(rRecord.ouDataWidth) << '+'
         << g_OrNone(rRecord.ouEccWidth) << " chips=" << g_OrNone(rRecord.ouDeviceWidth) << 'x'
         << g_OrNone(rRecord.ouBanks) << 'x' << g_OrNone(rRecord.ouRows) << 'x' << g_OrNone(rRecord.ouColumns)
         << " volts=";
    for (const double dVoltage : rRecord.Voltages) Text << dVoltage << ',';
    Text << " revision=" << g_OrNone(rRecord.oucRevision, true) << " cas=";
    for (const double dLatency : rRecord.CasLatencies) Text << dLatency << ',';
    Text << " maker=" << (rRecord.pszManufacturer ? rRecord.pszManufacturer : "-")
         << (rRecord.bManufacturerIsText ? "?" : "")
         << " dram=" << (rRecord.pszDramManufacturer ? rRecord.pszDramManufacturer : "-") << " part=["
         << rRecord.szPartNumber << "] serial=" << g_OrNone(rRecord.ouSerial, true)
         << " made=" << g_OrNone(rRecord.ousModuleRevision, true) << '/' << g_OrNone(rRecord.ousYear) << '/'
         << g_OrNone(rRecord.oucWeek);
    Text << " grades=" << rRecord.Grades.size();
    for (const vxt::CSpdGrade& rGrade : rRecord.Grades) {
        Text << ' ' << rGrade.uDataRate << '/' << rGrade.dClock << '=';
        for (const auto& roTime : rGrade.aoTimes) roTime ? Text << roTime->dClocks << '-' : Text << "x-";
    }
    if (!rRecord.Grades.empty()) Text << " ns=";
    if (!rRecord.Grades.empty())
        for (const auto& roTime : rRecord.Grades[0].aoTimes) roTime ? Text << roTime->dNs << ',' : Text << "x,";
    return Text.str();
}

}  // namespace vxttest
