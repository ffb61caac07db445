// [fan PORT.N]: a fan that turns by the duty that its chip is told.
#include "../machine_words.h"
#include "../models/monitor_layouts.h"
#include "inherit.h"
#include "keys.h"

namespace vxtsim {

namespace {

constexpr uint32_t kSlowest = 100, kFastest = 30'000, kPercent = 100;

constexpr CKey<CFan> kKeys[] = {
    {"full_speed",
     [](CMachineReader& rReader, std::string_view sValue, CFan& rFan) {
         return rReader.Number(sValue, rFan.uFullSpeed, kFastest, kSlowest);
     },
     [](const CFan& rFan) { return g_ValueText(rFan.uFullSpeed); }, kAlways},
    {"idle_speed",
     [](CMachineReader& rReader, std::string_view sValue, CFan& rFan) {
         return rReader.Number(sValue, rFan.nIdleSpeed, kFastest, 0);
     },
     [](const CFan& rFan) { return g_ValueText(rFan.nIdleSpeed); }},
    {"start",
     [](CMachineReader& rReader, std::string_view sValue, CFan& rFan) {
         return rReader.Number(sValue, rFan.uStart, kPercent);
     },
     [](const CFan& rFan) { return g_ValueText(rFan.uStart); }},
};

std::optional<CFanPlace> g_ReadPlace(std::string_view sText) {
    const size_t uPoint = std::min(sText.find('.'), sText.size());
    const auto oPort = g_Hex(sText.substr(0, uPoint), 4),
               oFan = g_Hex(sText.substr(std::min(uPoint + 1, sText.size())), 1);
    if (!oPort || !oFan) return std::nullopt;
    return CFanPlace{static_cast<uint16_t>(*oPort), static_cast<uint8_t>(*oFan)};
}

class CFanSection final : public CKeySection<CFan> {
public:
    using CKeySection::CKeySection;

private:
    bool Close(CMachineReader& rReader) override {
        return m_rRecord.uFullSpeed != 0 || rReader.Fail("full_speed of the fan", "none");
    }
};

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    const auto oPlace = g_ReadPlace(sArgument);
    if (!oPlace) return nullptr;
    CFan Fan;
    if (rReader.Base())
        if (const auto it = rReader.Base()->Fans.find(*oPlace); it != rReader.Base()->Fans.end()) Fan = it->second;
    const auto [it, bNew] = rReader.Machine().Fans.try_emplace(*oPlace, Fan);
    if (!bNew) return rReader.FailTwice("fan", sArgument), nullptr;
    rReader.AtEnd([Place = *oPlace, sShown = std::string(sArgument)](CMachineReader& rLater) {
        const CMonitorLayout* const pLayout = g_FindMonitorLayout(rLater.Machine(), Place.usPort);
        if (!pLayout) return rLater.Fail("a fan of a chip that the machine has", sShown);
        return Place.ucFan < pLayout->ucFans ||
               rLater.Fail("a fan from 0 to " + std::to_string(pLayout->ucFans - 1), sShown);
    });
    return std::make_unique<CFanSection>(kKeys, it->second);
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    for (const auto& [Place, rFan] : rMachine.Fans) {
        rWriter.Heading("fan " + g_HexText<2>(Place.usPort) + "." + g_HexText<1>(Place.ucFan));
        g_WriteKeys(rWriter, kKeys, rFan);
    }
}

/// A fan goes with its chip.
void g_Inherit(CMachineDescription& rMachine, const CMachineDescription& rBase) {
    for (const auto& [Place, rFan] : rBase.Fans) {
        const CMonitorLayout* const pLayout = g_FindMonitorLayout(rMachine, Place.usPort);
        if (pLayout && Place.ucFan < pLayout->ucFans) rMachine.Fans.try_emplace(Place, rFan);
    }
}

}  // namespace

const CSectionKind kFanSection = {
    "fan",
    "[fan PORT.N]",
    "A fan at a tachometer of the chip at that port, which turns as the chip's duty says.",
    g_KeyNames<kKeys>,
    g_Open,
    g_Write,
    g_Inherit,
    g_ForgetEntry<&CMachineDescription::Fans, g_ReadPlace>,
};

}  // namespace vxtsim
