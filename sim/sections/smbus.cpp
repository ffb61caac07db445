// [smbus ADDRESS]: a device on the SMBus.
#include "../machine_words.h"
#include "dump.h"
#include "inherit.h"

namespace vxtsim {

namespace {

constexpr size_t kRegisters = 256;

std::optional<uint8_t> g_ReadAddress(std::string_view sText) {
    const auto oAddress = g_Hex(sText, 2);
    return oAddress && *oAddress < 0x80 ? std::optional(static_cast<uint8_t>(*oAddress)) : std::nullopt;
}

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    const auto oAddress = g_ReadAddress(sArgument);
    if (!oAddress) return nullptr;
    return g_OpenDump(rReader, rReader.Machine().Smbus, *oAddress, kRegisters, sArgument);
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    for (const auto& [ucAddress, rData] : rMachine.Smbus) {
        rWriter.Heading("smbus " + g_HexText<2>(ucAddress));
        rWriter.Dump(rData);
    }
}

}  // namespace

const CSectionKind kSmbusSection = {
    "smbus",
    "[smbus ADDRESS] from 00 to 7F",
    "The registers of an SMBus device at its 7-bit address.",
    nullptr,
    g_Open,
    g_Write,
    g_InheritEntries<&CMachineDescription::Smbus>,
    g_ForgetEntry<&CMachineDescription::Smbus, g_ReadAddress>,
};

}  // namespace vxtsim
