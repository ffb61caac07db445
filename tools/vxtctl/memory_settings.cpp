#include "memory_settings.h"

#include <algorithm>
#include <memory>
#include <variant>

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

/// A number of a record: a member, or an element of one that holds a number for each channel or delay.
template <class TRecord> class CField {
public:
    constexpr CField(double TRecord::*pNumber) : m_Member(pNumber) {}
    template <size_t uCount>
    constexpr CField(double (TRecord::*pNumbers)[uCount], uint32_t uElement)
        : m_Member(pNumbers), m_uElement(uElement) {}

    double& operator()(TRecord& rRecord) const {
        const auto Element = [&](auto pMember) -> double& {
            if constexpr (std::is_same_v<decltype(pMember), double TRecord::*>)
                return rRecord.*pMember;
            else
                return (rRecord.*pMember)[m_uElement];
        };
        return std::visit(Element, m_Member);
    }
    /// Whose number it is; nothing: both channels'. Arrays begin with channel A's half.
    std::optional<uint32_t> Channel() const {
        if (std::holds_alternative<CPair>(m_Member)) return m_uElement;
        return std::holds_alternative<CEight>(m_Member) ? std::optional(m_uElement / 4) : std::nullopt;
    }

private:
    using CPair = double (TRecord::*)[2];
    using CEight = double (TRecord::*)[8];
    std::variant<double TRecord::*, CPair, CEight> m_Member;
    uint32_t m_uElement = 0;
};

template <class TRecord> struct CNumberRow {
    const char* pszKey;
    const char* pszLabel;
    const char* pszUnit;
    CField<TRecord> Field;
    CListOperation pList;     ///< null where the library has none
    bool bMayBeZero = false;  ///< without a list: every controller has it, and 0 is a value of it

    bool IsOfPair() const { return pList == &CMemoryController::GetTrfcList; }  ///< a pair of modules
    bool IsLatency() const { return pList == &CMemoryController::GetMaxAsyncLatList; }
};
struct CSwitchRow {
    const char* pszKey;
    const char* pszLabel;
    decltype(MemConfig::bGanged) MemConfig::*pFlag;
    bool bReadOnly = false;
    bool bNotOfDdr = false;  ///< DDR controllers have no such switch
};

