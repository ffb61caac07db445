// [memory ADDRESS]: a region of physical memory.
#include "../machine_words.h"
#include "dump.h"
#include "inherit.h"

namespace vxtsim {

namespace {

std::optional<uint64_t> g_ReadAddress(std::string_view sText) { return g_Hex(sText, 16); }

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    const auto oAddress = g_ReadAddress(sArgument);
    if (!oAddress) return nullptr;
    const uint64_t ullLimit = std::min<uint64_t>(CMachineReader::kMaximumRegion, ~*oAddress);  // up to the last byte
    return g_OpenDump(rReader, rReader.Machine().Memory, *oAddress, static_cast<size_t>(ullLimit), sArgument);
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    for (const auto& [ullAddress, rData] : rMachine.Memory) {
        rWriter.Heading("memory " + g_HexText<1>(static_cast<uint32_t>(ullAddress >> 32)) +
                        g_HexText<8>(static_cast<uint32_t>(ullAddress)));
        rWriter.Dump(rData);
    }
}

}  // namespace

const CSectionKind kMemorySection = {
    "memory",
    "[memory ADDRESS]",
    "A region of physical memory; offsets count from its address.",
    nullptr,
    g_Open,
    g_Write,
    g_InheritEntries<&CMachineDescription::Memory>,
    g_ForgetEntry<&CMachineDescription::Memory, g_ReadAddress>,
};

}  // namespace vxtsim
