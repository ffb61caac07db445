#include "cpu_report.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <thread>

#include "common/console.h"
#include "common/core_tables.h"
#include "common/exit_code.h"
#include "common/text.h"
#include "core_family.h"
#include "device_types.h"

namespace vxtctl {

using vxtapi::CCPU;
using vxttools::CCells;
using vxttools::CDocument;
using vxttools::CFailure;
using vxttools::CJson;
using vxttools::CPlausible;
using vxttools::CQuantity;
using vxttools::CTextTable;
using vxttools::EExit;
using vxttools::g_Cell;
using vxttools::g_Utf8;
using vxttools::kPlausibleClock;

namespace {

constexpr CPlausible kMultiplier{0.1, 200};
constexpr CPlausible kVoltage{0.0001, 3};
constexpr CPlausible kPstateNumber{0, 7, true};  // three bits of a register
constexpr CPlausible kTemperature{0.0001, 150};  // revision F counts unsigned: below zero it reads 4294967000 and more

constexpr double kFailed = -9999;  ///< a reading that went wrong: none of the quantities here can be this

double g_Temperature(CCPU& rCpu) {
    double dTemperature = kFailed;
    if (const void* pThermal = rCpu.GetThermTrip()) std::memcpy(&dTemperature, pThermal, sizeof dTemperature);
    return dTemperature;
}

double g_TripOffset(CCPU& rCpu) {
    int32_t nOffset = 0;
    const void* const pThermal = rCpu.GetThermTrip();
    if (!pThermal) return kFailed;
    std::memcpy(&nOffset, pThermal, sizeof nOffset);
    return nOffset;
}

double g_CurrentPstate(CCPU& rCpu) {
    const uint32_t uPstate = rCpu.GetCurPstate();
    return uPstate == 0xFFFFFFFF ? kFailed : uPstate;
}

/// A failure answers 0, which is a number of a P-state: then P-state 0 has to be there.
double g_MaxPstate(CCPU& rCpu) {
    vxtapi::CPstate State{};
    const uint32_t uLast = rCpu.GetMaxPstate();
    return uLast > 0 || rCpu.GetPstate(0, &State) ? uLast : kFailed;
}

struct CReadingRow {
    const char* pszKey;
    const char* pszLabel;
    const char* pszUnit;
    CPlausible Plausible;
    CFamilies Families;       ///< that have it
    const char* pszWhenZero;  ///< why the processor answers 0; null: the reading failed
    double (*pRead)(CCPU&);
};
constexpr CFamilies kOnlyFirstK8 = static_cast<CFamilies>(EFamily::kFirstK8);
constexpr const char* kStatesNone = "this processor states none";
// The reference clock stands in front of them, the usage behind. What 0 means here was read when the library started.
constexpr CReadingRow kReadings[] = {
    {"core_clock", "Core clock", "MHz", kPlausibleClock, kAllFamilies, nullptr,
     [](CCPU& r) -> double { return r.GetCurrentClock(); }},
    {"multiplier", "Multiplier", "", kMultiplier, kAllFamilies, nullptr,
     [](CCPU& r) { return r.GetCurrentMultiplier(); }},
    {"max_multiplier", "Rated maximum multiplier", "", kMultiplier, kAllFamilies, "this processor states no limit",
     [](CCPU& r) { return r.GetMaxMultiplier(); }},
    {"core_voltage", "Core voltage", "V", kVoltage, kAllFamilies, nullptr,
     [](CCPU& r) { return r.GetCurrentVoltage(); }},
    {"start_voltage", "Start voltage", "V", kVoltage, kAllFamilies, kStatesNone,
     [](CCPU& r) { return r.GetStartVoltage(); }},
    {"max_ramp_voltage", "Maximum ramp voltage", "V", kVoltage, kK8, kStatesNone,
     [](CCPU& r) { return r.GetMaxRampVoltage(); }},
    {"nb_multiplier", "North-bridge multiplier", "", kMultiplier, kOnly10h, nullptr,
     [](CCPU& r) { return r.GetCurrentNBMultiplier(); }},
    {"nb_voltage", "North-bridge voltage", "V", kVoltage, kOnly10h, nullptr,
     [](CCPU& r) { return r.GetCurrentNBVoltage(); }},
    {"current_pstate", "Current P-state", "", kPstateNumber, kWithPstates, nullptr, g_CurrentPstate},
    {"max_pstate", "Highest P-state number", "", kPstateNumber, kWithPstates, nullptr, g_MaxPstate},
    {"temperature", "Temperature", "°C", kTemperature, kAllFamilies & ~kOnlyFirstK8,
     "the thermal register of this processor holds none", g_Temperature},
    {"thermal_trip_offset", "Thermal trip offset", "", {-63, 63, true}, kOnlyFirstK8, nullptr, g_TripOffset},
};

struct CPstateReadingRow {
    const char* pszKey;
    const char* pszLabel;
    const char* pszUnit;
    CPlausible Plausible;
    CFamilies Families;
    double vxtapi::CPstate::*pField;
};
constexpr CPstateReadingRow kPstateReadings[] = {
    {"core_clock", "Core clock at a 200 MHz reference", "MHz", kPlausibleClock, kWithPstates,
     &vxtapi::CPstate::dCoreFrequency},
    {"core_voltage", "Core voltage", "V", kVoltage, kWithPstates, &vxtapi::CPstate::dCoreVoltage},
    {"nb_clock", "North-bridge clock at a 200 MHz reference", "MHz", kPlausibleClock, kOnly10h,
     &vxtapi::CPstate::dNbFrequency},
    {"nb_voltage", "North-bridge voltage", "V", kVoltage, kWithPstates, &vxtapi::CPstate::dNbVoltage},
};

struct CPstateFieldRow {
    const char* pszKey;
    double vxtapi::CPstate::*pField;
};
constexpr CPstateFieldRow kPstateFields[] = {
    {"core_fid", &vxtapi::CPstate::dCpuFid}, {"core_did", &vxtapi::CPstate::dCpuDid},
    {"core_vid", &vxtapi::CPstate::dCpuVid}, {"nb_did", &vxtapi::CPstate::dNbDid},
    {"nb_vid", &vxtapi::CPstate::dNbVid},    {"idd_div", &vxtapi::CPstate::dIddDiv},
};

constexpr const char* kLacks = "this processor has none";

std::optional<double> g_Judged(double dRaw, const CPlausible& rPlausible) {
    CQuantity Quantity;
    Quantity.Judge(dRaw, rPlausible);
    return Quantity.oValue;
}

std::vector<CQuantity> g_ReadCore(CCPU& rCpu, const std::string& sPath, vxttools::CFindings& rFindings) {
    const EFamily eFamily = g_Family(rCpu);
    std::vector<CQuantity> Quantities{{sPath + "/reference_clock", "Reference clock (core clock / multiplier)", "MHz"}};
    for (const CReadingRow& rRow : kReadings) {
        CQuantity& rQuantity =
            Quantities.emplace_back(CQuantity{sPath + "/" + rRow.pszKey, rRow.pszLabel, rRow.pszUnit});
        rQuantity.sReason = kLacks;
        if (g_IsOneOf(eFamily, rRow.Families))
            vxttools::g_TakeReading(rQuantity, rRow.pRead(rCpu), rRow.Plausible, rRow.pszWhenZero, rFindings);
    }
    const auto Value = [&](const char* pszKey) {
        return std::ranges::find(Quantities, sPath + "/" + pszKey, &CQuantity::sId);
    };
    // The library measures it but does not hand it out.
    const std::optional<double> oClock = Value("core_clock")->oValue, oMultiplier = Value("multiplier")->oValue;
    if (oClock && oMultiplier)
        Quantities.front().Judge(*oClock / *oMultiplier, {1, 2'000});
    else
        Quantities.front().sReason = "core clock and multiplier could not both be read";
    if (rCpu.IsMultiplierLimited()) Value("multiplier")->Limits.oMaximum = Value("max_multiplier")->oValue;
    if (const auto oMaximum = Value("max_pstate")->oValue) Value("current_pstate")->Limits = {0, oMaximum};
    return Quantities;
}

CJson g_ReadPstate(CCPU& rCpu, uint32_t uPstate, const std::string& sPath, vxttools::CFindings& rFindings) {
    const EFamily eFamily = g_Family(rCpu);
    vxtapi::CPstate State{};
    const bool bRead = rCpu.GetPstate(uPstate, &State);
    if (!bRead) rFindings.push_back(sPath + " could not be read");
    CJson Pstate{{"id", sPath}, {"number", uPstate}, {"enabled", bRead ? CJson(State.bPstateEn != 0) : nullptr}};
    for (const auto& [pszKey, pField] : kPstateFields)
        Pstate[pszKey] =
            bRead && State.*pField >= 0 && State.*pField <= 255 ? CJson(std::lround(State.*pField)) : nullptr;
    for (const CPstateReadingRow& rRow : kPstateReadings) {
        CQuantity Quantity{sPath + "/" + rRow.pszKey, rRow.pszLabel, rRow.pszUnit};
        Quantity.sReason = bRead ? kLacks : vxttools::kNotRead;
        if (bRead && g_IsOneOf(eFamily, rRow.Families))
            vxttools::g_TakeReading(Quantity, State.*rRow.pField, rRow.Plausible, "the definition says 0", rFindings);
        Pstate[rRow.pszKey] = Quantity.ToJson();
    }
    return Pstate;
}

CJson g_ReadPstates(CCPU& rCpu, const std::string& sPath, vxttools::CFindings& rFindings) {
    CJson Pstates = CJson::Array();
    if (!g_IsOneOf(g_Family(rCpu), kWithPstates)) return Pstates;
    const uint32_t uLast = std::min(rCpu.GetMaxPstate(), 7u);
    for (uint32_t i = 0; i <= uLast; ++i)
        Pstates.Push(g_ReadPstate(rCpu, i, sPath + "/pstate/" + std::to_string(i), rFindings));
    return Pstates;
}

/// Only family 10h has the switch.
CJson g_ReadBoost(CCPU& rCpu, const std::string& sPath, vxttools::CFindings& rFindings) {
    bool bSupported = false, bEnabled = false;
    if (rCpu.GetBoostState(&bSupported, &bEnabled) || !g_IsOneOf(g_Family(rCpu), kOnly10h))
        return {{"supported", bSupported}, {"enabled", bEnabled}};
    rFindings.push_back(sPath + "/boost could not be read");
    return {{"supported", nullptr}, {"enabled", nullptr}};
}

}  // namespace

std::optional<double> g_ReadMultiplier(CCPU& rCpu) { return g_Judged(rCpu.GetCurrentMultiplier(), kMultiplier); }
std::optional<double> g_ReadVoltage(CCPU& rCpu) { return g_Judged(rCpu.GetCurrentVoltage(), kVoltage); }
std::optional<double> g_ReadNbVoltage(CCPU& rCpu) {
    return g_IsOneOf(g_Family(rCpu), kOnly10h) ? g_Judged(rCpu.GetCurrentNBVoltage(), kVoltage) : std::nullopt;
}
std::optional<double> g_ReadCurrentPstate(CCPU& rCpu) {
    if (!g_IsOneOf(g_Family(rCpu), kWithPstates)) return std::nullopt;
    return g_Judged(g_CurrentPstate(rCpu), kPstateNumber);
}

std::vector<CInventoryEntry> g_SelectCores(const CHostLibrary& rLibrary, std::optional<uint32_t> oCore) {
    std::vector<CInventoryEntry> Cores = rLibrary.Devices(vxtapi::kDeviceCpu);
    if (Cores.empty()) throw rLibrary.Absent("processor");
    const size_t uCount = Cores.size();
    if (oCore) std::erase_if(Cores, [&](const CInventoryEntry& rCore) { return rCore.uIndex != *oCore; });
    if (Cores.empty() && *oCore < rLibrary.ExpectedCores()) throw rLibrary.Absent("core " + std::to_string(*oCore));
    if (Cores.empty())
        throw CFailure(EExit::kNoSuchDevice,
                       "no core " + std::to_string(*oCore) + ": this machine has " + std::to_string(uCount));
    return Cores;
}

void g_AddCores(CDocument& rDocument, const std::vector<CInventoryEntry>& rCores, vxttools::CFindings& rFindings) {
    using CClock = std::chrono::steady_clock;
    constexpr auto kUsageWindow = std::chrono::milliseconds(100);
    const auto Cpu = [](const CInventoryEntry& rCore) -> CCPU& { return *static_cast<CCPU*>(rCore.pDevice); };
    for (const CInventoryEntry& rCore : rCores) Cpu(rCore).GetCurrentUsage();  // usage counts from call to call
    const CClock::time_point Begin = CClock::now();

    CJson& rArray = rDocument["cores"] = CJson::Array();
    for (const CInventoryEntry& rCore : rCores) {
        if (vxttools::g_WasInterrupted()) throw CFailure(EExit::kInterrupted, "interrupted");
        CCPU& rCpu = Cpu(rCore);
        const std::string sPath = g_DevicePath(vxtapi::kDeviceCpu, rCore.uIndex);
        CJson Readings = CJson::Array();
        for (const CQuantity& rQuantity : g_ReadCore(rCpu, sPath, rFindings)) Readings.Push(rQuantity.ToJson());
        rArray.Push({{"id", sPath},
                     {"index", rCore.uIndex},
                     {"name", g_Utf8(rCpu.GetName())},
                     {"brand", g_Utf8(rCpu.GetModel())},
                     {"description", g_Utf8(rCpu.GetDescription())},
                     {"vendor", g_Utf8(rCpu.GetVendor())},
                     {"version", rCpu.GetVersion()},
                     {"family", rCpu.GetFamily()},
                     {"extended_family", rCpu.GetExtendedFamily()},
                     {"model", rCpu.GetModelNumber()},
                     {"extended_model", rCpu.GetExtendedModel()},
                     {"stepping", rCpu.GetStepping()},
                     {"multiplier_limited", rCpu.IsMultiplierLimited()},
                     {"boost", g_ReadBoost(rCpu, sPath, rFindings)},
                     {"readings", Readings},
                     {"pstates", g_ReadPstates(rCpu, sPath, rFindings)}});
    }

    std::this_thread::sleep_until(Begin + kUsageWindow);
    for (size_t i = 0; i < rCores.size(); ++i) {
        CQuantity Usage{rArray.Items()[i]["id"].Text() + "/usage", "Usage", "%"};
        Usage.Limits = {0, 100};
        Usage.Judge(std::floor(Cpu(rCores[i]).GetCurrentUsage()),
                    {0, 100, true});  // comes with 0.5 added: for rounding
        rArray.Items()[i]["readings"].Push(Usage.ToJson());
    }
}

void g_AddReasonTables(CDocument& rDocument) {
    const auto Rows = [](const CJson& rCore) {
        CCells Cells;
        for (const CJson& rReading : rCore["readings"].Items())
            if (rReading["value"].IsNull())
                Cells.push_back({"  " + rReading["label"].Text(), rReading["reason"].Text()});
        return Cells;
    };
    for (auto& [sCores, rRows] : vxttools::g_ShareRows(std::as_const(rDocument)["cores"], Rows))
        if (!rRows.empty())
            rDocument.AddTable(
                {"Readings that are missing, " + vxttools::g_CoreTitle(sCores), {"", ""}, std::move(rRows)});
}

void g_AddPstateTables(CDocument& rDocument) {
    const auto Rows = [](const CJson& rCore) {
        CCells Cells;
        for (const CJson& rPstate : rCore["pstates"].Items()) {
            std::vector<std::string>& rRow = Cells.emplace_back();
            rRow = {g_Cell(rPstate["number"]), g_Cell(rPstate["enabled"])};
            for (const CPstateReadingRow& rReading : kPstateReadings)
                rRow.push_back(g_Cell(rPstate[rReading.pszKey], true));
            for (const CPstateFieldRow& rField : kPstateFields) rRow.push_back(g_Cell(rPstate[rField.pszKey]));
        }
        return Cells;
    };
    for (auto& [sCores, rRows] : vxttools::g_ShareRows(std::as_const(rDocument)["cores"], Rows)) {
        if (rRows.empty()) continue;  // a family without P-states
        CTextTable Table{"P-states, " + vxttools::g_CoreTitle(sCores) + " (clocks at a 200 MHz reference)",
                         {">Number", "Enabled", ">Core clock", ">Core voltage", "~>NB clock", "~>NB voltage", "~~>FID",
                          "~~>DID", "~~>VID", "~~>NB DID", "~~>NB VID", "~~>Idd div"},
                         std::move(rRows)};
        vxttools::g_DropEmptyColumns(Table);
        rDocument.AddTable(std::move(Table));
    }
}

std::string g_BoostText(const CJson& rBoost) {
    if (rBoost["supported"].IsNull()) return vxttools::kNotRead;
    return !rBoost["supported"].Flag() ? "not supported" : rBoost["enabled"].Flag() ? "on" : "off";
}

void g_AddCoreOverview(CDocument& rDocument) {
    CTextTable Table{"Cores",
                     {"Core", ">Clock", "~>Reference", ">Multiplier", ">Voltage", "~>P-state", ">Temperature",
                      "~~Boost", "~~~Brand"}};
    for (const CJson& rCore : std::as_const(rDocument)["cores"].Items()) {
        const auto Reading = [&](const char* pszKey) {
            const std::string sId = rCore["id"].Text() + "/" + pszKey;
            for (const CJson& rReading : rCore["readings"].Items())
                if (rReading["id"].Text() == sId) return g_Cell(rReading, true);
            return std::string("-");
        };
        Table.Rows.push_back({g_Cell(rCore["index"]), Reading("core_clock"), Reading("reference_clock"),
                              Reading("multiplier"), Reading("core_voltage"), Reading("current_pstate"),
                              Reading("temperature"), g_BoostText(rCore["boost"]), g_Cell(rCore["brand"])});
    }
    vxttools::g_DropEmptyColumns(Table);
    rDocument.AddTable(std::move(Table));
    g_AddPstateTables(rDocument);
}

}  // namespace vxtctl
