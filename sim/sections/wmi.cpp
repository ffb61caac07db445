// [wmi NAMESPACE CLASS]: an instance of a management class.
#include "../wmi.h"

#include <set>

#include "../machine_words.h"
#include "inherit.h"
#include "section.h"
#include "wmi_values.h"

namespace vxtsim {

namespace {

class CWmiSection final : public CSection {
    bool Line(CMachineReader& rReader, std::string_view sLine) override {
        std::string_view sKey, sValue;
        auto& rProperties = rReader.Machine().Wmi.back().Properties;
        if (!rReader.Split(sLine, sKey, sValue) || !rReader.MayAdd(rProperties.size())) return false;
        if (!g_IsName(sKey)) return rReader.Fail("a property's name", sKey);
        const auto [it, bNew] = rProperties.try_emplace(std::string(sKey));
        if (!bNew) return rReader.FailTwice("key", sKey);
        std::optional<CWmiValue> oValue;
        if (!g_ReadWmiValue(rReader, sValue, oValue, false)) return false;
        it->second = std::move(*oValue);
        return true;
    }
};

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    std::string sNamespace = CSimWmi::NamespaceName(g_TakeWord(sArgument));
    const std::string_view sClass = g_Trim(sArgument);
    if (sNamespace.empty() || !g_IsName(sClass)) return nullptr;
    const bool bFirmware = sNamespace == CSimFirmware::kNamespace && CSimFirmware::HasClass(sClass);
    if (bFirmware) rReader.Fail("[firmware] for a class of the firmware", sClass);
    auto& rInstances = rReader.Machine().Wmi;
    if (bFirmware || !rReader.MayAdd(rInstances.size())) return nullptr;
    rInstances.push_back({std::move(sNamespace), std::string(sClass), {}});
    return std::make_unique<CWmiSection>();
}

std::string g_NameOf(const CWmiInstance& rInstance) { return rInstance.sNamespace + " " + rInstance.sClass; }

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    for (const CWmiInstance& rInstance : rMachine.Wmi) {
        rWriter.Heading("wmi " + g_NameOf(rInstance));
        for (const auto& [sName, rValue] : rInstance.Properties) rWriter.Line(sName, g_WmiValueText(rValue));
    }
}

void g_Inherit(CMachineDescription& rMachine, const CMachineDescription& rBase) {
    g_InheritElements(rMachine.Wmi, rBase.Wmi, g_NameOf);
}

bool g_Forget(CMachineDescription& rMachine, std::string_view sArgument) {
    if (sArgument.empty()) return g_ForgetAll<&CMachineDescription::Wmi>(rMachine, sArgument);
    return std::erase_if(rMachine.Wmi, [&](const auto& rInstance) { return g_NameOf(rInstance) == sArgument; }) != 0;
}

}  // namespace

const CSectionKind kWmiSection = {
    "wmi",
    "[wmi root\\cimv2 CLASS] or [wmi root\\wmi CLASS]",
    "An instance of a management class; a repeated heading is its next instance.",
    nullptr,
    g_Open,
    g_Write,
    g_Inherit,
    g_Forget,
};

}  // namespace vxtsim
