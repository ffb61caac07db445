// [firmware command CODE]: what a raw command answers in place of the right answer.
#include "../firmware.h"
#include "../machine_words.h"
#include "firmware_part.h"
#include "keys.h"

namespace vxtsim {

namespace {

using CResult = std::vector<uint8_t>;

constexpr CKey<CResult> kKeys[] = {
    {"result",
     [](CMachineReader& rReader, std::string_view sValue, CResult& rResult) {
         return rReader.Bytes(sValue, rResult, CSimFirmware::kResultBytes);
     },
     g_BytesText, kAlways},
};

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    const auto oCode = g_Hex(sArgument, 8);
    CFirmwareDescription* const pFirmware = g_FirmwareOf(rReader);
    if (!oCode || !pFirmware || !rReader.MayAdd(pFirmware->Results.size())) return nullptr;
    const auto [it, bNew] = pFirmware->Results.try_emplace(static_cast<uint32_t>(*oCode));
    if (!bNew) return rReader.FailTwice("command", sArgument), nullptr;
    return std::make_unique<CKeySection<CResult>>(kKeys, it->second);
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    if (!rMachine.oFirmware) return;
    for (const auto& [uCode, Result] : rMachine.oFirmware->Results) {
        rWriter.Heading("firmware command " + g_HexText<8>(uCode));
        g_WriteKeys(rWriter, kKeys, Result);
    }
}

void g_Inherit(CMachineDescription& rMachine, const CMachineDescription& rBase) {
    g_InheritPart(rMachine, rBase,
                  [](auto& rOwn, const auto& rOld) { rOwn.Results.insert(rOld.Results.begin(), rOld.Results.end()); });
}

bool g_Forget(CMachineDescription& rMachine, std::string_view sArgument) {
    return g_ForgetPart<&CFirmwareDescription::Results>(
        rMachine, [&](const auto& rEntry) { return sArgument.empty() || g_Hex(sArgument, 8) == rEntry.first; });
}

}  // namespace

const CSectionKind kFirmwareCommandSection = {
    "firmware command",
    "[firmware command CODE]",
    "The whole result block of a raw command, in place of the right one.",
    g_KeyNames<kKeys>,
    g_Open,
    g_Write,
    g_Inherit,
    g_Forget,
};

}  // namespace vxtsim
