// [dram_data] and [link_phy]: registers behind index registers of a PCI function.
#include "../machine_words.h"
#include "inherit.h"
#include "section.h"

namespace vxtsim {

namespace {

/// A group of index registers and what they reach.
struct CIndexed {
    std::string_view sName;
    const char* pszExample;
    uint32_t uPairs, uMaximumIndex;
    std::map<std::pair<uint32_t, uint32_t>, uint32_t> CMachineDescription::*pRegisters;
};
constexpr CIndexed kDramData{"dram_data", "a register like 0.00 or 1.13", 2, 0x3FFFFFFF,
                             &CMachineDescription::DramData};
constexpr CIndexed kLinkPhy{"link_phy", "a register like 0.00 or 3.1FF", 4, 0x1FF, &CMachineDescription::LinkPhy};

class CIndexedSection final : public CSection {
public:
    explicit CIndexedSection(const CIndexed& rIndexed) : m_rIndexed(rIndexed) {}

private:
    bool Line(CMachineReader& rReader, std::string_view sLine) override {
        std::string_view sKey, sValue;
        if (!rReader.Split(CMachineReader::WithoutComment(sLine), sKey, sValue)) return false;
        const size_t uPoint = std::min(sKey.find('.'), sKey.size());
        const auto oPair = g_Hex(sKey.substr(0, uPoint), 1), oValue = g_Hex(g_Trim(sValue), 8);
        const auto oIndex = g_Hex(sKey.substr(std::min(uPoint + 1, sKey.size())), 8);
        if (!oPair || *oPair >= m_rIndexed.uPairs || !oIndex || *oIndex > m_rIndexed.uMaximumIndex)
            return rReader.Fail(m_rIndexed.pszExample, sKey);
        if (!oValue) return rReader.Fail("a value of up to 8 digits", sValue);
        const std::pair Key(static_cast<uint32_t>(*oPair), static_cast<uint32_t>(*oIndex));
        auto& rRegisters = rReader.Machine().*m_rIndexed.pRegisters;
        return rRegisters.try_emplace(Key, static_cast<uint32_t>(*oValue)).second ||
               rReader.FailTwice("register", sKey);
    }

    const CIndexed& m_rIndexed;
};

template <const CIndexed& rIndexed> std::unique_ptr<CSection> g_Open(CMachineReader&, std::string_view sArgument) {
    return sArgument.empty() ? std::make_unique<CIndexedSection>(rIndexed) : nullptr;
}

template <const CIndexed& rIndexed> void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    const auto& rRegisters = rMachine.*rIndexed.pRegisters;
    if (!rRegisters.empty()) rWriter.Heading(std::string(rIndexed.sName));
    for (const auto& [Key, uValue] : rRegisters)
        rWriter.Line(g_HexText<1>(Key.first) + "." + g_HexText<2>(Key.second), g_HexText<8>(uValue));
}

}  // namespace

const CSectionKind kDramDataSection = {
    kDramData.sName,
    "[dram_data]",
    "Registers behind the DRAM controller's index registers, as pair.index.",
    nullptr,
    g_Open<kDramData>,
    g_Write<kDramData>,
    g_InheritEntries<&CMachineDescription::DramData>,
    g_ForgetAll<&CMachineDescription::DramData>,
};

const CSectionKind kLinkPhySection = {
    kLinkPhy.sName,
    "[link_phy]",
    "Registers behind the index registers of the HyperTransport links' PHYs, as link.index.",
    nullptr,
    g_Open<kLinkPhy>,
    g_Write<kLinkPhy>,
    g_InheritEntries<&CMachineDescription::LinkPhy>,
    g_ForgetAll<&CMachineDescription::LinkPhy>,
};

}  // namespace vxtsim
