#include "link_settings.h"

#include <memory>
#include <span>

#include "common/text.h"
#include "device_types.h"

namespace vxtctl {

using vxtapi::CHTLink;
using vxtapi::HTConfig;
using vxttools::CChange;
using vxttools::CChangePlan;
using vxttools::CDocument;
using vxttools::CFailure;
using vxttools::CJson;
using vxttools::EExit;

namespace {

constexpr uint32_t kK8Version = 20070322;  ///< of the class for K8, whose processors have three links, not four
constexpr double kReservedCode = -1.0;     ///< in-band, as with the memory controller

// HyperTransport I/O Link 3.0, 7.5.4 and 7.5.7: what the width and frequency codes can express.
constexpr double kWidths[] = {2, 4, 8, 16, 32};
constexpr double kFrequencies[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13};
// The same, 7.5.3: bits 6 and 7 of the link control register, by their places in HTConfig's flags.
constexpr size_t kEndOfChain = 3, kTransmitterOff = 4;

struct CLinkRow {
    const char* pszKey;
    const char* pszLabel;
    const char* pszUnit;
    double HTConfig::*pField;
    std::span<const double> Expressible;
    double HTConfig::*pMaximum;  ///< what this link can at most; null: the row is that maximum, and only read
};
constexpr CLinkRow kRows[] = {
    {"in_width", "Width in", "bits", &HTConfig::dInWidth, kWidths, &HTConfig::dMaxInWidth},
    {"out_width", "Width out", "bits", &HTConfig::dOutWidth, kWidths, &HTConfig::dMaxOutWidth},
    {"frequency", "Link clock", "x 200 MHz", &HTConfig::dFrequency, kFrequencies, &HTConfig::dMaxFrequency},
    {"max_in_width", "Widest in", "bits", &HTConfig::dMaxInWidth, {}, nullptr},
    {"max_out_width", "Widest out", "bits", &HTConfig::dMaxOutWidth, {}, nullptr},
    {"max_frequency", "Highest link clock", "x 200 MHz", &HTConfig::dMaxFrequency, {}, nullptr},
};

bool g_Exists(const HTConfig& rConfig) { return rConfig.uRevisionMajor != 0 || rConfig.uRevisionMinor != 0; }

/// Why nothing about the link can be set; nothing: it can.
std::optional<std::string> g_WhyUnusable(const HTConfig& rConfig) {
    if (!g_Exists(rConfig)) return "this processor has no such link";
    const bool bConnected = rConfig.dInWidth > 0 && rConfig.dOutWidth > 0 && !rConfig.abControl[kEndOfChain] &&
                            !rConfig.abControl[kTransmitterOff];
    return bConnected ? std::nullopt : std::optional<std::string>("nothing is connected to this link");
}

std::vector<CSetting> g_Settings(const HTConfig& rConfig) {
    const std::optional<std::string> oUnusable = g_WhyUnusable(rConfig);
    std::vector<CSetting> Settings;
    for (const CLinkRow& rRow : kRows) {
        CSetting& rSetting = Settings.emplace_back(CSetting{rRow.pszKey, rRow.pszLabel, rRow.pszUnit});
        for (const double dValue : rRow.Expressible)
            if (dValue <= rConfig.*rRow.pMaximum) rSetting.Legal.push_back(dValue);
        rSetting.oFixed = oUnusable;
        if (!rRow.pMaximum && !oUnusable) rSetting.oFixed = "the hardware only reports it";
        const double dValue = rConfig.*rRow.pField;
        if (dValue > 0 && g_Exists(rConfig))  // an empty register block decodes, too
            rSetting.oValue = dValue;
        else if (oUnusable)
            rSetting.sReason = *oUnusable;
        else
            rSetting.sReason =
                dValue == kReservedCode ? "the register holds a reserved code" : "the hardware does not say";
    }
    return Settings;
}

/// Fields that hold a reserved code are written as they are.
void g_KeepReserved(HTConfig& rConfig) {
    for (const CLinkRow& rRow : kRows)
        if (double& rdValue = rConfig.*rRow.pField; rdValue == kReservedCode) rdValue = kUnlisted;
}

CHTLink& g_LinkDevice(const CHostLibrary& rLibrary) {
    const std::vector<CInventoryEntry> Devices = rLibrary.Devices(vxtapi::kDeviceHtLink);
    if (Devices.empty()) throw rLibrary.Absent("HyperTransport link");
    return *static_cast<CHTLink*>(Devices.front().pDevice);
}

uint32_t g_LinkCount(CHTLink& rDevice) { return rDevice.GetVersion() == kK8Version ? 3 : 4; }

/// One value of a link, all others as they are.
CDeviceSetting g_Reach(CHTLink& rDevice, uint32_t uLink, double HTConfig::*pField, CSetting Setting) {
    const auto Read = [&rDevice, uLink, pField]() -> std::optional<double> {
        HTConfig Now{};
        if (!rDevice.GetHTConfig(uLink, &Now) || Now.*pField <= 0) return std::nullopt;
        return Now.*pField;
    };
    const auto Write = [&rDevice, uLink, pField](double dValue) {
        HTConfig Config{};
        if (!rDevice.GetHTConfig(uLink, &Config)) return false;
        g_KeepReserved(Config);
        Config.*pField = dValue;
        return rDevice.SetHTConfig(uLink, &Config);
    };
    return {std::move(Setting), Read, Write};
}

std::string g_LinkPath(uint32_t uLink) {
    return g_DevicePath(vxtapi::kDeviceHtLink, 0) + "/link/" + std::to_string(uLink);
}

}  // namespace

void g_AddLinks(CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings) {
    CHTLink& rDevice = g_LinkDevice(rLibrary);
    CJson& rLinks = rDocument["links"] = CJson::Array();
    rDocument.SetCsv("links");
    for (uint32_t uLink = 0; uLink < g_LinkCount(rDevice); ++uLink) {
        HTConfig Config{};
        if (!rDevice.GetHTConfig(uLink, &Config)) {
            rFindings.push_back(g_LinkPath(uLink) + " could not be read");
            continue;
        }
        const std::vector<CSetting> Settings = g_Settings(Config);
        CJson Control = CJson::Array();
        for (const bool bFlag : Config.abControl) Control.Push(bFlag);
        rLinks.Push({{"id", g_LinkPath(uLink)},
                     {"number", uLink},
                     {"revision_major", Config.uRevisionMajor},
                     {"revision_minor", Config.uRevisionMinor},
                     {"control_flags", Control},
                     {"settings", g_SettingsToJson(Settings, g_LinkPath(uLink), rFindings)}});
        g_AddSettingTable(rDocument,
                          "Link " + std::to_string(uLink) + ", revision " + std::to_string(Config.uRevisionMajor) +
                              "." + vxttools::g_Trimmed(Config.uRevisionMinor, 0),
                          Settings);
    }
}

std::optional<CDeviceSetting> g_FirstLinkClock(const CHostLibrary& rLibrary) {
    const std::vector<CInventoryEntry> Devices = rLibrary.Devices(vxtapi::kDeviceHtLink);
    if (Devices.empty()) return std::nullopt;
    CHTLink& rDevice = *static_cast<CHTLink*>(Devices.front().pDevice);
    constexpr const CLinkRow& rRow = kRows[2];
    static_assert(rRow.pField == &HTConfig::dFrequency);
    HTConfig Config{};
    CSetting Setting{rRow.pszKey, rRow.pszLabel, rRow.pszUnit};
    if (rDevice.GetHTConfig(0, &Config))
        Setting = g_Settings(Config)[&rRow - kRows];
    else
        Setting.Fail(vxttools::kNotRead);
    if (Setting.oFixed) return std::nullopt;
    return g_Reach(rDevice, 0, rRow.pField, std::move(Setting));
}

CChangePlan g_PlanLinkChanges(const CHostLibrary& rLibrary, uint32_t uLink,
                              const std::vector<CAssignment>& rAssignments, bool bForce) {
    CHTLink& rDevice = g_LinkDevice(rLibrary);
    struct CPending {
        HTConfig Config{};
        std::optional<bool> oDone = std::nullopt;
    };
    const auto pPending = std::make_shared<CPending>();
    if (uLink >= g_LinkCount(rDevice))
        throw CFailure(EExit::kNoSuchDevice, "no link " + std::to_string(uLink) + ": this processor has " +
                                                 std::to_string(g_LinkCount(rDevice)));
    if (!rDevice.GetHTConfig(uLink, &pPending->Config))
        throw CFailure(EExit::kFailed, "link " + std::to_string(uLink) + " could not be read; --log tells more");
    const std::vector<CSetting> Settings = g_Settings(pPending->Config);
    g_KeepReserved(pPending->Config);

    CChangePlan Plan;
    for (const CAssignment& rAssignment : rAssignments) {
        CChange Change = g_PlanSetting(Settings, rAssignment, g_LinkPath(uLink), bForce);
        Change.sOwner = "link " + std::to_string(uLink);
        for (const CLinkRow& rRow : kRows) {
            if (rAssignment.sKey != rRow.pszKey) continue;
            Change.sNote += std::string(Change.sNote.empty() ? "" : "; ") + "in force after the link's next reset";
            CDeviceSetting Way = g_Reach(rDevice, uLink, rRow.pField, {});
            Change.Read = std::move(Way.Read), Change.Restore = std::move(Way.Write);
            pPending->Config.*rRow.pField = rAssignment.dValue;
        }
        Change.Write = [&rDevice, uLink, pPending] {
            if (!pPending->oDone) pPending->oDone = rDevice.SetHTConfig(uLink, &pPending->Config);
            return *pPending->oDone;
        };
        Plan.Add(std::move(Change));
    }
    return Plan;
}

}  // namespace vxtctl
