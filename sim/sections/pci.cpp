// [pci BUS:DEVICE.FUNCTION]: the configuration space of a function.
#include "../machine_words.h"
#include "dump.h"
#include "inherit.h"

namespace vxtsim {

namespace {

constexpr size_t kPlain = 256, kExtended = 4096;

size_t g_Round(size_t uSize) { return uSize > kPlain ? kExtended : kPlain; }

std::optional<CPciAddress> g_ReadAddress(std::string_view sText) {
    const size_t uColon = sText.find(':'), uPoint = sText.find('.');
    if (uColon == std::string_view::npos || uPoint == std::string_view::npos || uPoint < uColon) return std::nullopt;
    const auto oBus = g_Hex(sText.substr(0, uColon), 2);
    const auto oDevice = g_Hex(sText.substr(uColon + 1, uPoint - uColon - 1), 2);
    const auto oFunction = g_Hex(sText.substr(uPoint + 1), 1);
    if (!oBus || !oDevice || *oDevice > 31 || !oFunction || *oFunction > 7) return std::nullopt;
    return CPciAddress{static_cast<uint8_t>(*oBus), static_cast<uint8_t>(*oDevice), static_cast<uint8_t>(*oFunction)};
}

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    const auto oAddress = g_ReadAddress(sArgument);
    if (!oAddress) return nullptr;
    auto pSection = g_OpenDump(rReader, rReader.Machine().Pci, *oAddress, kExtended, sArgument, g_Round);
    return pSection && pSection->Grow(rReader, kPlain) ? std::move(pSection) : nullptr;
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    for (const auto& [Address, rData] : rMachine.Pci) {
        rWriter.Heading("pci " + g_HexText<2>(Address.ucBus) + ":" + g_HexText<2>(Address.ucDevice) + "." +
                        g_HexText<1>(Address.ucFunction));
        rWriter.Dump(rData);
    }
}

}  // namespace

const CSectionKind kPciSection = {
    "pci",
    "[pci BUS:DEVICE.FUNCTION]",
    "A PCI function's configuration space, as `lspci -xxxx` prints it.",
    nullptr,
    g_Open,
    g_Write,
    g_InheritEntries<&CMachineDescription::Pci>,
    g_ForgetEntry<&CMachineDescription::Pci, g_ReadAddress>,
};

}  // namespace vxtsim
