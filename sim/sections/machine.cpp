// [machine]: what the PC is called, its cores and clocks, and what the file is based on.
#include <cmath>
#include <cstdio>

#include "../machine_words.h"
#include "keys.h"

namespace vxtsim {

namespace {

using CMachineKey = CKey<CMachineDescription>;

bool g_ReadCores(CMachineReader& rReader, std::string_view sValue, CMachineDescription& rMachine) {
    const auto oCores = g_Decimal(g_Trim(CMachineReader::WithoutComment(sValue)));
    if (!oCores || *oCores < 1 || *oCores > kMaximumCores) return rReader.Fail("1 to 64 cores", sValue);
    rMachine.uCores = static_cast<uint32_t>(*oCores);
    return true;
}

/// With up to six decimals; 0 for what is none.
double g_ReadMillionths(std::string_view sValue) {
    const auto oValue = g_Millionths(g_Trim(CMachineReader::WithoutComment(sValue)));
    return static_cast<double>(oValue.value_or(0)) / kMillion;
}

std::string g_MillionthsText(double dValue) {
    char szText[32];
    const auto ullValue = static_cast<uint64_t>(std::llround(dValue * kMillion));
    std::snprintf(szText, sizeof(szText), "%u.%06u", static_cast<uint32_t>(ullValue / kMillion),
                  static_cast<uint32_t>(ullValue % kMillion));
    return szText;
}

bool g_ReadClock(CMachineReader& rReader, std::string_view sValue, CMachineDescription& rMachine) {
    rMachine.dReferenceMHz = g_ReadMillionths(sValue);
    return (rMachine.dReferenceMHz >= kMinimumReferenceMHz && rMachine.dReferenceMHz <= kMaximumReferenceMHz) ||
           rReader.Fail("a clock of 1 to 1000 MHz", sValue);
}

bool g_ReadLoads(CMachineReader& rReader, std::string_view sValue, CMachineDescription& rMachine) {
    const bool bRetCode = rReader.List(
        sValue, rMachine.Loads, kMaximumCores,
        [&](std::string_view sWord, uint8_t& rucPercent) { return rReader.Number(sWord, rucPercent, 100); });
    if (bRetCode && !rMachine.Loads.empty()) rReader.NameCore(static_cast<uint32_t>(rMachine.Loads.size() - 1));
    return bRetCode;
}

bool g_ReadLoadPeriod(CMachineReader& rReader, std::string_view sValue, CMachineDescription& rMachine) {
    constexpr int64_t kDay = 86'400;
    return rReader.Number(sValue, rMachine.uLoadPeriod, kDay, 0);
}

/// A clock of the silicon's; what the two are to each other is looked at when both are known.
template <uint32_t CMachineDescription::*pClock>
bool g_ReadCoreClock(CMachineReader& rReader, std::string_view sValue, CMachineDescription& rMachine) {
    constexpr uint32_t kFastest = 100'000;
    rReader.AtEnd([](CMachineReader& rAtEnd) {
        const CMachineDescription& rWhole = rAtEnd.Machine();
        return rWhole.uHangCoreClock == 0 || rWhole.uHangCoreClock > rWhole.uMaxCoreClock ||
               rAtEnd.Fail("a hang_core_clock above max_core_clock, " + std::to_string(rWhole.uMaxCoreClock),
                           std::to_string(rWhole.uHangCoreClock));
    });
    return rReader.Number(sValue, rMachine.*pClock, kFastest, 1);
}

bool g_ReadMaxCoreClockVoltage(CMachineReader& rReader, std::string_view sValue, CMachineDescription& rMachine) {
    constexpr double kLowest = 0.1, kHighest = 3;
    rMachine.dMaxCoreClockVolts = g_ReadMillionths(sValue);
    return (rMachine.dMaxCoreClockVolts >= kLowest && rMachine.dMaxCoreClockVolts <= kHighest) ||
           rReader.Fail("a voltage of 0.1 to 3 V", sValue);
}

bool g_ReadMaxCoreClockSlope(CMachineReader& rReader, std::string_view sValue, CMachineDescription& rMachine) {
    constexpr uint32_t kSteepest = 10'000;
    return rReader.Number(sValue, rMachine.uMaxCoreClockSlope, kSteepest, 0);
}

bool g_ReadIdleClocks(CMachineReader& rReader, std::string_view sValue, CMachineDescription& rMachine) {
    constexpr uint32_t kFastest = 100'000'000;
    const bool bRetCode = rReader.List(
        sValue, rMachine.IdleClocks, kMaximumCores,
        [&](std::string_view sWord, uint32_t& rukHz) { return rReader.Number(sWord, rukHz, kFastest, 1); });
    if (bRetCode && !rMachine.IdleClocks.empty())
        rReader.NameCore(static_cast<uint32_t>(rMachine.IdleClocks.size() - 1));
    return bRetCode;
}

bool g_ReadDigest(CMachineReader& rReader, std::string_view sValue, CMachineDescription& rMachine) {
    const auto oDigest = g_Hex(g_Trim(CMachineReader::WithoutComment(sValue)), 16);
    rMachine.ullStateDigest = oDigest.value_or(0);
    return oDigest || rReader.Fail("a number of up to 16 digits", sValue);
}

std::string g_DigestText(const CMachineDescription& rMachine) {
    return g_HexText<8>(static_cast<uint32_t>(rMachine.ullStateDigest >> 32)) +
           g_HexText<8>(static_cast<uint32_t>(rMachine.ullStateDigest));
}

bool g_ReadBase(CMachineReader& rReader, std::string_view sValue, CMachineDescription& rMachine) {
    if (!rReader.BaseOn(g_Trim(CMachineReader::WithoutComment(sValue)))) return false;
    const CMachineDescription& rBase = *rReader.Base();
    rMachine.sName = rBase.sName, rMachine.uCores = rBase.uCores, rMachine.dReferenceMHz = rBase.dReferenceMHz;
    rMachine.Loads = rBase.Loads, rMachine.uLoadPeriod = rBase.uLoadPeriod;
    rMachine.uMaxCoreClock = rBase.uMaxCoreClock, rMachine.dMaxCoreClockVolts = rBase.dMaxCoreClockVolts;
    rMachine.uMaxCoreClockSlope = rBase.uMaxCoreClockSlope, rMachine.uHangCoreClock = rBase.uHangCoreClock;
    rMachine.IdleClocks = rBase.IdleClocks;
    return true;
}

constexpr CMachineKey kKeys[] = {
    {"based_on", g_ReadBase, nullptr},
    {"without",
     [](CMachineReader& rReader, std::string_view sValue, CMachineDescription&) { return rReader.Without(sValue); },
     nullptr},
    g_Key<&CMachineDescription::sName>("name", kAlways),
    {"cores", g_ReadCores, [](const CMachineDescription& rMachine) { return std::to_string(rMachine.uCores); },
     kAlways},
    {"reference_clock", g_ReadClock,
     [](const CMachineDescription& rMachine) { return g_MillionthsText(rMachine.dReferenceMHz); }, kAlways},
    {"load", g_ReadLoads, [](const CMachineDescription& rMachine) { return g_ValueText(rMachine.Loads); }},
    {"load_period", g_ReadLoadPeriod,
     [](const CMachineDescription& rMachine) { return std::to_string(rMachine.uLoadPeriod); }},
    {"max_core_clock", g_ReadCoreClock<&CMachineDescription::uMaxCoreClock>,
     [](const CMachineDescription& rMachine) { return std::to_string(rMachine.uMaxCoreClock); }},
    {"max_core_clock_voltage", g_ReadMaxCoreClockVoltage,
     [](const CMachineDescription& rMachine) { return g_MillionthsText(rMachine.dMaxCoreClockVolts); }},
    {"max_core_clock_slope", g_ReadMaxCoreClockSlope,
     [](const CMachineDescription& rMachine) { return std::to_string(rMachine.uMaxCoreClockSlope); }},
    {"hang_core_clock", g_ReadCoreClock<&CMachineDescription::uHangCoreClock>,
     [](const CMachineDescription& rMachine) { return std::to_string(rMachine.uHangCoreClock); }},
    {"idle_clocks", g_ReadIdleClocks,
     [](const CMachineDescription& rMachine) { return g_ValueText(rMachine.IdleClocks); }},
    g_Key<&CMachineDescription::sStateOf>("state_of"),
    {"state_digest", g_ReadDigest, g_DigestText},
};

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    if (!sArgument.empty()) return nullptr;
    return std::make_unique<CKeySection<CMachineDescription>>(kKeys, rReader.Machine());
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    rWriter.Heading("machine");
    g_WriteKeys(rWriter, kKeys, rMachine);
}

/// The base's values are there from the start; cores that the machine lacks have no load.
void g_Inherit(CMachineDescription& rMachine, const CMachineDescription& rBase) {
    if (rMachine.Loads == rBase.Loads && rMachine.Loads.size() > rMachine.uCores)
        rMachine.Loads.resize(rMachine.uCores);
    if (rMachine.IdleClocks == rBase.IdleClocks && rMachine.IdleClocks.size() > rMachine.uCores)
        rMachine.IdleClocks.resize(rMachine.uCores);
}

}  // namespace

const CSectionKind kMachineSection = {
    "machine", "[machine]", "The PC as a whole. Every file has this section.", g_KeyNames<kKeys>, g_Open, g_Write,
    g_Inherit, nullptr,
};

}  // namespace vxtsim