// clang-format off
constexpr CNumberRow<MemTiming> kTimings[] = {
    {"tcl", "CAS latency", "clocks", &MemTiming::dTcl, &CMemoryController::GetTclList},
    {"trcd", "RAS to CAS delay", "clocks", &MemTiming::dTrcd, &CMemoryController::GetTrcdList},
    {"trp", "Row precharge time", "clocks", &MemTiming::dTrp, &CMemoryController::GetTrpList},
    {"tras", "Row active time", "clocks", &MemTiming::dTras, &CMemoryController::GetTrasList},
    {"trc", "Row cycle time", "clocks", &MemTiming::dTrc, &CMemoryController::GetTrcList},
    {"trfc0", "Refresh cycle time, DIMM pair 0", "ns", &MemTiming::dTrfc0, &CMemoryController::GetTrfcList},
    {"trfc1", "Refresh cycle time, DIMM pair 1", "ns", &MemTiming::dTrfc1, &CMemoryController::GetTrfcList},
    {"trfc2", "Refresh cycle time, DIMM pair 2", "ns", &MemTiming::dTrfc2, &CMemoryController::GetTrfcList},
    {"trfc3", "Refresh cycle time, DIMM pair 3", "ns", &MemTiming::dTrfc3, &CMemoryController::GetTrfcList},
    {"trrd", "RAS to RAS delay", "clocks", &MemTiming::dTrrd, &CMemoryController::GetTrrdList},
    {"twr", "Write recovery time", "clocks", &MemTiming::dTwr, &CMemoryController::GetTwrList},
    {"twtr", "Write to read delay", "clocks", &MemTiming::dTwtr, &CMemoryController::GetTwtrList},
    {"trwt", "Read to write turnaround", "clocks", &MemTiming::dTrwt, &CMemoryController::GetTrwtList},
    {"tref", "Refresh interval", "us", &MemTiming::dTref, &CMemoryController::GetTrefList},
    {"twcl", "Write CAS latency", "clocks", &MemTiming::dTwcl, &CMemoryController::GetTwclList},
    {"trtp", "Read to precharge time", "clocks", &MemTiming::dTrtp, &CMemoryController::GetTrtpList},
    {"trwt_to", "Read to write turnaround, DQS contention", "clocks", &MemTiming::dTrwtTO, &CMemoryController::GetTrwtTOList},
    {"twrrd", "Write to read turnaround between DIMMs", "clocks", &MemTiming::dTwrrd, &CMemoryController::GetTwrrdList},
    {"twrwr", "Write to write", "clocks", &MemTiming::dTwrwr, &CMemoryController::GetTwrwrList},
    {"trdrd", "Read to read", "clocks", &MemTiming::dTrdrd, &CMemoryController::GetTrdrdList},
    {"trwt_wb", "Read to write turnaround, write bursting", "clocks", &MemTiming::dTrwtWB, nullptr},
};
constexpr CSwitchRow kSwitches[] = {
    {"ganged", "Channels ganged", &MemConfig::bGanged, true},
    {"both_channels", "Both channels in use", &MemConfig::bBothChannels, true},
    {"slow_access", "Slow access mode (2T)", &MemConfig::bSlowAccessMode},
    {"weak_drivers", "DRAM drivers weak mode", &MemConfig::bWeakDrivers},
    {"dcc", "DCC enable", &MemConfig::bDccEnable},
    {"power_down", "Power down mode", &MemConfig::bPowerDownEnable, false, true},
};
constexpr CNumberRow<MemConfig> kNumbers[] = {
    {"memory_clock", "Memory clock", "MHz", &MemConfig::dMemoryClock, &CMemoryController::GetMemClkList},
    {"max_async_latency", "Maximum asynchronous latency", "ns", &MemConfig::dMaxAsyncLat, &CMemoryController::GetMaxAsyncLatList},
    {"dram_termination", "DRAM termination", "ohm", &MemConfig::dDramTermination, &CMemoryController::GetDramTermList},
    {"four_bank_window", "Four bank activate window", "clocks", &MemConfig::dFourBankActWindow, &CMemoryController::GetFourActWindowList},
    {"dcq_bypass_max", "DCQ bypass maximum", "", &MemConfig::dDcqBypassMax, nullptr, true},
    {"idle_cycle_limit", "Idle cycle limit", "clocks", &MemConfig::dIdleCycleLimit, &CMemoryController::GetILD_lmtList},
    {"read_preamble", "Read preamble", "ns", &MemConfig::dReadPreamble, &CMemoryController::GetRdPreambleList},
    {"cke_drive_a", "CKE drive strength, channel A", "x", {&MemConfig::adCkeDrive, 0}, &CMemoryController::GetCkeDrvStrengthList},
    {"cke_drive_b", "CKE drive strength, channel B", "x", {&MemConfig::adCkeDrive, 1}, &CMemoryController::GetCkeDrvStrengthList},
    {"cs_odt_drive_a", "CS and ODT drive strength, channel A", "x", {&MemConfig::adCsOdtDrive, 0}, &CMemoryController::GetCsOdtDrvStrengthList},
    {"cs_odt_drive_b", "CS and ODT drive strength, channel B", "x", {&MemConfig::adCsOdtDrive, 1}, &CMemoryController::GetCsOdtDrvStrengthList},
    {"addr_cmd_drive_a", "Address and command drive strength, channel A", "x", {&MemConfig::adAddrCmdDrive, 0}, &CMemoryController::GetAddrCmdDrvStrenList},
    {"addr_cmd_drive_b", "Address and command drive strength, channel B", "x", {&MemConfig::adAddrCmdDrive, 1}, &CMemoryController::GetAddrCmdDrvStrenList},
    {"clock_drive_a", "Clock drive strength, channel A", "x", {&MemConfig::adClockDrive, 0}, &CMemoryController::GetClkDrvStrenList},
    {"clock_drive_b", "Clock drive strength, channel B", "x", {&MemConfig::adClockDrive, 1}, &CMemoryController::GetClkDrvStrenList},
    {"data_drive_a", "Data drive strength, channel A", "x", {&MemConfig::adDataDrive, 0}, &CMemoryController::GetDataDrvStrenList},
    {"data_drive_b", "Data drive strength, channel B", "x", {&MemConfig::adDataDrive, 1}, &CMemoryController::GetDataDrvStrenList},
    {"dqs_drive_a", "DQS drive strength, channel A", "x", {&MemConfig::adDqsDrive, 0}, &CMemoryController::GetDqsDrvStrenList},
    {"dqs_drive_b", "DQS drive strength, channel B", "x", {&MemConfig::adDqsDrive, 1}, &CMemoryController::GetDqsDrvStrenList},
    {"proc_odt_a", "Processor on-die termination, channel A", "ohm", {&MemConfig::adProcOdt, 0}, &CMemoryController::GetProcOdtList},
    {"proc_odt_b", "Processor on-die termination, channel B", "ohm", {&MemConfig::adProcOdt, 1}, &CMemoryController::GetProcOdtList},
    {"dqs_delay_a1", "DQS receiver enable delay A1", "ns", {&MemConfig::adDqsReceiverDelay, 0}, &CMemoryController::GetDqsRcvEnDelayList},
    {"dqs_delay_a2", "DQS receiver enable delay A2", "ns", {&MemConfig::adDqsReceiverDelay, 1}, &CMemoryController::GetDqsRcvEnDelayList},
    {"dqs_delay_a3", "DQS receiver enable delay A3", "ns", {&MemConfig::adDqsReceiverDelay, 2}, &CMemoryController::GetDqsRcvEnDelayList},
    {"dqs_delay_a4", "DQS receiver enable delay A4", "ns", {&MemConfig::adDqsReceiverDelay, 3}, &CMemoryController::GetDqsRcvEnDelayList},
    {"dqs_delay_b1", "DQS receiver enable delay B1", "ns", {&MemConfig::adDqsReceiverDelay, 4}, &CMemoryController::GetDqsRcvEnDelayList},
    {"dqs_delay_b2", "DQS receiver enable delay B2", "ns", {&MemConfig::adDqsReceiverDelay, 5}, &CMemoryController::GetDqsRcvEnDelayList},
    {"dqs_delay_b3", "DQS receiver enable delay B3", "ns", {&MemConfig::adDqsReceiverDelay, 6}, &CMemoryController::GetDqsRcvEnDelayList},
    {"dqs_delay_b4", "DQS receiver enable delay B4", "ns", {&MemConfig::adDqsReceiverDelay, 7}, &CMemoryController::GetDqsRcvEnDelayList},
};
// clang-format on

