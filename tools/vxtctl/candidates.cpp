#include "candidates.h"

#include <algorithm>
#include <cmath>

#include "common/command_table.h"
#include "common/core_tables.h"
#include "common/device_id.h"
#include "common/text.h"
#include "core_limits.h"
#include "cpu_report.h"
#include "device_report.h"
#include "device_types.h"
#include "fan_watch.h"
#include "firmware_settings.h"
#include "link_settings.h"
#include "memory_settings.h"

namespace vxtctl {

using vxttools::CCandidate;
using vxttools::CDocument;
using vxttools::CJson;
using vxttools::CTool;
using vxttools::g_Trimmed;
using CCandidates = std::vector<CCandidate>;

extern const vxttools::CCommand kCpuSet, kLinksSet;

namespace {

constexpr int kDecimals = 4;

// --- settings ---

/// Every setting that can be written, wherever in the answer it stands.
void g_CollectSettings(const CJson& rNode, std::vector<CJson>& rSettings) {
    if (rNode.IsArray()) {
        for (const CJson& rItem : rNode.Items()) g_CollectSettings(rItem, rSettings);
    } else if (rNode.IsObject() && rNode.Has("writable")) {
        if (rNode["writable"].Flag()) rSettings.push_back(rNode);
    } else if (rNode.IsObject()) {
        for (const auto& [sKey, rMember] : rNode.Members()) g_CollectSettings(rMember, rSettings);
    }
}

/// The list, or where there is none the steps from limit to limit; of very many only the ends.
std::vector<double> g_LegalValues(const CJson& rSetting) {
    constexpr double kMany = 500;
    std::vector<double> Values;
    if (!rSetting["legal"].IsNull()) {
        for (const CJson& rValue : rSetting["legal"].Items()) Values.push_back(rValue.Number().value_or(0));
        return Values;
    }
    const auto oMinimum = rSetting["limits"]["min"].Number(), oMaximum = rSetting["limits"]["max"].Number();
    if (!oMinimum || !oMaximum) return Values;
    const double dRange = *oMaximum - *oMinimum, dStep = rSetting["step"].Number().value_or(0);
    if (dStep <= 0 || dRange / dStep > kMany) return {*oMinimum, *oMaximum};
    const long lSteps = std::lround(dRange / dStep);
    for (long i = 0; i <= lSteps; ++i) Values.push_back(*oMinimum + static_cast<double>(i) * dStep);
    return Values;
}

CCandidates g_SettingCandidates(const CJson& rAnswer, const std::string& sBegun) {
    std::vector<CJson> Settings;
    g_CollectSettings(rAnswer, Settings);
    CCandidates Candidates;
    const auto Offer = [&](const std::string& sWord, const std::string& sMeaning) {
        if (std::ranges::count(Candidates, sWord, &CCandidate::sWord) == 0) Candidates.push_back({sWord, sMeaning});
    };
    for (const CJson& rSetting : Settings) {
        const std::string &rsId = rSetting["id"].Text(), &rsUnit = rSetting["unit"].Text();
        const std::string sBegin = rsId.substr(rsId.rfind('/') + 1) + "=";
        if (!sBegun.starts_with(sBegin)) {
            Offer(sBegin, rSetting["label"].Text());
            continue;
        }
        const std::vector<double> Values = g_LegalValues(rSetting);
        const bool bSwitch = rsUnit.empty() && Values == std::vector<double>{0, 1};
        for (const double dValue : Values)
            Offer(sBegin + (bSwitch ? (dValue != 0 ? "on" : "off") : g_Trimmed(dValue, kDecimals)),
                  rSetting["value"].Number() == dValue ? "now" : rsUnit);
    }
    return Candidates;
}

template <void (*pAdd)(CDocument&, const CHostLibrary&, vxttools::CFindings&)>
CCandidates g_SettingsOf(const CTool& rTool, const std::string& sBegun) {
    const CHostLibrary Library(rTool.Options());
    CDocument Document = rTool.NewDocument();
    vxttools::CFindings Ignored;
    pAdd(Document, Library, Ignored);
    return g_SettingCandidates(Document.Data(), sBegun);
}

// --- a core ---

/// Of the core that is to be set, of the first one where that is all of them.
CCoreLimits g_Limits(const CTool& rTool, const CHostLibrary& rLibrary) {
    const std::string sCore = vxttools::g_Given<std::string>(rTool.Table(), kCpuSet.pszPath, "--core").value_or("all");
    const uint32_t uCore = sCore == "all" ? 0 : vxttools::g_ParseCore(sCore, "--core");
    return CCoreLimits(*static_cast<vxtapi::CCPU*>(g_SelectCores(rLibrary, uCore).front().pDevice));
}

/// Those of the legal values that fit.
template <class TFits> CCandidates g_LegalCandidates(const CSetting& rSetting, TFits Fits) {
    CCandidates Candidates;
    for (const double dValue : rSetting.Legal)
        if (Fits(dValue))
            Candidates.push_back({rSetting.Text(dValue), rSetting.oValue == dValue ? "now" : rSetting.sUnit});
    return Candidates;
}

}  // namespace

CCandidates g_DeviceCandidates(const CTool& rTool, const std::string&) {
    const CHostLibrary Library(rTool.Options());
    CDocument Document = rTool.NewDocument();
    g_AddDevices(Document, Library.Devices());
    CCandidates Candidates;
    for (const CJson& rDevice : std::as_const(Document)["devices"].Items()) {
        const std::string sWord = rDevice["id"].Text().substr(1);
        const std::string sType = sWord.substr(0, sWord.find('/'));
        if (rDevice["index"].Number() == 0.0) Candidates.push_back({sType, rDevice["type_name"].Text()});
        Candidates.push_back({sWord, rDevice["name"].Text()});
    }
    return Candidates;
}

CCandidates g_CoreCandidates(const CTool& rTool, const std::string& sBegun) {
    const std::string sPath = sBegun.starts_with('/') ? "/cpu/" : sBegun.starts_with('c') ? "cpu/" : "";  // ids as well
    const CHostLibrary Library(rTool.Options());
    CCandidates Candidates;
    for (const CInventoryEntry& rCore : Library.Devices(vxtapi::kDeviceCpu))
        Candidates.push_back({sPath + std::to_string(rCore.uIndex), vxttools::g_Utf8(rCore.pDevice->GetName())});
    return Candidates;
}

CCandidates g_CoreOrAllCandidates(const CTool& rTool, const std::string& sBegun) {
    CCandidates Candidates = g_CoreCandidates(rTool, sBegun);
    Candidates.push_back({"all", "every core"});
    return Candidates;
}

CCandidates g_LinkCandidates(const CTool& rTool, const std::string&) {
    const CHostLibrary Library(rTool.Options());
    CDocument Document = rTool.NewDocument();
    vxttools::CFindings Ignored;
    g_AddLinks(Document, Library, Ignored);
    CCandidates Candidates;
    for (const CJson& rLink : std::as_const(Document)["links"].Items())
        Candidates.push_back({rLink["number"].Dump(), "link"});
    return Candidates;
}

CCandidates g_PstateCandidates(const CTool& rTool, const std::string&) {
    const CHostLibrary Library(rTool.Options());
    CCandidates Candidates;
    for (const double dPstate : g_Limits(rTool, Library).PstateNumbers)
        Candidates.push_back({g_Trimmed(dPstate, 0), "P-state"});
    return Candidates;
}

CCandidates g_MultiplierCandidates(const CTool& rTool, const std::string&) {
    const CHostLibrary Library(rTool.Options());
    const CCoreLimits Limits = g_Limits(rTool, Library);
    const auto oVoltage = vxttools::g_Given<double>(rTool.Table(), kCpuSet.pszPath, "--voltage");
    return g_LegalCandidates(Limits.Multiplier, [&](double dMultiplier) {
        return !oVoltage || Limits.WhyUnsafe({dMultiplier, *oVoltage}).empty();
    });
}

CCandidates g_VoltageCandidates(const CTool& rTool, const std::string&) {
    const CHostLibrary Library(rTool.Options());
    const CCoreLimits Limits = g_Limits(rTool, Library);
    const auto oMultiplier = vxttools::g_Given<double>(rTool.Table(), kCpuSet.pszPath, "--multiplier");
    return g_LegalCandidates(Limits.Voltage, [&](double dVoltage) {
        return !oMultiplier || Limits.WhyUnsafe({*oMultiplier, dVoltage}).empty();
    });
}

CCandidates g_NbVoltageCandidates(const CTool& rTool, const std::string&) {
    const CHostLibrary Library(rTool.Options());
    return g_LegalCandidates(g_Limits(rTool, Library).NbVoltage, [](double) { return true; });
}

CCandidates g_MemorySettingCandidates(const CTool& rTool, const std::string& sBegun) {
    return g_SettingsOf<g_AddMemory>(rTool, sBegun);
}
CCandidates g_LinkSettingCandidates(const CTool& rTool, const std::string& sBegun) {
    const CHostLibrary Library(rTool.Options());
    CDocument Document = rTool.NewDocument();
    vxttools::CFindings Ignored;
    g_AddLinks(Document, Library, Ignored);
    const auto oLink = vxttools::g_Given<std::string>(rTool.Table(), kLinksSet.pszPath, "--link");
    const CJson Number(vxttools::g_ParseIndex(oLink.value_or("0"), "ht-link/0/link"));
    for (const CJson& rLink : std::as_const(Document)["links"].Items())
        if (rLink["number"] == Number) return g_SettingCandidates(rLink, sBegun);
    return {};
}
CCandidates g_ClockSettingCandidates(const CTool& rTool, const std::string& sBegun) {
    return g_SettingsOf<g_AddClocks>(rTool, sBegun);
}
CCandidates g_FanCandidates(const CTool& rTool, const std::string& sBegun) {
    const CHostLibrary Library(rTool.Options());
    CCandidates Candidates;
    for (const CFan& rFan : g_FindFans(Library)) {
        if (!rFan.IsControlled()) continue;
        const std::string sBegin = rFan.Name() + "=";
        if (!sBegun.starts_with(sBegin)) Candidates.push_back({sBegin, rFan.Label() + " of " + rFan.Chip()});
        for (uint32_t u = kStartDuty; u <= kFullDuty && sBegun.starts_with(sBegin); u += 10)
            Candidates.push_back({sBegin + std::to_string(u), "%"});
    }
    return Candidates;
}
CCandidates g_VoltageSettingCandidates(const CTool& rTool, const std::string& sBegun) {
    return g_SettingsOf<g_AddVoltages>(rTool, sBegun);
}

}  // namespace vxtctl
