// [firmware]: the board firmware behind the class QOR_ACPI; its parts have sections of their own.
#include "../machine_words.h"
#include "keys.h"

namespace vxtsim {

namespace {

bool g_ReadCommands(CMachineReader& rReader, std::string_view sValue, CFirmwareDescription& rFirmware) {
    return rReader.List(sValue, rFirmware.Commands, CMachineReader::kMaximumEntries,
                        [&](std::string_view sWord, uint32_t& ruCode) {
                            const auto oCode = g_Hex(sWord, 8);
                            ruCode = static_cast<uint32_t>(oCode.value_or(0));
                            return oCode || rReader.Fail("command codes of up to 8 digits", sWord);
                        });
}

bool g_ReadGraphics(CMachineReader& rReader, std::string_view sValue, CFirmwareDescription& rFirmware) {
    std::vector<uint8_t> Bytes;
    if (!rReader.Bytes(sValue, Bytes, 2)) return false;
    if (Bytes.size() != 2) return rReader.Fail("information and presence byte", sValue);
    rFirmware.ucGraphics = Bytes[0], rFirmware.ucGraphicsPresent = Bytes[1];
    return true;
}

constexpr CKey<CFirmwareDescription> kKeys[] = {
    g_Key<&CFirmwareDescription::nVersion>("version", kAlways),
    {"commands", g_ReadCommands,
     [](const CFirmwareDescription& rFirmware) { return g_Joined(rFirmware.Commands, ' ', g_HexText<8>); }, kAlways},
    g_TextKey<&CFirmwareDescription::sVendor, CFirmwareDescription::kVendorBytes>("vendor", kAlways),
    {"graphics", g_ReadGraphics,
     [](const CFirmwareDescription& rFirmware) {
         return g_BytesText({rFirmware.ucGraphics, rFirmware.ucGraphicsPresent});
     },
     kAlways},
    g_Key<&CFirmwareDescription::bStaticMethods>("static_methods"),
};

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    auto& roFirmware = rReader.Machine().oFirmware;
    if (!sArgument.empty()) return nullptr;
    if (roFirmware) return rReader.Fail("one firmware", "another"), nullptr;
    roFirmware.emplace();
    if (rReader.Base() && rReader.Base()->oFirmware) {
        roFirmware = rReader.Base()->oFirmware;
        roFirmware->Objects.clear(), roFirmware->Items.clear(), roFirmware->Results.clear(),
            roFirmware->Answers.clear();
    }
    return std::make_unique<CKeySection<CFirmwareDescription>>(kKeys, *roFirmware);
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    if (!rMachine.oFirmware) return;
    rWriter.Heading("firmware");
    g_WriteKeys(rWriter, kKeys, *rMachine.oFirmware);
}

/// With its parts where the machine says nothing of a firmware; else the parts pass themselves on.
void g_Inherit(CMachineDescription& rMachine, const CMachineDescription& rBase) {
    if (!rMachine.oFirmware) rMachine.oFirmware = rBase.oFirmware;
}

bool g_Forget(CMachineDescription& rMachine, std::string_view sArgument) {
    const bool bHad = sArgument.empty() && rMachine.oFirmware;
    if (bHad) rMachine.oFirmware.reset();
    return bHad;
}

}  // namespace

const CSectionKind kFirmwareSection = {
    "firmware",        "[firmware]", "The board firmware behind the class QOR_ACPI. Stands before its parts.",
    g_KeyNames<kKeys>, g_Open,       g_Write,
    g_Inherit,         g_Forget,
};

}  // namespace vxtsim
