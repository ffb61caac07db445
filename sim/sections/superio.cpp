// [superio PORT] and its parts: a Super I/O chip.
#include "../machine_words.h"
#include "../models/monitor_layouts.h"
#include "dump.h"
#include "inherit.h"

namespace vxtsim {

namespace {

/// "2E", "2E device 4" or "2E monitor".
std::optional<CSuperIoPart> g_ReadPart(std::string_view sText) {
    const auto oPort = g_Hex(g_TakeWord(sText), 2);
    if (!oPort || !g_IsSuperIoPort(static_cast<uint16_t>(*oPort))) return std::nullopt;
    CSuperIoPart Part{static_cast<uint16_t>(*oPort)};
    const std::string_view sKind = g_TakeWord(sText), sDevice = g_TakeWord(sText);
    if (sKind == "monitor" && sDevice.empty()) Part.eKind = CSuperIoPart::kMonitor;
    if (const auto oDevice = g_Hex(sDevice, 2); sKind == "device" && oDevice && g_Trim(sText).empty())
        Part.eKind = CSuperIoPart::kDevice, Part.ucDevice = static_cast<uint8_t>(*oDevice);
    return sKind.empty() || Part.eKind != CSuperIoPart::kGlobal ? std::optional(Part) : std::nullopt;
}

/// The file needs the chip that its part belongs to.
bool g_CheckChip(CMachineReader& rReader, uint16_t usPort) {
    if (g_FindSuperIoChip(rReader.Machine(), usPort)) return true;
    std::string sKnown;
    for (const CSuperIoChip& rChip : g_SuperIoChips())
        sKnown += (sKnown.empty() ? "" : ", ") + g_HexText<4>(rChip.usId);
    return rReader.Fail("one of " + sKnown + " in registers 20 and 21 of [superio " + g_HexText<2>(usPort) + "]",
                        g_HexText<4>(g_SuperIoChipId(rReader.Machine(), usPort)));
}

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    const auto oPart = g_ReadPart(sArgument);
    if (!oPart) return nullptr;
    rReader.AtEnd([usPort = oPart->usPort](CMachineReader& rLater) { return g_CheckChip(rLater, usPort); });
    return g_OpenDump(rReader, rReader.Machine().SuperIo, *oPart,
                      oPart->eKind == CSuperIoPart::kGlobal ? CSuperIoPart::kGlobals : CSuperIoPart::kRegisters,
                      sArgument, CDumpSection::AsItIs,
                      oPart->eKind == CSuperIoPart::kDevice ? CSuperIoPart::kGlobals : 0);
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    for (const auto& [Part, rData] : rMachine.SuperIo) {
        std::string sHeading = "superio " + g_HexText<2>(Part.usPort);
        if (Part.eKind == CSuperIoPart::kDevice) sHeading += " device " + g_HexText<1>(Part.ucDevice);
        if (Part.eKind == CSuperIoPart::kMonitor) sHeading += " monitor";
        rWriter.Heading(sHeading);
        rWriter.Dump(rData);
    }
}

/// Without its global registers there is no chip: naming these forgets its other parts and its fans, too.
bool g_Forget(CMachineDescription& rMachine, std::string_view sArgument) {
    const auto oPart = g_ReadPart(sArgument);
    if (!sArgument.empty() && !oPart) return false;
    if (oPart && oPart->eKind != CSuperIoPart::kGlobal) return rMachine.SuperIo.erase(*oPart) != 0;
    const auto IsMeant = [&](uint16_t usPort) { return oPart ? usPort == oPart->usPort : g_IsSuperIoPort(usPort); };
    std::erase_if(rMachine.Fans, [&](const auto& rEntry) { return IsMeant(rEntry.first.usPort); });
    return std::erase_if(rMachine.SuperIo, [&](const auto& rEntry) { return IsMeant(rEntry.first.usPort); }) != 0;
}

}  // namespace

const CSectionKind kSuperIoSection = {
    "superio",
    "[superio PORT], [superio PORT device N] or [superio PORT monitor]; PORT is 2E or 4E",
    "A Super I/O chip: its global registers, those of a logical device, and its hardware monitor's.",
    nullptr,
    g_Open,
    g_Write,
    g_InheritEntries<&CMachineDescription::SuperIo>,
    g_Forget,
};

}  // namespace vxtsim
