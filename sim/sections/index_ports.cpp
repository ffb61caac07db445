// [index_ports PORT]: registers behind an index port and the data port that follows it.
#include "../machine_words.h"
#include "dump.h"
#include "inherit.h"

namespace vxtsim {

namespace {

constexpr size_t kRegisters = 256;

/// The data port has to be one, too.
std::optional<uint16_t> g_ReadPort(std::string_view sText) {
    const auto oPort = g_Hex(sText, 4);
    return oPort && *oPort < 0xFFFF ? std::optional(static_cast<uint16_t>(*oPort)) : std::nullopt;
}

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    const auto oPort = g_ReadPort(sArgument);
    if (!oPort) return nullptr;
    return g_OpenDump(rReader, rReader.Machine().IndexPorts, *oPort, kRegisters, sArgument);
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    for (const auto& [usPort, rData] : rMachine.IndexPorts) {
        rWriter.Heading("index_ports " + g_HexText<2>(usPort));
        rWriter.Dump(rData);
    }
}

}  // namespace

const CSectionKind kIndexPortsSection = {
    "index_ports",
    "[index_ports PORT]",
    "Registers behind an index port and the data port that follows it.",
    nullptr,
    g_Open,
    g_Write,
    g_InheritEntries<&CMachineDescription::IndexPorts>,
    g_ForgetEntry<&CMachineDescription::IndexPorts, g_ReadPort>,
};

}  // namespace vxtsim