constexpr uint32_t kLongestList = 1024;
constexpr double kReservedCode = -1.0;  ///< in-band: the register holds a code that means nothing

constexpr const char* kNoSuchField = "this controller has no such field";
constexpr const char* kUnread = "the register could not be read";

constexpr uint32_t kFamily11h = 0x1302;  ///< PCI device of the family's controller
constexpr uint32_t kDdr = 7;
constexpr struct {
    uint32_t uNumber;
    const char* pszName;
} kMemoryTypes[] = {{kDdr, "DDR"}, {8, "DDR2"}, {11, "DDR3"}};

CMemoryController& g_Controller(const CHostLibrary& rLibrary) {
    const std::vector<CInventoryEntry> Controllers = rLibrary.Devices(vxtapi::kDeviceMemoryController);
    if (Controllers.empty()) throw rLibrary.Absent("memory controller");
    return *static_cast<CMemoryController*>(Controllers.front().pDevice);
}

std::vector<double> g_Legal(CMemoryController& rController, CListOperation pList) {
    std::vector<double> Values(kLongestList);
    uint32_t uSize = kLongestList;
    if (!pList || !(rController.*pList)(Values.data(), uSize)) uSize = 0;
    Values.resize(uSize);
    return Values;
}

/// What is in use of the machine's memory, as far as the two records show it.
struct CInUse {
    bool abChannel[2];

    explicit CInUse(MemConfig Config) {
        for (uint32_t uChannel = 0; uChannel < 2; ++uChannel)  // a channel in use drives its modules
            abChannel[uChannel] = Config.bBothChannels || Config.adDataDrive[uChannel] != 0;
    }
};

