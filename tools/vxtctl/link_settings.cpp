#include "link_settings.h"

#include <memory>

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

constexpr uint32_t kMostLinks = 4;
constexpr double kReservedCode = -1.0;  ///< in-band, as with the memory controller

// HyperTransport I/O Link 3.0, 7.5.4 and 7.5.7: what the width and frequency codes can express.
const std::vector<double> kWidths{2, 4, 8, 16, 32};
const std::vector<double> kFrequencies{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13};

struct CLinkRow {
    const char* pszKey;
    const char* pszLabel;
    const char* pszUnit;
    double HTConfig::*pField;
    const std::vector<double>& rLegal;
    bool bReadOnly;
};
const CLinkRow kRows[] = {
    {"in_width", "Width in", "bits", &HTConfig::dInWidth, kWidths, false},
    {"out_width", "Width out", "bits", &HTConfig::dOutWidth, kWidths, false},
    {"frequency", "Link clock", "x 200 MHz", &HTConfig::dFrequency, kFrequencies, false},
    {"max_in_width", "Widest in", "bits", &HTConfig::dMaxInWidth, kWidths, true},
    {"max_out_width", "Widest out", "bits", &HTConfig::dMaxOutWidth, kWidths, true},
    {"max_frequency", "Highest link clock", "x 200 MHz", &HTConfig::dMaxFrequency, kFrequencies, true},
};

std::vector<CSetting> g_Settings(const HTConfig& rConfig) {
    std::vector<CSetting> Settings;
    for (const CLinkRow& rRow : kRows) {
        CSetting& rSetting = Settings.emplace_back(CSetting{rRow.pszKey, rRow.pszLabel, rRow.pszUnit});
        rSetting.Legal = rRow.rLegal;
        if (rRow.bReadOnly) rSetting.oFixed = "the hardware only reports it";
        const double dValue = rConfig.*rRow.pField;
        if (dValue == kReservedCode)
            rSetting.sReason = "the register holds a reserved code";
        else if (dValue == 0)
            rSetting.sReason = "the hardware does not say";
        else
            rSetting.oValue = dValue;
    }
    return Settings;
}

CHTLink& g_LinkDevice(const CHostLibrary& rLibrary) {
    const std::vector<CInventoryEntry> Devices = rLibrary.Devices(vxtapi::kDeviceHtLink);
    if (Devices.empty())
        throw CFailure(EExit::kNoSuchDevice, "this machine has no HyperTransport links that the library knows");
    return *static_cast<CHTLink*>(Devices.front().pDevice);
}

std::string g_LinkPath(uint32_t uLink) {
    return g_DevicePath(vxtapi::kDeviceHtLink, 0) + "/link/" + std::to_string(uLink);
}

}  // namespace

void g_AddLinks(CDocument& rDocument, const CHostLibrary& rLibrary) {
    CHTLink& rDevice = g_LinkDevice(rLibrary);
    CJson& rLinks = rDocument["links"] = CJson::Array();
    for (uint32_t uLink = 0; uLink < kMostLinks; ++uLink) {
        HTConfig Config{};
        if (!rDevice.GetHTConfig(uLink, &Config)) continue;  // a family with fewer links, or a failed read
        const std::vector<CSetting> Settings = g_Settings(Config);
        CJson Control = CJson::Array();
        for (const bool bFlag : Config.abControl) Control.Push(bFlag);
        rLinks.Push({{"id", g_LinkPath(uLink)},
                     {"number", uLink},
                     {"revision_major", Config.uRevisionMajor},
                     {"revision_minor", Config.uRevisionMinor},
                     {"control_flags", Control},
                     {"settings", g_SettingsToJson(Settings, g_LinkPath(uLink))}});
        g_AddSettingTable(rDocument,
                          "Link " + std::to_string(uLink) + ", revision " + std::to_string(Config.uRevisionMajor) +
                              "." + vxttools::g_Trimmed(Config.uRevisionMinor, 0),
                          Settings);
    }
    if (rLinks.Items().empty()) throw CFailure(EExit::kFailed, "no link could be read; --log tells more");
}

CChangePlan g_PlanLinkChanges(const CHostLibrary& rLibrary, uint32_t uLink,
                              const std::vector<CAssignment>& rAssignments, bool bForce) {
    CHTLink& rDevice = g_LinkDevice(rLibrary);
    struct CPending {
        HTConfig Config{};
        std::optional<bool> oDone = std::nullopt;
    };
    const auto pPending = std::make_shared<CPending>();
    if (!rDevice.GetHTConfig(uLink, &pPending->Config))
        throw CFailure(EExit::kNoSuchDevice, "no link " + std::to_string(uLink) + ", or it could not be read");
    const std::vector<CSetting> Settings = g_Settings(pPending->Config);
    for (const CLinkRow& rRow : kRows)
        if (double& rdValue = pPending->Config.*rRow.pField; rdValue == kReservedCode) rdValue = kUnlisted;

    CChangePlan Plan;
    for (const CAssignment& rAssignment : rAssignments) {
        CChange Change = g_PlanSetting(Settings, rAssignment, g_LinkPath(uLink), bForce);
        Change.sOwner = "link " + std::to_string(uLink);
        for (const CLinkRow& rRow : kRows) {
            if (rAssignment.sKey != rRow.pszKey) continue;
            pPending->Config.*rRow.pField = rAssignment.dValue;
            Change.Read = [&rDevice, uLink, pField = rRow.pField]() -> std::optional<double> {
                HTConfig Now{};
                if (!rDevice.GetHTConfig(uLink, &Now) || Now.*pField <= 0) return std::nullopt;
                return Now.*pField;
            };
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
