// [ports]: plain readable and writable I/O ports.
#include "../machine_words.h"
#include "inherit.h"
#include "section.h"

namespace vxtsim {

namespace {

constexpr uint64_t kLastPort = 0xFFFF;

class CPortsSection final : public CSection {
    bool Line(CMachineReader& rReader, std::string_view sLine) override {
        std::string_view sKey, sValue;
        if (!rReader.Split(CMachineReader::WithoutComment(sLine), sKey, sValue)) return false;
        const auto oPort = g_Hex(sKey, 4);
        if (!oPort) return rReader.Fail("a port of up to 4 digits", sKey);
        uint64_t ullPort = *oPort;
        do {
            const std::string_view sWord = g_TakeWord(sValue);
            const auto oValue = g_Hex(sWord, 2);
            if (!oValue) return rReader.Fail("bytes of up to 2 digits", sWord);
            if (ullPort > kLastPort) return rReader.Fail("ports up to FFFF", "more bytes");
            const bool bNew = rReader.Machine()
                                  .Ports.try_emplace(static_cast<uint16_t>(ullPort++), static_cast<uint8_t>(*oValue))
                                  .second;
            if (!bNew) return rReader.FailTwice("port", sKey);
        } while (!(sValue = g_Trim(sValue)).empty());
        return true;
    }
};

std::unique_ptr<CSection> g_Open(CMachineReader&, std::string_view sArgument) {
    return sArgument.empty() ? std::make_unique<CPortsSection>() : nullptr;
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    if (!rMachine.Ports.empty()) rWriter.Heading("ports");
    for (const auto& [usPort, ucValue] : rMachine.Ports) rWriter.Line(g_HexText<4>(usPort), g_HexText<2>(ucValue));
}

}  // namespace

const CSectionKind kPortsSection = {
    "ports",
    "[ports]",
    "I/O ports that hold what is written to them; several bytes are ports in a row.",
    nullptr,
    g_Open,
    g_Write,
    g_InheritEntries<&CMachineDescription::Ports>,
    g_ForgetAll<&CMachineDescription::Ports>,
};

}  // namespace vxtsim
