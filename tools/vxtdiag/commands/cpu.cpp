// vxtdiag cpu: what the library knows of a core beyond the operations that hosts can call.
#include <type_traits>

#include "candidates.h"
#include "common/command.h"
#include "common/core_tables.h"
#include "common/text.h"
#include "devices/cpu/cpu_devices.h"
#include "devices/cpu/cpu_registers.h"
#include "devices/cpu/processor_tables.h"
#include "driver_session.h"
#include "firmware/acpi_table.h"
#include "hw/driver_handler.h"
#include "hw/processor_family.h"
#include "platform/system.h"
#include "registers/scope_exit.h"

namespace vxtdiag {

using namespace vxttools;
using vxt::platform::CCpuidRegisters;

namespace {

constexpr uint32_t kAffinityBits = 32;

struct CWanted {
    std::optional<std::string> oCore;
};
constexpr COption<CWanted> kOptions[] = {
    {"CORE", "", "Core, 0 or cpu/0; all cores when left out", &CWanted::oCore, false, nullptr, g_CoreCandidates},
};

/// A CPUID bit that the library keeps. Source: the CPUID specification of the processors' maker.
struct CFeatureRow {
    const char* pszKey;
    const char* pszLabel;
    uint32_t uLeaf;
    uint32_t CCpuidRegisters::*pRegister;
    uint32_t uBit;
};
constexpr auto kEcx = &CCpuidRegisters::uEcx, kEdx = &CCpuidRegisters::uEdx;
constexpr uint32_t kStandard = vxt::cpuid::kSignature, kExtended = vxt::cpu::kCpuidExtendedSignature,
                   kPower = vxt::cpu::kCpuidPower;
constexpr CFeatureRow kFeatures[] = {
    {"fpu", "FPU", kExtended, kEdx, 0},
    {"vme", "VME", kExtended, kEdx, 1},
    {"de", "DE", kExtended, kEdx, 2},
    {"pse", "PSE", kExtended, kEdx, 3},
    {"tsc", "TSC", kExtended, kEdx, 4},
    {"msr", "MSR", kExtended, kEdx, 5},
    {"pae", "PAE", kExtended, kEdx, 6},
    {"mce", "MCE", kExtended, kEdx, 7},
    {"cmpxchg8b", "CMPXCHG8B", kExtended, kEdx, 8},
    {"apic", "APIC", kExtended, kEdx, 9},
    {"sysenter", "SYSENTER", kStandard, kEdx, 11},
    {"syscall", "SYSCALL", kExtended, kEdx, 11},
    {"mtrr", "MTRR", kStandard, kEdx, 12},
    {"pge", "PGE", kStandard, kEdx, 13},
    {"mca", "MCA", kStandard, kEdx, 14},
    {"cmov", "CMOV", kStandard, kEdx, 15},
    {"pat", "PAT", kStandard, kEdx, 16},
    {"pse36", "PSE36", kStandard, kEdx, 17},
    {"clflush", "CLFLUSH", kStandard, kEdx, 19},
    {"nx", "NX", kExtended, kEdx, 20},
    {"mmx", "MMX", kStandard, kEdx, 23},
    {"mmx_extensions", "MMX extensions", kExtended, kEdx, 22},
    {"fxsr", "FXSR", kStandard, kEdx, 24},
    {"fast_fxsr", "fast FXSR", kExtended, kEdx, 25},
    {"sse", "SSE", kStandard, kEdx, 25},
    {"sse2", "SSE2", kStandard, kEdx, 26},
    {"sse3", "SSE3", kStandard, kEcx, 0},
    {"threads", "several threads", kStandard, kEdx, 28},
    {"rdtscp", "RDTSCP", kExtended, kEdx, 27},
    {"long_mode", "long mode", kExtended, kEdx, 29},
    {"mmx_floats_extensions", "packed floats in MMX registers (extensions)", kExtended, kEdx, 30},
    {"mmx_floats", "packed floats in MMX registers", kExtended, kEdx, 31},
    {"lahf_long_mode", "LAHF in long mode", kExtended, kEcx, 0},
    {"several_cores", "several cores", kExtended, kEcx, 1},
    {"temperature_sensor", "temperature sensor", kPower, kEdx, 0},
    {"frequency_id_control", "frequency ID control", kPower, kEdx, 1},
    {"voltage_id_control", "voltage ID control", kPower, kEdx, 2},
    {"thermal_trip", "thermal trip", kPower, kEdx, 3},
};

/// A number of the core. 0 stands for what the processor lacks or does not tell.
struct CNumberRow {
    const char* pszKey;
    const char* pszLabel;
    const char* pszUnit;
    CPlausible Plausible;
    double (*pRead)(const vxt::CFamilyCPU&);
};
constexpr CPlausible kCount{1, 65'535}, kClock{1, 20'000}, kMultiplier{0.1, 200}, kVoltage{0.0001, 3};

constexpr uint8_t kAllWays = 0xFF;  ///< how the first level says: fully associative
/// The second level's code for its ways (CPUID function 8000_0006h); 0 where it is off or the code is reserved.
constexpr uint8_t kL2Ways[] = {0, 1, 2, 0, 4, 0, 8, 0, 16, 0, 32, 48, 64, 96, 128, kAllWays};

constexpr CNumberRow kCaches[] = {
    {"l1_data_size", "L1 data cache", "KB", kCount, [](const vxt::CFamilyCPU& r) { return r.GetCaches().adL1Data[0]; }},
    {"l1_data_ways", "L1 data cache, ways", "", kCount,
     [](const vxt::CFamilyCPU& r) { return r.GetCaches().adL1Data[1]; }},
    {"l1_data_lines_per_tag", "L1 data cache, lines per tag", "", kCount,
     [](const vxt::CFamilyCPU& r) { return r.GetCaches().adL1Data[2]; }},
    {"l1_data_line_size", "L1 data cache, line", "bytes", kCount,
     [](const vxt::CFamilyCPU& r) { return r.GetCaches().adL1Data[3]; }},
    {"l1_data_tlb_entries", "L1 data TLB, entries for large pages", "", kCount,
     [](const vxt::CFamilyCPU& r) { return r.GetCaches().adL1Tlb[1]; }},
    {"l1_data_tlb_ways", "L1 data TLB, ways", "", kCount,
     [](const vxt::CFamilyCPU& r) { return r.GetCaches().adL1Tlb[0]; }},
    {"l1_code_tlb_entries", "L1 code TLB, entries for large pages", "", kCount,
     [](const vxt::CFamilyCPU& r) { return r.GetCaches().adL1Tlb[3]; }},
    {"l1_code_tlb_ways", "L1 code TLB, ways", "", kCount,
     [](const vxt::CFamilyCPU& r) { return r.GetCaches().adL1Tlb[2]; }},
    {"l2_size", "L2 cache", "KB", kCount, [](const vxt::CFamilyCPU& r) { return r.GetCaches().dL2Size; }},
    {"l2_ways", "L2 cache, ways", "", kCount,
     [](const vxt::CFamilyCPU& r) -> double {
         return kL2Ways[static_cast<uint32_t>(r.GetCaches().dL2Associativity) % std::size(kL2Ways)];
     }},
    {"l2_lines_per_tag", "L2 cache, lines per tag", "", kCount,
     [](const vxt::CFamilyCPU& r) { return r.GetCaches().dL2LinesPerTag; }},
    {"l2_line_size", "L2 cache, line", "bytes", kCount,
     [](const vxt::CFamilyCPU& r) { return r.GetCaches().dL2LineSize; }},
};
constexpr CNumberRow kLimits[] = {
    {"nominal_clock", "Nominal clock at a 200 MHz reference", "MHz", kClock,
     [](const vxt::CFamilyCPU& r) { return r.GetNominalFrequency() / 1e6; }},
    {"start_multiplier", "Start multiplier", "", kMultiplier,
     [](const vxt::CFamilyCPU& r) { return r.GetFvInfo().dStartMultiplier; }},
    {"pstate0_multiplier", "Multiplier of P-state 0", "", kMultiplier,
     [](const vxt::CFamilyCPU& r) { return r.GetFvInfo().dPstate0Multiplier; }},
    {"max_multiplier", "Rated maximum multiplier", "", kMultiplier,
     [](const vxt::CFamilyCPU& r) { return r.GetFvInfo().dMaxMultiplier; }},
    {"start_voltage", "Start voltage", "V", kVoltage,
     [](const vxt::CFamilyCPU& r) { return r.GetFvInfo().dStartVoltage; }},
    {"min_voltage", "Minimum voltage", "V", kVoltage,
     [](const vxt::CFamilyCPU& r) { return r.GetFvInfo().dMinVoltage; }},
    {"max_voltage", "Maximum voltage", "V", kVoltage,
     [](const vxt::CFamilyCPU& r) { return r.GetFvInfo().dMaxVoltage; }},
    {"max_ramp_voltage", "Maximum ramp voltage", "V", kVoltage,
     [](const vxt::CFamilyCPU& r) { return r.GetFvInfo().dMaxRampVoltage; }},
};

template <size_t uCount>
CJson g_Numbers(const CNumberRow (&aRows)[uCount], const vxt::CFamilyCPU& rCpu, const std::string& sPath) {
    CJson Numbers = CJson::Array();
    for (const auto& [pszKey, pszLabel, pszUnit, rPlausible, pRead] : aRows) {
        CQuantity Quantity{sPath + "/" + pszKey, pszLabel, pszUnit};
        const double dRaw = pRead(rCpu);
        if (dRaw == 0)
            Quantity.sReason = "this processor does not tell it";
        else if (std::string_view(pszKey).ends_with("_ways") && dRaw == kAllWays)
            Quantity.sReason = "fully associative";
        else
            Quantity.Judge(dRaw, rPlausible);
        Numbers.Push(Quantity.ToJson());
    }
    return Numbers;
}

CJson g_TextOrNull(const wchar_t* pszText) {
    const std::string sText = g_Utf8(pszText);
    return sText.empty() ? nullptr : CJson(sText);
}

template <class TCpu> CJson g_Core(TCpu& rCpu, uint32_t uCore) {
    const std::string sPath = "/cpu/" + std::to_string(uCore);
    const uint32_t uSignature = vxt::g_IdentifyProcessor();
    CJson SteadyTsc;  // only family 10h's class looks at it
    if constexpr (requires { rCpu.HasSteadyTsc(); }) SteadyTsc = rCpu.HasSteadyTsc();
    CJson Features = CJson::Array();
    for (const auto& [pszKey, pszLabel, uLeaf, pRegister, uBit] : kFeatures)
        Features.Push({{"id", sPath + "/feature/" + pszKey},
                       {"label", pszLabel},
                       {"supported", rCpu.HasFeature(uLeaf, pRegister, uBit)}});
    return {{"id", sPath},
            {"index", uCore},
            {"name", g_Utf8(rCpu.GetName())},
            {"brand", g_Utf8(rCpu.GetModel())},
            {"signature", "0x" + g_Hex(uSignature, 8)},
            {"revision", g_TextOrNull(vxt::g_GetProcessorRevision(uSignature))},
            {"socket", g_TextOrNull(vxt::g_GetProcessorSocket(uSignature))},
            {"half_multiplier_steps", rCpu.GetSecondCapability()},
            {"steady_tsc", SteadyTsc},
            {"features", Features},
            {"caches", g_Numbers(kCaches, rCpu, sPath)},
            {"limits", g_Numbers(kLimits, rCpu, sPath)}};
}

/// The core by the class that drives it: the first that accepts it. Null when none does.
template <class... TCpus> CJson g_ReadCore(uint32_t uCore) {
    CJson Core;
    const auto Try = [&Core, uCore]<class TCpu>(std::type_identity<TCpu>) {
        TCpu Cpu(vxt::g_GetDriverHandler(), vxt::g_GetACPITable());
        if (!Cpu.Init(uCore)) return false;
        const vxt::CScopeExit UnInit([&Cpu] { Cpu.UnInit(); });
        Core = g_Core(Cpu, uCore);
        return true;
    };
    (void)(Try(std::type_identity<TCpus>()) || ...);
    return Core;
}

bool g_IsKnownFamily() {
    const uint32_t uSignature = vxt::g_IdentifyProcessor();
    return vxt::kFirstK8.Accepts(uSignature) || vxt::kRevisionF.Accepts(uSignature) ||
           vxt::kFamily10h.Accepts(uSignature) || vxt::kFamily11h.Accepts(uSignature);
}

std::string g_FeatureText(const CJson& rCore, bool bSupported) {
    std::string sText;
    for (const CJson& rFeature : rCore["features"].Items())
        if (rFeature["supported"].Flag() == bSupported) sText += (sText.empty() ? "" : ", ") + rFeature["label"].Text();
    return sText.empty() ? "-" : sText;
}

CCells g_Rows(const CJson& rCore) {
    CCells Rows;
    for (const auto& [pszKey, pszLabel] :
         {std::pair("brand", "Brand"), std::pair("signature", "Signature"), std::pair("revision", "Revision"),
          std::pair("socket", "Socket"), std::pair("half_multiplier_steps", "Multiplier moves by 0.5"),
          std::pair("steady_tsc", "TSC ticks steadily")})
        Rows.push_back({"  " + std::string(pszLabel), rCore[pszKey].IsNull() ? "not known" : g_Cell(rCore[pszKey])});
    for (const char* const pszKey : {"limits", "caches"})
        for (const CJson& rNumber : rCore[pszKey].Items()) {
            Rows.push_back({"  " + rNumber["label"].Text(),
                            rNumber["value"].IsNull() ? rNumber["reason"].Text() : g_Cell(rNumber, true)});
        }
    Rows.push_back({"  Features", g_FeatureText(rCore, true)});
    Rows.push_back({"  Features it lacks", g_FeatureText(rCore, false)});
    return Rows;
}

EExit g_Cpu(CTool& rTool, const CWanted& rWanted) {
    const auto oCore = rWanted.oCore ? std::optional(g_ParseCore(*rWanted.oCore, "CORE")) : std::nullopt;
    const CLibrarySession Library(rTool.Options());
    const CDriverSession Driver(Library);
    if (!vxt::g_InitProcessorTables()) throw CFailure(EExit::kFailed, "the processor tables name a signature twice");
    const uint32_t uCount = vxt::platform::ProcessorCount();
    const uint32_t uFirst = oCore.value_or(0);
    if (uFirst >= uCount)
        throw CFailure(EExit::kNoSuchDevice,
                       "no core " + std::to_string(uFirst) + ": this machine has " + std::to_string(uCount));
    if (uCount > kAffinityBits)
        rTool.Output().Note("cores from " + std::to_string(kAffinityBits) + " on read as those " +
                            std::to_string(kAffinityBits) + " below: the library pins threads to so many processors");
    if (!g_IsKnownFamily())
        throw CFailure(EExit::kNoSuchDevice, "this machine has no processor that the library knows");
    CDocument Document = rTool.NewDocument();
    CFindings Findings;
    CJson Cores = CJson::Array();
    for (uint32_t uCore = uFirst; uCore < uCount; ++uCore) {
        const CJson Core = g_ReadCore<vxt::CCorvel64CPU, vxt::CCorvel64X2CPU, vxt::CBrevikCPU, vxt::CTalvorCPU>(uCore);
        if (!Core.IsNull())
            Cores.Push(Core);
        else
            Findings.push_back("/cpu/" + std::to_string(uCore) + " could not be read");
        if (oCore) break;
    }
    for (const std::string& rsFinding : Driver.Findings()) Findings.push_back(rsFinding);
    for (auto& [sCores, rRows] : g_ShareRows(Cores, g_Rows))
        Document.AddTable({"Processor, " + g_CoreTitle(sCores), {"", ""}, std::move(rRows)});
    Document["cores"] = Cores;
    Document.SetCsv("cores");
    return g_EmitWithFindings(rTool, Document, Findings);
}

}  // namespace

extern constexpr CCommand kCpu{"cpu", "Show a core's features, caches, revision and limits",
                               "  vxtdiag cpu\n  vxtdiag cpu 0 --json", g_NewCall<CWanted, kOptions, g_Cpu>};

}  // namespace vxtdiag
