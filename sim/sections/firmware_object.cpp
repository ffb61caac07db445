// [firmware object ID]: a tunable object of the firmware.
#include "../machine_words.h"
#include "firmware_part.h"
#include "inherit.h"
#include "keys.h"

namespace vxtsim {

namespace {

constexpr CKey<CFirmwareObject> kKeys[] = {
    g_Key<&CFirmwareObject::sName>("name", kAlways),
    g_Key<&CFirmwareObject::uProperty>("property"),
    g_Key<&CFirmwareObject::nValue>("value", kAlways),
    g_Key<&CFirmwareObject::Values>("values"),
    g_Key<&CFirmwareObject::Info>("info"),
    g_Key<&CFirmwareObject::nStatus>("status"),
    g_Key<&CFirmwareObject::bStuck>("stuck"),
};

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    const auto oId = g_Hex(sArgument, 8);
    CFirmwareDescription* const pFirmware = g_FirmwareOf(rReader);
    if (!oId || !pFirmware) return nullptr;
    const auto Find = [&](const std::vector<CFirmwareObject>& rObjects) {
        const auto it = std::ranges::find(rObjects, *oId, &CFirmwareObject::uId);
        return it == rObjects.end() ? nullptr : &*it;
    };
    if (Find(pFirmware->Objects)) return rReader.FailTwice("object", sArgument), nullptr;
    if (!rReader.MayAdd(pFirmware->Objects.size())) return nullptr;
    const auto* const pBase =
        rReader.Base() && rReader.Base()->oFirmware ? Find(rReader.Base()->oFirmware->Objects) : nullptr;
    CFirmwareObject& rObject = pFirmware->Objects.emplace_back(pBase ? *pBase : CFirmwareObject());
    rObject.uId = static_cast<uint32_t>(*oId);
    return std::make_unique<CKeySection<CFirmwareObject>>(kKeys, rObject);
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    if (!rMachine.oFirmware) return;
    for (const CFirmwareObject& rObject : rMachine.oFirmware->Objects) {
        rWriter.Heading("firmware object " + g_HexText<8>(rObject.uId));
        g_WriteKeys(rWriter, kKeys, rObject);
    }
}

void g_Inherit(CMachineDescription& rMachine, const CMachineDescription& rBase) {
    g_InheritPart(rMachine, rBase, [](auto& rOwn, const auto& rOld) {
        g_InheritElements(rOwn.Objects, rOld.Objects, [](const auto& rObject) { return rObject.uId; });
    });
}

bool g_Forget(CMachineDescription& rMachine, std::string_view sArgument) {
    return g_ForgetPart<&CFirmwareDescription::Objects>(rMachine, [&](const CFirmwareObject& rObject) {
        return sArgument.empty() || g_Hex(sArgument, 8) == rObject.uId;
    });
}

}  // namespace

const CSectionKind kFirmwareObjectSection = {
    "firmware object",
    "[firmware object ID]",
    "A tunable object, listed in file order: kHz, mV or plain numbers.",
    g_KeyNames<kKeys>,
    g_Open,
    g_Write,
    g_Inherit,
    g_Forget,
};

}  // namespace vxtsim
