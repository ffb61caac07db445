#include "links.h"

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
constexpr double kReservedCode = -1.0, kLeaveAlone = -3.0;  ///< as with the memory controller

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

std::vector<CSetting> _Settings(const HTConfig& rConfig) {
    std::vector<CSetting> Settings;
    for (const CLinkRow& rRow : kRows) {
        CSetting& rSetting = Settings.emplace_back(CSetting{rRow.pszKey, rRow.pszLabel, rRow.pszUnit});
        rSetting.Legal = rRow.rLegal;
        rSetting.bReadOnly = rRow.bReadOnly;
        const double dValue = rConfig.*rRow.pField;
        if (dValue == kReservedCode)
            rSetting.sReason = "the register holds a reserved code";
        else if (dValue == 0)
            rSetting.sReason = "the hardware does not say";
        else
            rSetting.dValue = dValue;
    }
    return Settings;
}

CHTLink& _LinkDevice(const CHostLibrary& rLibrary) {
    const std::vector<CInventoryEntry> Devices = rLibrary.Devices(vxtapi::kDeviceHtLink);
    if (Devices.empty())
        throw CFailure(EExit::kNoSuchDevice, "this machine has no HyperTransport links that the library knows");
    return *static_cast<CHTLink*>(Devices.front().pDevice);
}

std::string _LinkPath(uint32_t uLink) {
    return g_DevicePath(vxtapi::kDeviceHtLink, 0) + "/link/" + std::to_string(uLink);
}

}  // namespace

void g_AddLinks(CDocument& rDocument, const CHostLibrary& rLibrary) {
    CHTLink& rDevice = _LinkDevice(rLibrary);
    CJson& rLinks = rDocument["links"] = CJson::array();
    for (uint32_t uLink = 0; uLink < kMostLinks; ++uLink) {
        HTConfig Config{};
        if (!rDevice.GetHTConfig(uLink, &Config)) continue;  // a family with fewer links, or a failed read
        const std::vector<CSetting> Settings = _Settings(Config);
        CJson Control = CJson::array();
        for (const bool bFlag : Config.abControl) Control.push_back(bFlag);
        rLinks.push_back({{"id", _LinkPath(uLink)},
                          {"number", uLink},
                          {"revision_major", Config.uRevisionMajor},
                          {"revision_minor", Config.uRevisionMinor},
                          {"control_flags", Control},
                          {"settings", g_SettingsToJson(Settings, _LinkPath(uLink))}});
        g_AddSettingTable(rDocument,
                          "Link " + std::to_string(uLink) + ", revision " + std::to_string(Config.uRevisionMajor) +
                              "." + vxttools::g_Trimmed(Config.uRevisionMinor, 0),
                          Settings);
    }
    if (rLinks.empty()) throw CFailure(EExit::kFailed, "no link could be read; --log tells more");
}

CChangePlan g_PlanLinkChanges(const CHostLibrary& rLibrary, uint32_t uLink,
                              const std::vector<CAssignment>& rAssignments, bool bForce) {
    CHTLink& rDevice = _LinkDevice(rLibrary);
    struct CPending {
        HTConfig Config{};
        std::optional<bool> oDone = std::nullopt;
    };
    const auto pPending = std::make_shared<CPending>();
    if (!rDevice.GetHTConfig(uLink, &pPending->Config))
        throw CFailure(EExit::kNoSuchDevice, "no link " + std::to_string(uLink) + ", or it could not be read");
    const std::vector<CSetting> Settings = _Settings(pPending->Config);
    for (const CLinkRow& rRow : kRows)
        if (double& rdValue = pPending->Config.*rRow.pField; rdValue == kReservedCode) rdValue = kLeaveAlone;

    CChangePlan Plan;
    for (const CAssignment& rAssignment : rAssignments) {
        CChange Change = g_PlanSetting(Settings, rAssignment, _LinkPath(uLink), bForce);
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

void g_AddNorthBridge(CDocument& rDocument, const CHostLibrary& rLibrary) {
    const std::vector<CInventoryEntry> Devices = rLibrary.Devices(vxtapi::kDeviceNorthBridge);
    if (Devices.empty())
        throw CFailure(EExit::kNoSuchDevice, "this machine has no north bridge that the library knows");
    auto& rBridge = *static_cast<vxtapi::CNorthBridge*>(Devices.front().pDevice);
    const std::string sPath = g_DevicePath(vxtapi::kDeviceNorthBridge, 0);
    vxttools::CQuantity Current{sPath + "/ht_multiplier", "HyperTransport multiplier", "x 200 MHz"};
    vxttools::CQuantity Maximum{sPath + "/max_ht_multiplier", "Highest HyperTransport multiplier", "x 200 MHz"};
    Current.Judge(rBridge.GetHTMultiplier(), {1, 13});
    Maximum.Judge(rBridge.GetMaxHTMultiplier(), {1, 13});
    Current.Limits.dMaximum = Maximum.dValue;
    rDocument["model"] = vxttools::g_Utf8(rBridge.GetModel());
    rDocument["readings"] = CJson::array({Current.ToJson(), Maximum.ToJson()});
    rDocument.SetCsv("readings");
    vxttools::CTextTable Table{vxttools::g_Utf8(rBridge.GetModel()), {"", ""}};
    for (const CJson& rReading : std::as_const(rDocument)["readings"])
        Table.Rows.push_back({"  " + vxttools::g_Cell(rReading.at("label")), vxttools::g_Cell(rReading, true)});
    rDocument.AddTable(std::move(Table));
}

}  // namespace vxtctl