template <class TRecord>
CSetting g_Setting(CMemoryController& rController, const CNumberRow<TRecord>& rRow, std::optional<TRecord> oRecord,
                   const CInUse& rInUse) {
    CSetting Setting{rRow.pszKey, rRow.pszLabel, rRow.pszUnit};
    // DDR controllers count the refresh cycle in clocks, later ones in ns.
    if (rController.GetMemoryType() == kDdr && rRow.IsOfPair()) Setting.sUnit = "clocks";
    // Family 11h keeps the whole read latency there, in clocks of the north bridge.
    if (rController.GetPciDevice() == kFamily11h && rRow.IsLatency()) Setting.sUnit = "clocks";
    Setting.SetLegal(g_Legal(rController, rRow.pList));
    if (!oRecord) {
        Setting.Fail(kUnread);
        return Setting;
    }
    const double dValue = rRow.Field(*oRecord);
    const bool bZero = dValue == 0 && !std::ranges::count(Setting.Legal, 0.0);
    if (Setting.Legal.empty() && bZero && !rRow.bMayBeZero)
        Setting.oFixed = kNoSuchField;
    else if (const auto oChannel = rRow.Field.Channel(); oChannel && !rInUse.abChannel[*oChannel])
        Setting.oFixed = "this channel is not in use";
    else if (rRow.IsOfPair() && (bZero || dValue == kReservedCode))
        Setting.oFixed = "there is no such pair of modules";
    else if (bZero && !rRow.bMayBeZero)
        Setting.oFixed = "not in use";
    else if (dValue == kReservedCode)
        Setting.sReason = "the register holds a reserved code";
    else
        Setting.oValue = dValue;
    if (Setting.oFixed) Setting.sReason = *Setting.oFixed;
    return Setting;
}

CSetting g_Setting(CMemoryController& rController, const CSwitchRow& rRow, const std::optional<MemConfig>& oConfig) {
    CSetting Switch{rRow.pszKey, rRow.pszLabel, ""};
    Switch.bSwitch = true;
    if (rRow.bReadOnly) Switch.oFixed = "the hardware only reports it";
    Switch.Legal = {0, 1};
    if (rRow.bNotOfDdr && rController.GetMemoryType() == kDdr)
        Switch.sReason = *(Switch.oFixed = kNoSuchField);
    else if (oConfig)
        Switch.oValue = (*oConfig).*rRow.pFlag ? 1 : 0;
    else
        Switch.Fail(kUnread);
    return Switch;
}

template <class TRecord>
std::optional<TRecord> g_Read(CMemoryController& rController, bool (CMemoryController::*pRead)(TRecord*)) {
    TRecord Record{};
    return (rController.*pRead)(&Record) ? std::optional(Record) : std::nullopt;
}
std::optional<MemTiming> g_ReadTiming(CMemoryController& r) { return g_Read(r, &CMemoryController::GetMemTiming); }
std::optional<MemConfig> g_ReadConfig(CMemoryController& r) { return g_Read(r, &CMemoryController::GetMemConfig); }

/// The records as far as they can be read, and their settings.
struct CMemory {
    std::optional<MemConfig> oConfig;  ///< read first: timings follow the flags it refreshes
    std::optional<MemTiming> oTiming;
    std::vector<CSetting> Timings = {}, Configuration = {};

    explicit CMemory(CMemoryController& rController)
        : oConfig(g_ReadConfig(rController)), oTiming(g_ReadTiming(rController)) {
        const CInUse InUse(oConfig.value_or(MemConfig{}));
        for (const auto& rRow : kTimings) Timings.push_back(g_Setting(rController, rRow, oTiming, InUse));
        for (const CSwitchRow& rRow : kSwitches) Configuration.push_back(g_Setting(rController, rRow, oConfig));
        for (const auto& rRow : kNumbers) Configuration.push_back(g_Setting(rController, rRow, oConfig, InUse));
    }
};

/// The row of that name; null when there is none.
template <class TRow, size_t uCount> const TRow* g_Find(const TRow (&aRows)[uCount], const std::string& sKey) {
    const auto pRow = std::ranges::find(aRows, sKey, &TRow::pszKey);
    return pRow == std::end(aRows) ? nullptr : pRow;
}

