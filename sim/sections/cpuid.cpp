// [cpuid]: what the CPUID instruction answers.
#include "../machine_words.h"
#include "inherit.h"
#include "section.h"

namespace vxtsim {

namespace {

class CCpuidSection final : public CSection {
    bool Line(CMachineReader& rReader, std::string_view sLine) override {
        std::string_view sKey, sValue;
        if (!rReader.Split(CMachineReader::WithoutComment(sLine), sKey, sValue)) return false;
        const size_t uPoint = std::min(sKey.find('.'), sKey.size());
        const auto oLeaf = g_Hex(sKey.substr(0, uPoint), 8);
        const auto oSubleaf = uPoint == sKey.size() ? 0 : g_Hex(sKey.substr(uPoint + 1), 8);
        if (!oLeaf || !oSubleaf) return rReader.Fail("a leaf like 80000001 or 0000000B.1", sKey);
        uint32_t auValues[4];
        std::string_view sRest = sValue;
        bool bRetCode = true;
        for (uint32_t& ruValue : auValues) {
            const auto oValue = g_Hex(g_TakeWord(sRest), 8);
            bRetCode = bRetCode && oValue;
            ruValue = static_cast<uint32_t>(oValue.value_or(0));
        }
        if (!bRetCode || !g_Trim(sRest).empty()) return rReader.Fail("four registers of up to 8 digits", sValue);
        const std::pair Key(static_cast<uint32_t>(*oLeaf), static_cast<uint32_t>(*oSubleaf));
        const CCpuidResult Result{auValues[0], auValues[1], auValues[2], auValues[3]};
        return rReader.Machine().Cpuid.try_emplace(Key, Result).second || rReader.FailTwice("leaf", sKey);
    }
};

std::unique_ptr<CSection> g_Open(CMachineReader&, std::string_view sArgument) {
    return sArgument.empty() ? std::make_unique<CCpuidSection>() : nullptr;
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    if (!rMachine.Cpuid.empty()) rWriter.Heading("cpuid");
    for (const auto& [Leaf, rResult] : rMachine.Cpuid)
        rWriter.Line(g_HexText<8>(Leaf.first) + (Leaf.second ? "." + g_HexText<1>(Leaf.second) : ""),
                     g_HexText<8>(rResult.uEax) + " " + g_HexText<8>(rResult.uEbx) + " " + g_HexText<8>(rResult.uEcx) +
                         " " + g_HexText<8>(rResult.uEdx));
}

}  // namespace

const CSectionKind kCpuidSection = {
    "cpuid",
    "[cpuid]",
    "What CPUID answers on every core: a leaf, or leaf.subleaf, and EAX, EBX, ECX and EDX.",
    nullptr,
    g_Open,
    g_Write,
    g_InheritEntries<&CMachineDescription::Cpuid>,
    g_ForgetAll<&CMachineDescription::Cpuid>,
};

}  // namespace vxtsim
