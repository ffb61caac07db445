// [firmware item]: a setup item of the firmware.
#include "../machine_words.h"
#include "firmware_part.h"
#include "keys.h"

namespace vxtsim {

namespace {

constexpr CKey<CFirmwareItem> kKeys[] = {
    g_TextKey<&CFirmwareItem::sName, CFirmwareItem::kNameBytes>("name", kAlways),
    g_Key<&CFirmwareItem::usValue>("value", kAlways),
    {"options",
     [](CMachineReader& rReader, std::string_view sValue, CFirmwareItem& rItem) {
         return rReader.Texts(g_Trim(sValue), rItem.Options, CFirmwareItem::kOptions, CFirmwareItem::kOptionBytes);
     },
     [](const CFirmwareItem& rItem) { return g_TextsText(rItem.Options); }},
};

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    CFirmwareDescription* const pFirmware = g_FirmwareOf(rReader);
    if (!pFirmware || !sArgument.empty() || !rReader.MayAdd(pFirmware->Items.size())) return nullptr;
    return std::make_unique<CKeySection<CFirmwareItem>>(kKeys, pFirmware->Items.emplace_back());
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    if (!rMachine.oFirmware) return;
    for (const CFirmwareItem& rItem : rMachine.oFirmware->Items) {
        rWriter.Heading("firmware item");
        g_WriteKeys(rWriter, kKeys, rItem);
    }
}

/// Items are known by their number: a machine has its own or its base's.
void g_Inherit(CMachineDescription& rMachine, const CMachineDescription& rBase) {
    g_InheritPart(rMachine, rBase, [](auto& rOwn, const auto& rOld) {
        if (rOwn.Items.empty()) rOwn.Items = rOld.Items;
    });
}

bool g_Forget(CMachineDescription& rMachine, std::string_view sArgument) {
    return g_ForgetPart<&CFirmwareDescription::Items>(rMachine, [&](const auto&) { return sArgument.empty(); });
}

}  // namespace

const CSectionKind kFirmwareItemSection = {
    "firmware item",
    "[firmware item]",
    "A setup item, numbered from 1 in file order.",
    g_KeyNames<kKeys>,
    g_Open,
    g_Write,
    g_Inherit,
    g_Forget,
};

}  // namespace vxtsim