/// One write of a record, however many of its settings change.
template <class TRecord> class CRecordWrite {
public:
    using CWrite = bool (CMemoryController::*)(const TRecord*);
    CRecordWrite(CMemoryController& rController, CWrite pWrite, const std::optional<TRecord>& oPresent)
        : m_rController(rController), m_pWrite(pWrite), m_Record(oPresent.value_or(TRecord{})) {}

    /// Numbers that nobody asked for keep their bits: their codes may have twins, or mean nothing.
    template <size_t uCount> void KeepNumbers(const CNumberRow<TRecord> (&aRows)[uCount]) {
        for (const auto& rRow : aRows) rRow.Field(m_Record) = kUnlisted;
    }
    TRecord& Record() { return m_Record; }
    bool operator()() {
        if (!m_oDone) m_oDone = (m_rController.*m_pWrite)(&m_Record);
        return *m_oDone;
    }

private:
    CMemoryController& m_rController;
    CWrite m_pWrite;
    TRecord m_Record;
    std::optional<bool> m_oDone;
};

/// Writes one value of the configuration; the switches stand as they are now.
template <class TPut> bool g_WriteConfig(CMemoryController& rController, TPut Put) {
    const std::optional<MemConfig> oNow = g_ReadConfig(rController);
    if (!oNow) return false;
    CRecordWrite<MemConfig> Back(rController, &CMemoryController::SetMemConfig, oNow);
    Back.KeepNumbers(kNumbers);
    Put(Back.Record());
    return Back();
}

// One value alone, whichever row it has.
bool g_WriteOne(CMemoryController& rController, const CNumberRow<MemTiming>& rRow, double dValue) {
    CRecordWrite<MemTiming> One(rController, &CMemoryController::SetMemTiming, g_ReadTiming(rController));
    One.KeepNumbers(kTimings);
    rRow.Field(One.Record()) = dValue;
    return One();
}
bool g_WriteOne(CMemoryController& rController, const CNumberRow<MemConfig>& rRow, double dValue) {
    return g_WriteConfig(rController, [&](MemConfig& r) { rRow.Field(r) = dValue; });
}
bool g_WriteOne(CMemoryController& rController, const CSwitchRow& rRow, double dValue) {
    return g_WriteConfig(rController, [&](MemConfig& r) { r.*rRow.pFlag = dValue != 0; });
}

std::optional<double> g_ReadOne(CMemoryController& rController, const CNumberRow<MemTiming>& rRow) {
    return g_Setting(rController, rRow, g_ReadTiming(rController), CInUse(MemConfig{})).oValue;  // no channel's own
}
std::optional<double> g_ReadOne(CMemoryController& rController, const CNumberRow<MemConfig>& rRow) {
    const std::optional<MemConfig> oNow = g_ReadConfig(rController);
    return g_Setting(rController, rRow, oNow, CInUse(oNow.value_or(MemConfig{}))).oValue;
}
std::optional<double> g_ReadOne(CMemoryController& rController, const CSwitchRow& rRow) {
    return g_Setting(rController, rRow, g_ReadConfig(rController)).oValue;
}

template <class TRow> CDeviceSetting g_Reach(CMemoryController& rController, const TRow& rRow, CSetting Setting) {
    return {std::move(Setting), [&rController, &rRow] { return g_ReadOne(rController, rRow); },
            [&rController, &rRow](double dValue) { return g_WriteOne(rController, rRow, dValue); }};
}

template <class TRecord> size_t g_Offset(const CNumberRow<TRecord>& rRow) {
    TRecord Record{};
    return static_cast<size_t>(reinterpret_cast<std::byte*>(&rRow.Field(Record)) -
                               reinterpret_cast<std::byte*>(&Record));
}
size_t g_Offset(const CSwitchRow& rRow) {
    MemConfig Config{};
    return static_cast<size_t>(reinterpret_cast<std::byte*>(&(Config.*rRow.pFlag)) -
                               reinterpret_cast<std::byte*>(&Config));
}

}  // namespace

void g_AddMemory(CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings) {
    CMemoryController& rController = g_Controller(rLibrary);
    const std::string sPath = g_DevicePath(vxtapi::kDeviceMemoryController, 0);
    const CMemory Memory(rController);
    const char* pszType = "unknown";
    for (const auto& rType : kMemoryTypes)
        if (rType.uNumber == rController.GetMemoryType()) pszType = rType.pszName;
    rDocument["memory_type"] = pszType;
    rDocument["timings"] = g_SettingsToJson(Memory.Timings, sPath, rFindings);
    rDocument["configuration"] = g_SettingsToJson(Memory.Configuration, sPath, rFindings);
    rDocument.SetCsv("timings", "configuration");
    g_AddSettingTable(rDocument, std::string("Timings, ") + pszType, Memory.Timings);
    g_AddSettingTable(rDocument, "Configuration", Memory.Configuration);
}

