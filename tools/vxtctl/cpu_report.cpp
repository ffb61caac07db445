#include "cpu_report.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <thread>

#include "common/console.h"
#include "common/exit_code.h"
#include "common/text.h"
#include "device_types.h"

namespace vxtctl {

using vxtapi::CCPU;
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
bool _HasTripOffset(CCPU& rCpu) {
    return rCpu.GetFamily() == 0xF && rCpu.GetExtendedFamily() == 0 && rCpu.GetExtendedModel() <= 2;
}

double _Temperature(CCPU& rCpu) {
    double dTemperature = 0;
    if (_HasTripOffset(rCpu)) return dTemperature;
    if (const void* pThermal = rCpu.GetThermTrip()) std::memcpy(&dTemperature, pThermal, sizeof dTemperature);
    return dTemperature;
}

double _TripOffset(CCPU& rCpu) {
    int32_t nOffset = 0;
    const void* pThermal = _HasTripOffset(rCpu) ? rCpu.GetThermTrip() : nullptr;
    if (!pThermal) return -9999;  // zero is an offset
    std::memcpy(&nOffset, pThermal, sizeof nOffset);
    return nOffset;
}

double _CurrentPstate(CCPU& rCpu) {
    const uint32_t uPstate = g_HasPstates(rCpu) ? rCpu.GetCurPstate() : 0xFFFFFFFF;
    return uPstate == 0xFFFFFFFF ? -1.0 : uPstate;
}

double _MaxPstate(CCPU& rCpu) { return g_HasPstates(rCpu) ? rCpu.GetMaxPstate() : -1.0; }

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
    {"current_pstate", "Current P-state", "", kPstateNumber, _CurrentPstate},
    {"max_pstate", "Highest P-state number", "", kPstateNumber, _MaxPstate},
    {"temperature", "Temperature", "°C", kTemperature, _Temperature},
    {"thermal_trip_offset", "Thermal trip offset", "", {-63, 63, true}, _TripOffset},
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

std::optional<double> _Judged(double dRaw, const CPlausible& rPlausible) {
    CQuantity Quantity;
    Quantity.Judge(dRaw, rPlausible);
    return Quantity.dValue;
}

std::vector<CQuantity> _ReadCore(CCPU& rCpu, const std::string& sPath) {
    std::vector<CQuantity> Quantities{{sPath + "/reference_clock", "Reference clock (core clock / multiplier)", "MHz"}};
    for (const auto& [pszKey, pszLabel, pszUnit, rPlausible, pRead] : kReadings) {
        CQuantity& rQuantity = Quantities.emplace_back(CQuantity{sPath + "/" + pszKey, pszLabel, pszUnit});
        rQuantity.Judge(pRead(rCpu), rPlausible);
    }
    const auto Value = [&](const char* pszKey) {
        return std::ranges::find(Quantities, sPath + "/" + pszKey, &CQuantity::sId);
    };
    // The library measures it but does not hand it out.
    const std::optional<double> oClock = Value("core_clock")->dValue, oMultiplier = Value("multiplier")->dValue;
    Quantities.front().Judge(oClock && oMultiplier ? *oClock / *oMultiplier : 0, {1, 2'000});
    if (rCpu.IsMultiplierLimited()) Value("multiplier")->Limits.dMaximum = Value("max_multiplier")->dValue;
    if (const auto oMaximum = Value("max_pstate")->dValue) Value("current_pstate")->Limits = {0, oMaximum};
    return Quantities;
}

CJson _ReadPstate(CCPU& rCpu, uint32_t uPstate, const std::string& sPath) {
    vxtapi::CPstate State{};
    const bool bRead = rCpu.GetPstate(uPstate, &State);
    CJson Pstate{{"id", sPath}, {"number", uPstate}, {"enabled", bRead ? CJson(State.bPstateEn) : CJson(nullptr)}};
    for (const auto& [pszKey, pField] : kPstateFields)
        Pstate[pszKey] =
            bRead && State.*pField >= 0 && State.*pField <= 255 ? CJson(std::lround(State.*pField)) : CJson(nullptr);
    for (const auto& [pszKey, pszLabel, pszUnit, rPlausible, pField] : kPstateReadings) {
        CQuantity Quantity{sPath + "/" + pszKey, pszLabel, pszUnit};
        Quantity.Judge(bRead ? State.*pField : 0, rPlausible);
        Pstate[pszKey] = Quantity.ToJson();
    }
    return Pstate;
}

CJson _ReadPstates(CCPU& rCpu, const std::string& sPath) {
    CJson Pstates = CJson::array();
    if (!g_HasPstates(rCpu)) return Pstates;
    const uint32_t uLast = std::min(rCpu.GetMaxPstate(), 7u);
    for (uint32_t i = 0; i <= uLast; ++i)
        Pstates.push_back(_ReadPstate(rCpu, i, sPath + "/pstate/" + std::to_string(i)));
    return Pstates;
}

/// The rows of several cores, told once where they are equal: ("0-3", rows).
using CSharedRows = std::vector<std::pair<std::string, std::vector<std::vector<std::string>>>>;

CSharedRows _ShareRows(const CJson& rCores,
                       const std::function<std::vector<std::vector<std::string>>(const CJson&)>& rRows) {
    CSharedRows Shared;
    std::string sFirst;
    for (const CJson& rCore : rCores) {
        const std::string sIndex = g_Cell(rCore.at("index"));
        std::vector<std::vector<std::string>> Rows = rRows(rCore);
        if (!Shared.empty() && Shared.back().second == Rows) {
            Shared.back().first = sFirst + "-" + sIndex;
        } else {
            sFirst = sIndex;
            Shared.emplace_back(sIndex, std::move(Rows));
        }
    }
    return Shared;
}

std::string _CoreTitle(const std::string& sCores) {
    return (sCores.find('-') == std::string::npos ? "core " : "cores ") + sCores;
}

void _AddPstateTables(CDocument& rDocument) {
    const auto Rows = [](const CJson& rCore) {
        std::vector<std::vector<std::string>> Cells;
        for (const CJson& rPstate : rCore.at("pstates")) {
            std::vector<std::string>& rRow = Cells.emplace_back();
            rRow = {g_Cell(rPstate.at("number")), g_Cell(rPstate.at("enabled"))};
            for (const CPstateReadingRow& rReading : kPstateReadings)
                rRow.push_back(g_Cell(rPstate.at(rReading.pszKey), true));
            for (const CPstateFieldRow& rField : kPstateFields) rRow.push_back(g_Cell(rPstate.at(rField.pszKey)));
        }
        return Cells;
    };
    for (auto& [sCores, rRows] : _ShareRows(std::as_const(rDocument)["cores"], Rows)) {
        if (rRows.empty()) continue;  // a family without P-states
        rDocument.AddTable({"P-states, " + _CoreTitle(sCores) + " (clocks at a 200 MHz reference)",
                            {">Number", "Enabled", ">Core clock", ">Core voltage", ">NB clock", ">NB voltage", ">FID",
                             ">DID", ">VID", ">NB DID", ">NB VID", ">Idd div"},
                            std::move(rRows)});
    }
}

std::string _BoostText(const CJson& rBoost) {
    return !rBoost.at("supported").get<bool>() ? "not supported" : rBoost.at("enabled").get<bool>() ? "on" : "off";
}

}  // namespace

bool g_HasPstates(CCPU& rCpu) {
    vxtapi::CPstate State{};
    return rCpu.GetMaxPstate() > 0 || rCpu.GetPstate(0, &State);  // families without them answer 0 and false
}

std::optional<double> g_ReadMultiplier(CCPU& rCpu) { return _Judged(rCpu.GetCurrentMultiplier(), kMultiplier); }
std::optional<double> g_ReadVoltage(CCPU& rCpu) { return _Judged(rCpu.GetCurrentVoltage(), kVoltage); }
std::optional<double> g_ReadCurrentPstate(CCPU& rCpu) { return _Judged(_CurrentPstate(rCpu), kPstateNumber); }

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

    CJson& rArray = rDocument["cores"] = CJson::array();
    for (const CInventoryEntry& rCore : rCores) {
        if (vxttools::g_WasInterrupted()) throw CFailure(EExit::kInterrupted, "interrupted");
        CCPU& rCpu = Cpu(rCore);
        const std::string sPath = g_DevicePath(vxtapi::kDeviceCpu, rCore.uIndex);
        CJson Readings = CJson::array();
        for (const CQuantity& rQuantity : _ReadCore(rCpu, sPath)) Readings.push_back(rQuantity.ToJson());
        bool bSupported = false, bEnabled = false;
        rCpu.GetBoostState(&bSupported, &bEnabled);
        rArray.push_back({{"id", sPath},
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
                          {"pstates", _ReadPstates(rCpu, sPath)}});
    }

    std::this_thread::sleep_until(Begin + kUsageWindow);
    for (size_t i = 0; i < rCores.size(); ++i) {
        CQuantity Usage{rArray[i].at("id").get<std::string>() + "/usage", "Usage", "%"};
        Usage.Limits = {0, 100};
        Usage.Judge(std::floor(Cpu(rCores[i]).GetCurrentUsage()),
                    {0, 100, true});  // comes with 0.5 added: for rounding
        rArray[i].at("readings").push_back(Usage.ToJson());
    }
}

void g_AddCoreTables(CDocument& rDocument) {
    const CJson& rCores = std::as_const(rDocument)["cores"];
    const auto Identification = [](const CJson& rCore) {
        std::vector<std::vector<std::string>> Rows;
        for (const char* pszKey : {"brand", "description", "vendor", "name", "version"})
            Rows.push_back({"  " + std::string(pszKey), g_Cell(rCore.at(pszKey))});
        Rows.push_back({"  multiplier limit", rCore.at("multiplier_limited").get<bool>() ? "rated maximum" : "none"});
        Rows.push_back({"  boost", _BoostText(rCore.at("boost"))});
        return Rows;
    };
    for (auto& [sCores, rRows] : _ShareRows(rCores, Identification))
        rDocument.AddTable({"Processor, " + _CoreTitle(sCores), {"", ""}, std::move(rRows)});

    constexpr size_t kCoresPerTable = 8;  // fits a terminal of ordinary width
    for (size_t uFirst = 0; uFirst < rCores.size(); uFirst += kCoresPerTable) {
        const size_t uEnd = std::min(uFirst + kCoresPerTable, rCores.size());
        CTextTable Table{"Readings", {"", ""}};
        for (size_t i = uFirst; i < uEnd; ++i) Table.Columns.push_back(">Core " + g_Cell(rCores[i].at("index")));
        for (size_t uReading = 0; uReading < rCores[uFirst].at("readings").size(); ++uReading) {
            const CJson& rReading = rCores[uFirst].at("readings")[uReading];
            std::vector<std::string>& rRow = Table.Rows.emplace_back();
            rRow = {"  " + g_Cell(rReading.at("label")), g_Cell(rReading.at("unit"))};
            for (size_t i = uFirst; i < uEnd; ++i) rRow.push_back(g_Cell(rCores[i].at("readings")[uReading]));
        }
        rDocument.AddTable(std::move(Table));
    }
    _AddPstateTables(rDocument);
}

void g_AddCoreOverview(CDocument& rDocument) {
    CTextTable Table{
        "Cores",
        {"Core", ">Clock", ">Reference", ">Multiplier", ">Voltage", ">P-state", ">Temperature", "Boost", "Brand"}};
    for (const CJson& rCore : std::as_const(rDocument)["cores"]) {
        const auto Reading = [&](const char* pszKey) {
            const std::string sId = rCore.at("id").get<std::string>() + "/" + pszKey;
            for (const CJson& rReading : rCore.at("readings"))
                if (rReading.at("id") == sId) return g_Cell(rReading, true);
            return std::string("-");
        };
        Table.Rows.push_back({g_Cell(rCore.at("index")), Reading("core_clock"), Reading("reference_clock"),
                              Reading("multiplier"), Reading("core_voltage"), Reading("current_pstate"),
                              Reading("temperature"), _BoostText(rCore.at("boost")), g_Cell(rCore.at("brand"))});
    }
    rDocument.AddTable(std::move(Table));
    _AddPstateTables(rDocument);
}

}  // namespace vxtctl
