// [registry]: values of the registry.
#include "../machine_words.h"
#include "inherit.h"
#include "section.h"

namespace vxtsim {

namespace {

class CRegistrySection final : public CSection {
    bool Line(CMachineReader& rReader, std::string_view sLine) override {
        std::string_view sKey, sValue;
        if (!rReader.Split(sLine, sKey, sValue)) return false;
        const size_t uMark = sKey.find('!');
        if (uMark == 0 || uMark >= sKey.size() - 1) return rReader.Fail("a name like key\\path!value", sKey);
        if (sValue.starts_with("dword:")) {
            sValue = g_Trim(sValue);
            if (!g_Hex(sValue.substr(6), 8)) return rReader.Fail("dword: and up to 8 digits", sValue);
        } else if (sValue.starts_with("sz:")) {
            while (sValue.ends_with('\r')) sValue.remove_suffix(1);
        } else {
            return rReader.Fail("dword:00000000 or sz:text", sValue);
        }
        return rReader.Machine().Registry.try_emplace(std::string(sKey), sValue).second ||
               rReader.FailTwice("value", sKey);
    }
};

std::unique_ptr<CSection> g_Open(CMachineReader&, std::string_view sArgument) {
    return sArgument.empty() ? std::make_unique<CRegistrySection>() : nullptr;
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    if (!rMachine.Registry.empty()) rWriter.Heading("registry");
    for (const auto& [sName, sText] : rMachine.Registry) rWriter.Line(sName, sText);
}

}  // namespace

const CSectionKind kRegistrySection = {
    "registry",
    "[registry]",
    "Values of the registry, as key\\path!value.",
    nullptr,
    g_Open,
    g_Write,
    g_InheritEntries<&CMachineDescription::Registry>,
    g_ForgetAll<&CMachineDescription::Registry>,
};

}  // namespace vxtsim