std::vector<CMemorySetting> g_MemorySettings(const CHostLibrary& rLibrary) {
    CMemoryController& rController = g_Controller(rLibrary);
    const CMemory Memory(rController);
    std::vector<CMemorySetting> Settings;
    const auto Add = [&](const auto& rRows, auto itSetting, bool bIsTiming) {
        for (const auto& rRow : rRows)
            Settings.push_back({g_Reach(rController, rRow, *itSetting++), bIsTiming, g_Offset(rRow)});
        return itSetting;
    };
    Add(kTimings, Memory.Timings.begin(), true);
    Add(kNumbers, Add(kSwitches, Memory.Configuration.begin(), false), false);
    return Settings;
}

CSetting g_DescribeMemorySetting(bool bIsTiming, size_t uOffset) {
    CSetting Found{"", "", ""};
    const auto Look = [&](const auto& rRows) {
        for (const auto& rRow : rRows) {
            if (g_Offset(rRow) != uOffset) continue;
            Found.sKey = rRow.pszKey, Found.sLabel = rRow.pszLabel;
            if constexpr (requires { rRow.pszUnit; })
                Found.sUnit = rRow.IsOfPair() || rRow.IsLatency() ? "" : rRow.pszUnit;
            else
                Found.bSwitch = true;
        }
    };
    if (bIsTiming)
        Look(kTimings);
    else
        Look(kSwitches), Look(kNumbers);
    return Found;
}

CChangePlan g_PlanMemoryChanges(const CHostLibrary& rLibrary, const std::vector<CAssignment>& rAssignments,
                                bool bForce) {
    CMemoryController& rController = g_Controller(rLibrary);
    const std::string sPath = g_DevicePath(vxtapi::kDeviceMemoryController, 0);
    const CMemory Memory(rController);
    const auto pTiming =
        std::make_shared<CRecordWrite<MemTiming>>(rController, &CMemoryController::SetMemTiming, Memory.oTiming);
    const auto pConfig =
        std::make_shared<CRecordWrite<MemConfig>>(rController, &CMemoryController::SetMemConfig, Memory.oConfig);
    pTiming->KeepNumbers(kTimings);
    pConfig->KeepNumbers(kNumbers);

    std::vector<CSetting> All = Memory.Timings;
    All.insert(All.end(), Memory.Configuration.begin(), Memory.Configuration.end());
    CChangePlan Plan;
    for (const CAssignment& rAssignment : rAssignments) {
        CChange Change = g_PlanSetting(All, rAssignment, sPath, bForce);
        Change.sOwner = "memory";
        if (!Memory.oConfig && !g_Find(kTimings, rAssignment.sKey))
            throw CFailure(EExit::kFailed, "'" + rAssignment.sKey + "' cannot be set: the configuration could not be " +
                                               "read, and its switches would be written with it");
        Change.Write = [pConfig] { return (*pConfig)(); };
        const auto TakeWay = [&](const auto& rRow) {
            CDeviceSetting Way = g_Reach(rController, rRow, {});
            Change.Read = std::move(Way.Read), Change.Restore = std::move(Way.Write);
        };
        if (const auto* pRow = g_Find(kTimings, rAssignment.sKey)) {
            pRow->Field(pTiming->Record()) = rAssignment.dValue;
            Change.Write = [pTiming] { return (*pTiming)(); };
            TakeWay(*pRow);
        } else if (const auto* pNumber = g_Find(kNumbers, rAssignment.sKey)) {
            pNumber->Field(pConfig->Record()) = rAssignment.dValue;
            TakeWay(*pNumber);
        } else if (const auto* pSwitch = g_Find(kSwitches, rAssignment.sKey)) {
            pConfig->Record().*pSwitch->pFlag = rAssignment.dValue != 0;
            TakeWay(*pSwitch);
        }
        Plan.Add(std::move(Change));
    }
    return Plan;
}

}  // namespace vxtctl
