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

namespace {

constexpr CPlausible kClock{1, 20'000};
constexpr CPlausible kMultiplier{0.1, 200};
constexpr CPlausible kVoltage{0.0001, 3};
constexpr CPlausible kPstateNumber{0, 7, true};  // three bits of a register
constexpr CPlausible kTemperature{0.0001, 150};  // revision F counts unsigned: below zero it reads 4294967000 and more

/// The first K8 generation keeps an offset where all later processors keep a temperature.
bool g_HasTripOffset(CCPU& rCpu) {
    return rCpu.GetFamily() == 0xF && rCpu.GetExtendedFamily() == 0 && rCpu.GetExtendedModel() <= 2;
}

double g_Temperature(CCPU& rCpu) {
    double dTemperature = 0;
    if (g_HasTripOffset(rCpu)) return dTemperature;
    if (const void* pThermal = rCpu.GetThermTrip()) std::memcpy(&dTemperature, pThermal, sizeof dTemperature);
    return dTemperature;
}

double g_TripOffset(CCPU& rCpu) {
    int32_t nOffset = 0;
    const void* pThermal = g_HasTripOffset(rCpu) ? rCpu.GetThermTrip() : nullptr;
    if (!pThermal) return -9999;  // zero is an offset
    std::memcpy(&nOffset, pThermal, sizeof nOffset);
    return nOffset;
}

double g_CurrentPstate(CCPU& rCpu) {
    const uint32_t uPstate = g_HasPstates(rCpu) ? rCpu.GetCurPstate() : 0xFFFFFFFF;
    return uPstate == 0xFFFFFFFF ? -1.0 : uPstate;
}

double g_MaxPstate(CCPU& rCpu) { return g_HasPstates(rCpu) ? rCpu.GetMaxPstate() : -1.0; }

struct CReadingRow {
    const char* pszKey;
    const char* pszLabel;
    const char* pszUnit;
    CPlausible Plausible;
    double (*pRead)(CCPU&);
};
// The reference clock stands in front of them, the usage behind.
constexpr CReadingRow kReadings[] = {
    {"core_clock", "Core clock", "MHz", kClock, [](CCPU& r) -> double { return r.GetCurrentClock(); }},
    {"multiplier", "Multiplier", "", kMultiplier, [](CCPU& r) { return r.GetCurrentMultiplier(); }},
    {"max_multiplier", "Rated maximum multiplier", "", kMultiplier, [](CCPU& r) { return r.GetMaxMultiplier(); }},
    {"core_voltage", "Core voltage", "V", kVoltage, [](CCPU& r) { return r.GetCurrentVoltage(); }},
    {"start_voltage", "Start voltage", "V", kVoltage, [](CCPU& r) { return r.GetStartVoltage(); }},
    {"max_ramp_voltage", "Maximum ramp voltage", "V", kVoltage, [](CCPU& r) { return r.GetMaxRampVoltage(); }},
    {"nb_multiplier", "North-bridge multiplier", "", kMultiplier, [](CCPU& r) { return r.GetCurrentNBMultiplier(); }},
    {"nb_voltage", "North-bridge voltage", "V", kVoltage, [](CCPU& r) { return r.GetCurrentNBVoltage(); }},
    {"current_pstate", "Current P-state", "", kPstateNumber, g_CurrentPstate},
    {"max_pstate", "Highest P-state number", "", kPstateNumber, g_MaxPstate},
    {"temperature", "Temperature", "°C", kTemperature, g_Temperature},
    {"thermal_trip_offset", "Thermal trip offset", "", {-63, 63, true}, g_TripOffset},
};

struct CPstateReadingRow {
    const char* pszKey;
    const char* pszLabel;
    const char* pszUnit;
    CPlausible Plausible;
    double vxtapi::CPstate::*pField;
};
constexpr CPstateReadingRow kPstateReadings[] = {
    {"core_clock", "Core clock at a 200 MHz reference", "MHz", kClock, &vxtapi::CPstate::dCoreFrequency},
    {"core_voltage", "Core voltage", "V", kVoltage, &vxtapi::CPstate::dCoreVoltage},
    {"nb_clock", "North-bridge clock at a 200 MHz reference", "MHz", kClock, &vxtapi::CPstate::dNbFrequency},
    {"nb_voltage", "North-bridge voltage", "V", kVoltage, &vxtapi::CPstate::dNbVoltage},
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

std::optional<double> g_Judged(double dRaw, const CPlausible& rPlausible) {
    CQuantity Quantity;
    Quantity.Judge(dRaw, rPlausible);
    return Quantity.oValue;
}

std::vector<CQuantity> g_ReadCore(CCPU& rCpu, const std::string& sPath) {
    std::vector<CQuantity> Quantities{{sPath + "/reference_clock", "Reference clock (core clock / multiplier)", "MHz"}};
    for (const auto& [pszKey, pszLabel, pszUnit, rPlausible, pRead] : kReadings) {
        CQuantity& rQuantity = Quantities.emplace_back(CQuantity{sPath + "/" + pszKey, pszLabel, pszUnit});
        rQuantity.Judge(pRead(rCpu), rPlausible);
    }
    const auto Value = [&](const char* pszKey) {
        return std::ranges::find(Quantities, sPath + "/" + pszKey, &CQuantity::sId);
    };
    // The library measures it but does not hand it out.
    const std::optional<double> oClock = Value("core_clock")->oValue, oMultiplier = Value("multiplier")->oValue;
    Quantities.front().Judge(oClock && oMultiplier ? *oClock / *oMultiplier : 0, {1, 2'000});
    if (rCpu.IsMultiplierLimited())
        Value("multiplier")->Limits.oMaximum = Value("max_multiplier")->oValue;
    else if (rCpu.GetMaxMultiplier() == 0)
        Value("max_multiplier")->sReason = "this processor states no limit";
    if (const auto oMaximum = Value("max_pstate")->oValue) Value("current_pstate")->Limits = {0, oMaximum};
    return Quantities;
}

CJson g_ReadPstate(CCPU& rCpu, uint32_t uPstate, const std::string& sPath) {
    vxtapi::CPstate State{};
    const bool bRead = rCpu.GetPstate(uPstate, &State);
    CJson Pstate{{"id", sPath}, {"number", uPstate}, {"enabled", bRead ? CJson(State.bPstateEn != 0) : nullptr}};
    for (const auto& [pszKey, pField] : kPstateFields)
        Pstate[pszKey] =
            bRead && State.*pField >= 0 && State.*pField <= 255 ? CJson(std::lround(State.*pField)) : nullptr;
    for (const auto& [pszKey, pszLabel, pszUnit, rPlausible, pField] : kPstateReadings) {
        CQuantity Quantity{sPath + "/" + pszKey, pszLabel, pszUnit};
        Quantity.Judge(bRead ? State.*pField : 0, rPlausible);
        Pstate[pszKey] = Quantity.ToJson();
    }
    return Pstate;
}

CJson g_ReadPstates(CCPU& rCpu, const std::string& sPath) {
    CJson Pstates = CJson::Array();
    if (!g_HasPstates(rCpu)) return Pstates;
    const uint32_t uLast = std::min(rCpu.GetMaxPstate(), 7u);
    for (uint32_t i = 0; i <= uLast; ++i) Pstates.Push(g_ReadPstate(rCpu, i, sPath + "/pstate/" + std::to_string(i)));
    return Pstates;
}

}  // namespace

bool g_HasPstates(CCPU& rCpu) {
    vxtapi::CPstate State{};
    return rCpu.GetMaxPstate() > 0 || rCpu.GetPstate(0, &State);  // families without them answer 0 and false
}

std::optional<double> g_ReadMultiplier(CCPU& rCpu) { return g_Judged(rCpu.GetCurrentMultiplier(), kMultiplier); }
std::optional<double> g_ReadVoltage(CCPU& rCpu) { return g_Judged(rCpu.GetCurrentVoltage(), kVoltage); }
std::optional<double> g_ReadCurrentPstate(CCPU& rCpu) { return g_Judged(g_CurrentPstate(rCpu), kPstateNumber); }

std::vector<CInventoryEntry> g_SelectCores(const CHostLibrary& rLibrary, std::optional<uint32_t> oCore) {
    std::vector<CInventoryEntry> Cores = rLibrary.Devices(vxtapi::kDeviceCpu);
    if (Cores.empty()) throw CFailure(EExit::kNoSuchDevice, "this machine has no processor that the library knows");
    const size_t uCount = Cores.size();
    if (oCore) std::erase_if(Cores, [&](const CInventoryEntry& rCore) { return rCore.uIndex != *oCore; });
    if (Cores.empty())
        throw CFailure(EExit::kNoSuchDevice,
                       "no core " + std::to_string(*oCore) + ": this machine has " + std::to_string(uCount));
    return Cores;
}

void g_AddCores(CDocument& rDocument, const std::vector<CInventoryEntry>& rCores) {
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
        for (const CQuantity& rQuantity : g_ReadCore(rCpu, sPath)) Readings.Push(rQuantity.ToJson());
        bool bSupported = false, bEnabled = false;
        rCpu.GetBoostState(&bSupported, &bEnabled);
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
                     {"boost", {{"supported", bSupported}, {"enabled", bEnabled}}},
                     {"readings", Readings},
                     {"pstates", g_ReadPstates(rCpu, sPath)}});
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
        rDocument.AddTable({"P-states, " + vxttools::g_CoreTitle(sCores) + " (clocks at a 200 MHz reference)",
                            {">Number", "Enabled", ">Core clock", ">Core voltage", ">NB clock", ">NB voltage", ">FID",
                             ">DID", ">VID", ">NB DID", ">NB VID", ">Idd div"},
                            std::move(rRows)});
    }
}

std::string g_BoostText(const CJson& rBoost) {
    return !rBoost["supported"].Flag() ? "not supported" : rBoost["enabled"].Flag() ? "on" : "off";
}

void g_AddCoreOverview(CDocument& rDocument) {
    CTextTable Table{
        "Cores",
        {"Core", ">Clock", ">Reference", ">Multiplier", ">Voltage", ">P-state", ">Temperature", "Boost", "Brand"}};
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
    rDocument.AddTable(std::move(Table));
    g_AddPstateTables(rDocument);
}

}  // namespace vxtctl
