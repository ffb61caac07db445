// [dram_data]: registers behind the DRAM controller's index registers.
#include "../machine_words.h"
#include "inherit.h"
#include "section.h"

namespace vxtsim {

namespace {

constexpr uint32_t kMaximumIndex = 0x3FFFFFFF;  // 30 bits

class CDramDataSection final : public CSection {
    bool Line(CMachineReader& rReader, std::string_view sLine) override {
        std::string_view sKey, sValue;
        if (!rReader.Split(CMachineReader::WithoutComment(sLine), sKey, sValue)) return false;
        const size_t uPoint = std::min(sKey.find('.'), sKey.size());
        const auto oPair = g_Hex(sKey.substr(0, uPoint), 1), oValue = g_Hex(g_Trim(sValue), 8);
        const auto oIndex = g_Hex(sKey.substr(std::min(uPoint + 1, sKey.size())), 8);
        if (!oPair || *oPair > 1 || !oIndex || *oIndex > kMaximumIndex)
            return rReader.Fail("a register like 0.00 or 1.13", sKey);
        if (!oValue) return rReader.Fail("a value of up to 8 digits", sValue);
        const std::pair Key(static_cast<uint32_t>(*oPair), static_cast<uint32_t>(*oIndex));
        return rReader.Machine().DramData.try_emplace(Key, static_cast<uint32_t>(*oValue)).second ||
               rReader.FailTwice("register", sKey);
    }
};

std::unique_ptr<CSection> g_Open(CMachineReader&, std::string_view sArgument) {
    return sArgument.empty() ? std::make_unique<CDramDataSection>() : nullptr;
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    if (!rMachine.DramData.empty()) rWriter.Heading("dram_data");
    for (const auto& [Key, uValue] : rMachine.DramData)
        rWriter.Line(g_HexText<1>(Key.first) + "." + g_HexText<2>(Key.second), g_HexText<8>(uValue));
}

}  // namespace

const CSectionKind kDramDataSection = {
    "dram_data",
    "[dram_data]",
    "Registers behind the DRAM controller's index registers, as pair.index.",
    nullptr,
    g_Open,
    g_Write,
    g_InheritEntries<&CMachineDescription::DramData>,
    g_ForgetAll<&CMachineDescription::DramData>,
};

}  // namespace vxtsim
