// [display N]: a display adapter with its driver.
#include "../machine_words.h"
#include "inherit.h"
#include "keys.h"

namespace vxtsim {

namespace {

constexpr uint32_t kMostOutputs = 8;
constexpr size_t kName = 127, kId = 127;  // the system's texts have 128 characters

constexpr CKey<CDisplayAdapter> kKeys[] = {
    g_TextKey<&CDisplayAdapter::sName, kName>("name", kAlways),
    g_TextKey<&CDisplayAdapter::sId, kId>("id"),
    {"outputs",
     [](CMachineReader& rReader, std::string_view sValue, CDisplayAdapter& rAdapter) {
         return rReader.Number(sValue, rAdapter.uOutputs, kMostOutputs, 1);
     },
     [](const CDisplayAdapter& rAdapter) { return g_ValueText(rAdapter.uOutputs); }},
    g_Key<&CDisplayAdapter::bAnswers>("answers"),
    g_Key<&CDisplayAdapter::bIntegrated>("integrated"),
    g_Key<&CDisplayAdapter::uClock>("engine_clock"),
    g_Key<&CDisplayAdapter::uLowest>("lowest_clock"),
    g_Key<&CDisplayAdapter::uHighest>("highest_clock"),
    g_Key<&CDisplayAdapter::uStep>("clock_step"),
    g_Key<&CDisplayAdapter::bStuck>("stuck"),
};

std::optional<uint32_t> g_ReadNumber(std::string_view sText) {
    const auto oNumber = g_Hex(sText, 1);
    return oNumber ? std::optional(static_cast<uint32_t>(*oNumber)) : std::nullopt;
}

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    const auto oNumber = g_ReadNumber(sArgument);
    if (!oNumber) return nullptr;
    CDisplayAdapter Adapter;
    if (rReader.Base())
        if (const auto it = rReader.Base()->Displays.find(*oNumber); it != rReader.Base()->Displays.end())
            Adapter = it->second;
    const auto [it, bNew] = rReader.Machine().Displays.try_emplace(*oNumber, std::move(Adapter));
    if (!bNew) return rReader.FailTwice("display", sArgument), nullptr;
    return std::make_unique<CKeySection<CDisplayAdapter>>(kKeys, it->second);
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    for (const auto& [uNumber, rAdapter] : rMachine.Displays) {
        rWriter.Heading("display " + g_HexText<1>(uNumber));
        g_WriteKeys(rWriter, kKeys, rAdapter);
    }
}

}  // namespace

const CSectionKind kDisplaySection = {
    "display",
    "[display N]",
    "A display adapter, and what its driver answers to the library's escape.",
    g_KeyNames<kKeys>,
    g_Open,
    g_Write,
    g_InheritEntries<&CMachineDescription::Displays>,
    g_ForgetEntry<&CMachineDescription::Displays, g_ReadNumber>,
};

}  // namespace vxtsim
