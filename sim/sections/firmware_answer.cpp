// [firmware answer METHOD]: what a method answers in place of the right answer.
#include "../firmware.h"
#include "../machine_words.h"
#include "firmware_part.h"
#include "keys.h"
#include "wmi_values.h"

namespace vxtsim {

namespace {

constexpr uint32_t kMaximumDelay = 3'600'000;  // an hour

constexpr CKey<CFirmwareAnswer> kKeys[] = {
    g_Key<&CFirmwareAnswer::bFails>("fails"),
    {"delay",
     [](CMachineReader& rReader, std::string_view sValue, CFirmwareAnswer& rAnswer) {
         return rReader.Number(sValue, rAnswer.uMilliseconds, kMaximumDelay);
     },
     [](const CFirmwareAnswer& rAnswer) { return g_ValueText(rAnswer.uMilliseconds); }},
};

class CAnswerSection final : public CKeySection<CFirmwareAnswer> {
public:
    CAnswerSection(const std::string& sMethod, CFirmwareAnswer& rAnswer)
        : CKeySection(kKeys, rAnswer), m_sMethod(sMethod) {}

private:
    /// A property of the answer.
    bool Other(CMachineReader& rReader, std::string_view sKey, std::string_view sValue) override {
        if (!CSimFirmware::HasAnswer(m_sMethod, sKey))
            return rReader.Fail("fails, delay or a property of what " + m_sMethod + " answers", sKey);
        return g_ReadWmiValue(rReader, sValue, m_rRecord.Properties[std::string(sKey)], true);
    }

    std::string m_sMethod;
};

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    const std::string sMethod(sArgument);
    CFirmwareDescription* const pFirmware = g_FirmwareOf(rReader);
    if (!pFirmware) return nullptr;
    if (!CSimFirmware::HasMethod(sMethod)) return rReader.Fail("a method of the firmware", sMethod), nullptr;
    const auto [it, bNew] = pFirmware->Answers.try_emplace(sMethod);
    if (!bNew) return rReader.FailTwice("method", sMethod), nullptr;
    if (rReader.Base() && rReader.Base()->oFirmware && rReader.Base()->oFirmware->Answers.contains(sMethod))
        it->second = rReader.Base()->oFirmware->Answers.at(sMethod);
    return std::make_unique<CAnswerSection>(sMethod, it->second);
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    if (!rMachine.oFirmware) return;
    for (const auto& [sMethod, rAnswer] : rMachine.oFirmware->Answers) {
        rWriter.Heading("firmware answer " + sMethod);
        for (const auto& [sName, rValue] : rAnswer.Properties) rWriter.Line(sName, g_WmiValueText(rValue));
        g_WriteKeys(rWriter, kKeys, rAnswer);
    }
}

void g_Inherit(CMachineDescription& rMachine, const CMachineDescription& rBase) {
    g_InheritPart(rMachine, rBase,
                  [](auto& rOwn, const auto& rOld) { rOwn.Answers.insert(rOld.Answers.begin(), rOld.Answers.end()); });
}

bool g_Forget(CMachineDescription& rMachine, std::string_view sArgument) {
    return g_ForgetPart<&CFirmwareDescription::Answers>(
        rMachine, [&](const auto& rEntry) { return sArgument.empty() || sArgument == rEntry.first; });
}

}  // namespace

const CSectionKind kFirmwareAnswerSection = {
    "firmware answer",
    "[firmware answer METHOD]",
    "What a method answers in place of the right answer: its output parameter, or a property of the pack in that.",
    g_KeyNames<kKeys>,
    g_Open,
    g_Write,
    g_Inherit,
    g_Forget,
};

}  // namespace vxtsim
