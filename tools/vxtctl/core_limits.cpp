#include "core_limits.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "common/text.h"
#include "core_family.h"
#include "cpu_report.h"

namespace vxtctl {

using vxtapi::CCPU;
using vxttools::g_FormatValue;

namespace {

constexpr double kStep = 0.5;         ///< multiplier of 100 MHz
constexpr double kTolerance = 1e-3;   ///< of a multiplier or a voltage that was read back
constexpr uint32_t kPstateCount = 8;  ///< that there can be

constexpr uint32_t g_FidOffset(EFamily eFamily) { return eFamily == EFamily::kFamily10h ? 16 : 8; }

double g_Multiplier(EFamily eFamily, double dFid, double dDid) {
    return (dFid + g_FidOffset(eFamily)) / std::exp2(dDid) * kStep;
}

std::vector<double> g_ExpressibleMultipliers(CCPU& rCpu, EFamily eFamily) {
    std::vector<double> Values;
    if (g_IsOneOf(eFamily, kK8)) {
        constexpr uint32_t kCodes = 64;
        const uint32_t uStep = rCpu.GetSecondCapability() ? 1 : 2;  // without steps of 100 MHz every second code counts
        for (uint32_t uFid = 0; uFid < kCodes; uFid += uStep) Values.push_back(4.0 + kStep * uFid);
    } else if (eFamily == EFamily::kFamily10h) {
        constexpr uint32_t kFids = 0x2F, kDids = 5;  // the library takes the smallest divisor that will do
        for (uint32_t uDid = 0; uDid < kDids; ++uDid)
            for (uint32_t uFid = 0; uFid < (uDid == 0 ? kFids : 16u); ++uFid)
                Values.push_back(g_Multiplier(eFamily, uFid, uDid));
    } else {
        constexpr uint32_t kHalves = 72;  // the divisor stays and halves are kept whole
        for (uint32_t uHalf = 1; uHalf < kHalves; ++uHalf) Values.push_back(uHalf * kStep);
    }
    return Values;
}

std::vector<double> g_ExpressibleVoltages(EFamily eFamily) {
    std::vector<double> Values;
    const auto Add = [&Values](double dFirst, double dStep, uint32_t uCodes) {
        for (uint32_t i = 0; i < uCodes; ++i) Values.push_back(std::round((dFirst - dStep * i) * 1e4) / 1e4);
    };
    if (g_IsOneOf(eFamily, kWithPstates)) {
        Add(1.55, 0.0125, 124);
        return Values;
    }
    Add(1.55, 0.025, 32);  // the first generation has five bits for it
    if (eFamily == EFamily::kRevisionF) Add(0.7625, 0.0125, 32);
    return Values;
}

/// Only what lies within the limits.
void g_SetLegal(CSetting& rSetting, std::vector<double> Values) {
    constexpr double kAny = std::numeric_limits<double>::infinity();
    const double dLowest = rSetting.Limits.oMinimum.value_or(-kAny) - kTolerance,
                 dHighest = rSetting.Limits.oMaximum.value_or(kAny) + kTolerance;
    std::erase_if(Values, [&](double d) { return d < dLowest || d > dHighest; });
    rSetting.SetLegal(std::move(Values));
}

}  // namespace

CCoreLimits::CCoreLimits(CCPU& rCpu)
    : Multiplier{.sKey = "multiplier", .sLabel = "Multiplier", .sUnit = "", .oValue = g_ReadMultiplier(rCpu)},
      Voltage{.sKey = "core_voltage", .sLabel = "Core voltage", .sUnit = "V", .oValue = g_ReadVoltage(rCpu)},
      NbVoltage{.sKey = "nb_voltage", .sLabel = "North-bridge voltage", .sUnit = "V", .oValue = g_ReadNbVoltage(rCpu)} {
    Multiplier.dTolerance = Voltage.dTolerance = NbVoltage.dTolerance = kTolerance;
    const auto Told = [](double d) { return d > 0 ? std::optional(d) : std::nullopt; };
    const EFamily eFamily = g_Family(rCpu);
    if (g_IsOneOf(eFamily, kWithPstates)) {
        const uint32_t uLast = std::min(rCpu.GetMaxPstate(), kPstateCount - 1);
        for (uint32_t i = 0; i <= uLast; ++i) {
            vxtapi::CPstate State{};
            if (!rCpu.GetPstate(i, &State) || !State.bPstateEn) continue;
            m_Pstates.push_back({{g_Multiplier(eFamily, State.dCpuFid, State.dCpuDid), State.dCoreVoltage}, i});
            if (const auto oNb = Told(State.dNbVoltage)) {
                auto& [oLowest, oHighest] = NbVoltage.Limits;
                oLowest = std::min(oLowest.value_or(*oNb), *oNb), oHighest = std::max(oHighest.value_or(*oNb), *oNb);
            }
            PstateNumbers.push_back(i);
        }
    }
    std::ranges::sort(m_Pstates, {}, &CPstatePoint::dMultiplier);
    Multiplier.Limits.oMaximum = Told(rCpu.GetMaxMultiplier());
    if (!m_Pstates.empty()) {
        const auto [Lowest, Highest] = std::ranges::minmax(m_Pstates, {}, &CPstatePoint::dVoltage);
        Multiplier.Limits.oMinimum = m_Pstates.front().dMultiplier;
        if (!Multiplier.Limits.oMaximum) Multiplier.Limits.oMaximum = m_Pstates.back().dMultiplier;
        Voltage.Limits = {Told(Lowest.dVoltage), Told(Highest.dVoltage)};
    } else if (g_IsOneOf(eFamily, kK8)) {
        // Revision F starts at its lowest voltage, the first generation at its usual one.
        if (eFamily == EFamily::kRevisionF) Voltage.Limits.oMinimum = Told(rCpu.GetStartVoltage());
        Voltage.Limits.oMaximum = Told(rCpu.GetMaxRampVoltage());
    }
    // Where the rated range is not known nothing is known to be legal.
    if (Multiplier.Limits.oMaximum) g_SetLegal(Multiplier, g_ExpressibleMultipliers(rCpu, eFamily));
    if (Voltage.Limits.oMaximum) g_SetLegal(Voltage, g_ExpressibleVoltages(eFamily));
    if (NbVoltage.Limits.oMaximum) g_SetLegal(NbVoltage, g_ExpressibleVoltages(eFamily));
}

const COperatingPoint* CCoreLimits::_PstateFor(double dMultiplier) const {
    if (m_Pstates.empty()) return nullptr;
    const auto Reaches = [&](const COperatingPoint& r) { return r.dMultiplier >= dMultiplier - kTolerance; };
    const auto it = std::ranges::find_if(m_Pstates, Reaches);
    return it == m_Pstates.end() ? &m_Pstates.back() : &*it;
}

std::string CCoreLimits::PstateText(uint32_t uNumber) const {
    const auto Text = [](double dMultiplier, double dVoltage) {
        return vxttools::g_Trimmed(dMultiplier, 4) + " at " + g_FormatValue(dVoltage, "V") + " V";
    };
    const auto it = std::ranges::find(m_Pstates, uNumber, &CPstatePoint::uNumber);
    if (it == m_Pstates.end() || !Multiplier.oValue || !Voltage.oValue) return "";
    return "from multiplier " + Text(*Multiplier.oValue, *Voltage.oValue) + " to " +
           Text(it->dMultiplier, it->dVoltage);
}

std::string CCoreLimits::WhyUnsafe(const COperatingPoint& rWanted) const {
    if (!Multiplier.oValue || !Voltage.oValue) return "the present multiplier and voltage cannot be read";
    const COperatingPoint Present{*Multiplier.oValue, *Voltage.oValue};
    const bool bFaster = rWanted.dMultiplier > Present.dMultiplier + kTolerance;
    const bool bLower = rWanted.dVoltage < Present.dVoltage - kTolerance;
    if (!bFaster && !bLower) return "";
    const COperatingPoint* const pPstate = _PstateFor(rWanted.dMultiplier);
    const bool bNotSlower = rWanted.dMultiplier >= Present.dMultiplier - kTolerance;
    const COperatingPoint* const pNeeded = pPstate ? pPstate : bNotSlower ? &Present : nullptr;
    if (!pNeeded || rWanted.dVoltage >= pNeeded->dVoltage - kTolerance) return "";
    return "multiplier " + vxttools::g_Trimmed(rWanted.dMultiplier, 4) + " needs " +
           g_FormatValue(pNeeded->dVoltage, "V") + " V at least, as " +
           (pPstate ? "the P-state of multiplier " + vxttools::g_Trimmed(pNeeded->dMultiplier, 4) : "it has now") +
           ", not " + g_FormatValue(rWanted.dVoltage, "V") + " V";
}

}  // namespace vxtctl
