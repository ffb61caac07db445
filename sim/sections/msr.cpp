// [msr]: model-specific registers, of all cores or of one.
#include "../machine_words.h"
#include "inherit.h"
#include "section.h"

namespace vxtsim {

namespace {

class CMsrSection final : public CSection {
public:
    explicit CMsrSection(uint32_t uCore) : m_uCore(uCore) {}

private:
    bool Line(CMachineReader& rReader, std::string_view sLine) override {
        std::string_view sKey, sValue;
        if (!rReader.Split(CMachineReader::WithoutComment(sLine), sKey, sValue)) return false;
        const auto oIndex = g_Hex(sKey, 8), oValue = g_Hex(g_Trim(sValue), 16);
        if (!oIndex) return rReader.Fail("a register index of up to 8 digits", sKey);
        if (!oValue) return rReader.Fail("a value of up to 16 digits", sValue);
        const std::pair Key(m_uCore, static_cast<uint32_t>(*oIndex));
        return rReader.Machine().Msr.try_emplace(Key, *oValue).second || rReader.FailTwice("register", sKey);
    }

    uint32_t m_uCore;
};

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    if (sArgument.empty()) return std::make_unique<CMsrSection>(kAllCores);
    if (g_TakeWord(sArgument) != "core") return nullptr;
    const auto oCore = g_Decimal(g_Trim(sArgument));
    if (!oCore || *oCore < 0 || *oCore >= kMaximumCores) return nullptr;
    rReader.NameCore(static_cast<uint32_t>(*oCore));
    return std::make_unique<CMsrSection>(static_cast<uint32_t>(*oCore));
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    std::optional<uint32_t> oCore;
    for (const auto& [Key, ullValue] : rMachine.Msr) {
        if (oCore != Key.first)
            rWriter.Heading(Key.first == kAllCores ? "msr" : "msr core " + std::to_string(Key.first));
        oCore = Key.first;
        rWriter.Line(g_HexText<8>(Key.second), g_HexText<8>(static_cast<uint32_t>(ullValue >> 32)) +
                                                   g_HexText<8>(static_cast<uint32_t>(ullValue)));
    }
}

/// Registers of cores that the machine lacks are left out.
void g_Inherit(CMachineDescription& rMachine, const CMachineDescription& rBase) {
    for (const auto& [Key, ullValue] : rBase.Msr)
        if (Key.first == kAllCores || Key.first < rMachine.uCores) rMachine.Msr.try_emplace(Key, ullValue);
}

}  // namespace

const CSectionKind kMsrSection = {
    "msr",
    "[msr] or [msr core N]",
    "Model-specific registers of 64 bits; what is said for one core wins.",
    nullptr,
    g_Open,
    g_Write,
    g_Inherit,
    g_ForgetAll<&CMachineDescription::Msr>,
};

}  // namespace vxtsim
