#include "memory.h"

#include <memory>

#include "device_types.h"

namespace vxtctl {

using vxtapi::CMemoryController;
using vxtapi::MemConfig;
using vxtapi::MemTiming;
using vxttools::CChange;
using vxttools::CChangePlan;
using vxttools::CDocument;
using vxttools::CFailure;
using vxttools::EExit;

namespace {

using CListOperation = bool (CMemoryController::*)(double*, uint32_t&);

/// A number of one of the two records. `pField` finds it in a record; lists are null where the library has none.
template <class TRecord> struct CNumberRow {
    const char* pszKey;
    const char* pszLabel;
    const char* pszUnit;
    double& (*pField)(TRecord&);
    CListOperation pList;
};
struct CSwitchRow {
    const char* pszKey;
    const char* pszLabel;
    bool MemConfig::*pFlag;
    bool bReadOnly = false;
};

// clang-format off
constexpr CNumberRow<MemTiming> kTimings[] = {
    {"tcl", "CAS latency", "clocks", [](MemTiming& r) -> double& { return r.dTcl; }, &CMemoryController::GetTclList},
    {"trcd", "RAS to CAS delay", "clocks", [](MemTiming& r) -> double& { return r.dTrcd; }, &CMemoryController::GetTrcdList},
    {"trp", "Row precharge time", "clocks", [](MemTiming& r) -> double& { return r.dTrp; }, &CMemoryController::GetTrpList},
    {"tras", "Row active time", "clocks", [](MemTiming& r) -> double& { return r.dTras; }, &CMemoryController::GetTrasList},
    {"trc", "Row cycle time", "clocks", [](MemTiming& r) -> double& { return r.dTrc; }, &CMemoryController::GetTrcList},
    {"trfc0", "Refresh cycle time, DIMM pair 0", "ns", [](MemTiming& r) -> double& { return r.dTrfc0; }, &CMemoryController::GetTrfcList},
    {"trfc1", "Refresh cycle time, DIMM pair 1", "ns", [](MemTiming& r) -> double& { return r.dTrfc1; }, &CMemoryController::GetTrfcList},
    {"trfc2", "Refresh cycle time, DIMM pair 2", "ns", [](MemTiming& r) -> double& { return r.dTrfc2; }, &CMemoryController::GetTrfcList},
    {"trfc3", "Refresh cycle time, DIMM pair 3", "ns", [](MemTiming& r) -> double& { return r.dTrfc3; }, &CMemoryController::GetTrfcList},
    {"trrd", "RAS to RAS delay", "clocks", [](MemTiming& r) -> double& { return r.dTrrd; }, &CMemoryController::GetTrrdList},
    {"twr", "Write recovery time", "clocks", [](MemTiming& r) -> double& { return r.dTwr; }, &CMemoryController::GetTwrList},
    {"twtr", "Write to read delay", "clocks", [](MemTiming& r) -> double& { return r.dTwtr; }, &CMemoryController::GetTwtrList},
    {"trwt", "Read to write turnaround", "clocks", [](MemTiming& r) -> double& { return r.dTrwt; }, &CMemoryController::GetTrwtList},
    {"tref", "Refresh interval", "us", [](MemTiming& r) -> double& { return r.dTref; }, &CMemoryController::GetTrefList},
    {"twcl", "Write CAS latency", "clocks", [](MemTiming& r) -> double& { return r.dTwcl; }, &CMemoryController::GetTwclList},
    {"trtp", "Read to precharge time", "clocks", [](MemTiming& r) -> double& { return r.dTrtp; }, &CMemoryController::GetTrtpList},
    {"trwt_to", "Read to write turnaround, DQS contention", "clocks", [](MemTiming& r) -> double& { return r.dTrwtTO; }, &CMemoryController::GetTrwtTOList},
    {"twrrd", "Write to read turnaround between DIMMs", "clocks", [](MemTiming& r) -> double& { return r.dTwrrd; }, &CMemoryController::GetTwrrdList},
    {"twrwr", "Write to write", "clocks", [](MemTiming& r) -> double& { return r.dTwrwr; }, &CMemoryController::GetTwrwrList},
    {"trdrd", "Read to read", "clocks", [](MemTiming& r) -> double& { return r.dTrdrd; }, &CMemoryController::GetTrdrdList},
    {"trwt_wb", "Read to write turnaround, write bursting", "clocks", [](MemTiming& r) -> double& { return r.dTrwtWB; }, nullptr},
};
constexpr CSwitchRow kSwitches[] = {
    {"ganged", "Channels ganged", &MemConfig::bGanged, true},
    {"both_channels", "Both channels in use", &MemConfig::bBothChannels, true},
    {"slow_access", "Slow access mode (2T)", &MemConfig::bSlowAccessMode},
    {"weak_drivers", "DRAM drivers weak mode", &MemConfig::bWeakDrivers},
    {"dcc", "DCC enable", &MemConfig::bDccEnable},
    {"power_down", "Power down mode", &MemConfig::bPowerDownEnable},
};
constexpr CNumberRow<MemConfig> kNumbers[] = {
    {"memory_clock", "Memory clock", "MHz", [](MemConfig& r) -> double& { return r.dMemoryClock; }, &CMemoryController::GetMemClkList},
    {"max_async_latency", "Maximum asynchronous latency", "ns", [](MemConfig& r) -> double& { return r.dMaxAsyncLat; }, &CMemoryController::GetMaxAsyncLatList},
    {"dram_termination", "DRAM termination", "ohm", [](MemConfig& r) -> double& { return r.dDramTermination; }, &CMemoryController::GetDramTermList},
    {"four_bank_window", "Four bank activate window", "clocks", [](MemConfig& r) -> double& { return r.dFourBankActWindow; }, &CMemoryController::GetFourActWindowList},
    {"dcq_bypass_max", "DCQ bypass maximum", "", [](MemConfig& r) -> double& { return r.dDcqBypassMax; }, nullptr},
    {"idle_cycle_limit", "Idle cycle limit", "clocks", [](MemConfig& r) -> double& { return r.dIdleCycleLimit; }, &CMemoryController::GetILD_lmtList},
    {"read_preamble", "Read preamble", "ns", [](MemConfig& r) -> double& { return r.dReadPreamble; }, &CMemoryController::GetRdPreambleList},
    {"cke_drive_a", "CKE drive strength, channel A", "x", [](MemConfig& r) -> double& { return r.adCkeDrive[0]; }, &CMemoryController::GetCkeDrvStrengthList},
    {"cke_drive_b", "CKE drive strength, channel B", "x", [](MemConfig& r) -> double& { return r.adCkeDrive[1]; }, &CMemoryController::GetCkeDrvStrengthList},
    {"cs_odt_drive_a", "CS and ODT drive strength, channel A", "x", [](MemConfig& r) -> double& { return r.adCsOdtDrive[0]; }, &CMemoryController::GetCsOdtDrvStrengthList},
    {"cs_odt_drive_b", "CS and ODT drive strength, channel B", "x", [](MemConfig& r) -> double& { return r.adCsOdtDrive[1]; }, &CMemoryController::GetCsOdtDrvStrengthList},
    {"addr_cmd_drive_a", "Address and command drive strength, channel A", "x", [](MemConfig& r) -> double& { return r.adAddrCmdDrive[0]; }, &CMemoryController::GetAddrCmdDrvStrenList},
    {"addr_cmd_drive_b", "Address and command drive strength, channel B", "x", [](MemConfig& r) -> double& { return r.adAddrCmdDrive[1]; }, &CMemoryController::GetAddrCmdDrvStrenList},
    {"clock_drive_a", "Clock drive strength, channel A", "x", [](MemConfig& r) -> double& { return r.adClockDrive[0]; }, &CMemoryController::GetClkDrvStrenList},
    {"clock_drive_b", "Clock drive strength, channel B", "x", [](MemConfig& r) -> double& { return r.adClockDrive[1]; }, &CMemoryController::GetClkDrvStrenList},
    {"data_drive_a", "Data drive strength, channel A", "x", [](MemConfig& r) -> double& { return r.adDataDrive[0]; }, &CMemoryController::GetDataDrvStrenList},
    {"data_drive_b", "Data drive strength, channel B", "x", [](MemConfig& r) -> double& { return r.adDataDrive[1]; }, &CMemoryController::GetDataDrvStrenList},
    {"dqs_drive_a", "DQS drive strength, channel A", "x", [](MemConfig& r) -> double& { return r.adDqsDrive[0]; }, &CMemoryController::GetDqsDrvStrenList},
    {"dqs_drive_b", "DQS drive strength, channel B", "x", [](MemConfig& r) -> double& { return r.adDqsDrive[1]; }, &CMemoryController::GetDqsDrvStrenList},
    {"proc_odt_a", "Processor on-die termination, channel A", "ohm", [](MemConfig& r) -> double& { return r.adProcOdt[0]; }, &CMemoryController::GetProcOdtList},
    {"proc_odt_b", "Processor on-die termination, channel B", "ohm", [](MemConfig& r) -> double& { return r.adProcOdt[1]; }, &CMemoryController::GetProcOdtList},
    {"dqs_delay_a1", "DQS receiver enable delay A1", "ns", [](MemConfig& r) -> double& { return r.adDqsReceiverDelay[0]; }, &CMemoryController::GetDqsRcvEnDelayList},
    {"dqs_delay_a2", "DQS receiver enable delay A2", "ns", [](MemConfig& r) -> double& { return r.adDqsReceiverDelay[1]; }, &CMemoryController::GetDqsRcvEnDelayList},
    {"dqs_delay_a3", "DQS receiver enable delay A3", "ns", [](MemConfig& r) -> double& { return r.adDqsReceiverDelay[2]; }, &CMemoryController::GetDqsRcvEnDelayList},
    {"dqs_delay_a4", "DQS receiver enable delay A4", "ns", [](MemConfig& r) -> double& { return r.adDqsReceiverDelay[3]; }, &CMemoryController::GetDqsRcvEnDelayList},
    {"dqs_delay_b1", "DQS receiver enable delay B1", "ns", [](MemConfig& r) -> double& { return r.adDqsReceiverDelay[4]; }, &CMemoryController::GetDqsRcvEnDelayList},
    {"dqs_delay_b2", "DQS receiver enable delay B2", "ns", [](MemConfig& r) -> double& { return r.adDqsReceiverDelay[5]; }, &CMemoryController::GetDqsRcvEnDelayList},
    {"dqs_delay_b3", "DQS receiver enable delay B3", "ns", [](MemConfig& r) -> double& { return r.adDqsReceiverDelay[6]; }, &CMemoryController::GetDqsRcvEnDelayList},
    {"dqs_delay_b4", "DQS receiver enable delay B4", "ns", [](MemConfig& r) -> double& { return r.adDqsReceiverDelay[7]; }, &CMemoryController::GetDqsRcvEnDelayList},
};
// clang-format on

constexpr uint32_t kLongestList = 1024;
constexpr double kReservedCode = -1.0;  ///< in-band: the register holds a code that means nothing
constexpr double kLeaveAlone = -3.0;    ///< in no table: the library leaves such a field's bits as they are

constexpr uint32_t kDdr = 7;
constexpr struct {
    uint32_t uNumber;
    const char* pszName;
} kMemoryTypes[] = {{kDdr, "DDR"}, {8, "DDR2"}, {11, "DDR3"}};

CMemoryController& _Controller(const CHostLibrary& rLibrary) {
    const std::vector<CInventoryEntry> Controllers = rLibrary.Devices(vxtapi::kDeviceMemoryController);
    if (Controllers.empty())
        throw CFailure(EExit::kNoSuchDevice, "this machine has no memory controller that the library knows");
    return *static_cast<CMemoryController*>(Controllers.front().pDevice);
}

std::optional<std::vector<double>> _Legal(CMemoryController& rController, CListOperation pList) {
    if (!pList) return std::nullopt;
    std::vector<double> Values(kLongestList);
    uint32_t uSize = kLongestList;
    if (!(rController.*pList)(Values.data(), uSize)) return std::nullopt;
    Values.resize(uSize);
    return Values;
}

template <class TRecord>
CSetting _Setting(CMemoryController& rController, const CNumberRow<TRecord>& rRow, TRecord& rRecord, bool bRead) {
    CSetting Setting{rRow.pszKey, rRow.pszLabel, rRow.pszUnit};
    const std::optional<std::vector<double>> oLegal = _Legal(rController, rRow.pList);
    if (oLegal) Setting.Legal = *oLegal;
    const double dValue = rRow.pField(rRecord);
    const bool bZeroIsValue = !Setting.Legal.empty() && std::ranges::count(Setting.Legal, 0.0);
    if (!bRead) {
        Setting.sReason = "the register could not be read";
    } else if (dValue == kReservedCode) {
        Setting.sReason = "the register holds a reserved code";
    } else if (dValue == 0.0 && !bZeroIsValue) {
        Setting.sReason = Setting.Legal.empty() ? "zero, or this controller has no such field" : "not in use";
    } else {
        Setting.dValue = dValue;
    }
    return Setting;
}

/// The record as read, and its settings.
struct CState {
    MemTiming Timing{};
    MemConfig Config{};
    std::vector<CSetting> Timings, Configuration;
};

CState _ReadState(CMemoryController& rController) {
    CState State;
    const bool bConfig = rController.GetMemConfig(&State.Config);  // first: timings follow the flags it refreshes
    const bool bTiming = rController.GetMemTiming(&State.Timing);
    for (const auto& rRow : kTimings) {
        CSetting& rTiming = State.Timings.emplace_back(_Setting(rController, rRow, State.Timing, bTiming));
        // DDR controllers count the refresh cycle in clocks, later ones in ns.
        if (rController.GetMemoryType() == kDdr && rRow.pList == &CMemoryController::GetTrfcList)
            rTiming.sUnit = "clocks";
    }
    for (const CSwitchRow& rRow : kSwitches) {
        CSetting Switch{rRow.pszKey, rRow.pszLabel, ""};
        Switch.bSwitch = true;
        Switch.bReadOnly = rRow.bReadOnly;
        Switch.Legal = {0, 1};
        if (bConfig) Switch.dValue = State.Config.*rRow.pFlag ? 1 : 0;
        if (!bConfig) Switch.sReason = "the register could not be read";
        State.Configuration.push_back(std::move(Switch));
    }
    for (const auto& rRow : kNumbers) State.Configuration.push_back(_Setting(rController, rRow, State.Config, bConfig));
    return State;
}

/// Reserved codes go back as something no table holds: writing them as they read could change one for another.
template <class TRecord, size_t N> void _KeepReserved(TRecord& rRecord, const CNumberRow<TRecord> (&aRows)[N]) {
    for (const auto& rRow : aRows)
        if (double& rdValue = rRow.pField(rRecord); rdValue == kReservedCode) rdValue = kLeaveAlone;
}

/// A record written once, however many of its settings change.
template <class TRecord> struct CPendingWrite {
    TRecord Record{};
    std::optional<bool> oDone = std::nullopt;
};

/// Reads one record again, the one that holds the setting, and takes the number out of it.
std::optional<double> _ReadBack(CMemoryController& rController, const std::string& sKey) {
    MemTiming Timing{};
    for (const auto& rRow : kTimings)
        if (sKey == rRow.pszKey) return _Setting(rController, rRow, Timing, rController.GetMemTiming(&Timing)).dValue;
    MemConfig Config{};
    if (!rController.GetMemConfig(&Config)) return std::nullopt;
    for (const auto& rRow : kNumbers)
        if (sKey == rRow.pszKey) return _Setting(rController, rRow, Config, true).dValue;
    for (const CSwitchRow& rRow : kSwitches)
        if (sKey == rRow.pszKey) return Config.*rRow.pFlag ? 1 : 0;
    return std::nullopt;
}

}  // namespace

void g_AddMemory(CDocument& rDocument, const CHostLibrary& rLibrary) {
    CMemoryController& rController = _Controller(rLibrary);
    const std::string sPath = g_DevicePath(vxtapi::kDeviceMemoryController, 0);
    const CState State = _ReadState(rController);
    const char* pszType = "unknown";
    for (const auto& rType : kMemoryTypes)
        if (rType.uNumber == rController.GetMemoryType()) pszType = rType.pszName;
    rDocument["memory_type"] = pszType;
    rDocument["timings"] = g_SettingsToJson(State.Timings, sPath);
    rDocument["configuration"] = g_SettingsToJson(State.Configuration, sPath);
    rDocument.SetCsv("timings");
    g_AddSettingTable(rDocument, std::string("Timings, ") + pszType, State.Timings);
    g_AddSettingTable(rDocument, "Configuration", State.Configuration);
}

CChangePlan g_PlanMemoryChanges(const CHostLibrary& rLibrary, const std::vector<CAssignment>& rAssignments,
                                bool bForce) {
    CMemoryController& rController = _Controller(rLibrary);
    const std::string sPath = g_DevicePath(vxtapi::kDeviceMemoryController, 0);
    const CState State = _ReadState(rController);
    const auto pTiming = std::make_shared<CPendingWrite<MemTiming>>(CPendingWrite<MemTiming>{State.Timing});
    const auto pConfig = std::make_shared<CPendingWrite<MemConfig>>(CPendingWrite<MemConfig>{State.Config});
    _KeepReserved(pTiming->Record, kTimings);
    _KeepReserved(pConfig->Record, kNumbers);

    std::vector<CSetting> All = State.Timings;
    All.insert(All.end(), State.Configuration.begin(), State.Configuration.end());
    CChangePlan Plan;
    for (const CAssignment& rAssignment : rAssignments) {
        CChange Change = g_PlanSetting(All, rAssignment, sPath, bForce);
        Change.sOwner = "memory";
        Change.Read = [&rController, sKey = rAssignment.sKey] { return _ReadBack(rController, sKey); };
        for (const auto& rRow : kTimings)
            if (rAssignment.sKey == rRow.pszKey) {
                rRow.pField(pTiming->Record) = rAssignment.dValue;
                Change.Write = [&rController, pTiming] {
                    if (!pTiming->oDone) pTiming->oDone = rController.SetMemTiming(&pTiming->Record);
                    return *pTiming->oDone;
                };
            }
        const auto WriteConfig = [&rController, pConfig] {
            if (!pConfig->oDone) pConfig->oDone = rController.SetMemConfig(&pConfig->Record);
            return *pConfig->oDone;
        };
        for (const auto& rRow : kNumbers)
            if (rAssignment.sKey == rRow.pszKey)
                rRow.pField(pConfig->Record) = rAssignment.dValue, Change.Write = WriteConfig;
        for (const CSwitchRow& rRow : kSwitches)
            if (rAssignment.sKey == rRow.pszKey)
                pConfig->Record.*rRow.pFlag = rAssignment.dValue != 0, Change.Write = WriteConfig;
        Plan.Add(std::move(Change));
    }
    return Plan;
}

}  // namespace vxtctl
