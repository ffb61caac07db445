// The processor's integrated memory controllers: DRAM timings and configuration.
#pragma once

#include "devices/framework/device_base.h"
#include "devices/memctl/memory_rules.h"
#include "hw/index_data_pair.h"

namespace vxt {

/// The memory controller of a processor of one of the families; what differs between them stands in its rules. Failed
/// checks are logged under the concrete class. Takes no lock; nothing else may use the additional data meanwhile.
///
/// The last GetMemConfig tells which channels are in use and which of a field's layouts applies: call it again after
/// the memory's type or clock has changed.
class CFamilyMemoryController : public CDeviceBase<vxtapi::CMemoryController> {
    using enum memory::ESlot;

public:
    /// Only index 0 exists.
    bool Init(uint32_t uIndex) override;

    uint32_t GetMemoryType() override;
    double GetMemClock(double dReferenceClock, double dFactor) override;
    bool GetMemTiming(vxtapi::MemTiming* pTiming) override;
    bool SetMemTiming(const vxtapi::MemTiming* pTiming) override;
    bool GetMemConfig(vxtapi::MemConfig* pConfig) override;
    /// Each channel keeps its own values where the record's do not fit; the two-channel flag is not written.
    bool SetMemConfig(const vxtapi::MemConfig* pConfig) override;

    // The value lists, `pd` with room for `ru`. False without a line in the log where the family has no such field.
    // clang-format off
    bool GetTclList(double* pd, uint32_t& ru) override { return _List(__func__, kTcl, pd, ru); }
    bool GetTrcList(double* pd, uint32_t& ru) override { return _List(__func__, kTrc, pd, ru); }
    bool GetTrfcList(double* pd, uint32_t& ru) override { return _List(__func__, kTrfc0, pd, ru); }
    bool GetTrcdList(double* pd, uint32_t& ru) override { return _List(__func__, kTrcd, pd, ru); }
    bool GetTrrdList(double* pd, uint32_t& ru) override { return _List(__func__, kTrrd, pd, ru); }
    bool GetTrasList(double* pd, uint32_t& ru) override { return _List(__func__, kTras, pd, ru); }
    bool GetTrpList(double* pd, uint32_t& ru) override { return _List(__func__, kTrp, pd, ru); }
    bool GetTwrList(double* pd, uint32_t& ru) override { return _List(__func__, kTwr, pd, ru); }
    bool GetTwtrList(double* pd, uint32_t& ru) override { return _List(__func__, kTwtr, pd, ru); }
    bool GetTrwtList(double* pd, uint32_t& ru) override { return _List(__func__, kTrwt, pd, ru); }
    bool GetTrefList(double* pd, uint32_t& ru) override { return _List(__func__, kTref, pd, ru); }
    bool GetTwclList(double* pd, uint32_t& ru) override { return _List(__func__, kTwcl, pd, ru); }
    bool GetMaxAsyncLatList(double* pd, uint32_t& ru) override { return _List(__func__, kMaxAsyncLat, pd, ru); }
    bool GetRdPreambleList(double* pd, uint32_t& ru) override { return _List(__func__, kRdPreamble, pd, ru); }
    bool GetILD_lmtList(double* pd, uint32_t& ru) override { return _List(__func__, kIdleLimit, pd, ru); }
    bool GetMemClkList(double* pd, uint32_t& ru) override { return _List(__func__, kMemClk, pd, ru); }
    bool GetTrtpList(double* pd, uint32_t& ru) override { return _List(__func__, kTrtp, pd, ru); }
    bool GetTrwtTOList(double* pd, uint32_t& ru) override { return _List(__func__, kTrwtTO, pd, ru); }
    bool GetTwrrdList(double* pd, uint32_t& ru) override { return _List(__func__, kTwrrd, pd, ru); }
    bool GetTwrwrList(double* pd, uint32_t& ru) override { return _List(__func__, kTwrwr, pd, ru); }
    bool GetTrdrdList(double* pd, uint32_t& ru) override { return _List(__func__, kTrdrd, pd, ru); }
    bool GetDramTermList(double* pd, uint32_t& ru) override { return _List(__func__, kDramTerm, pd, ru); }
    bool GetFourActWindowList(double* pd, uint32_t& ru) override { return _List(__func__, kFourActWindow, pd, ru); }
    bool GetUnnamedList(double* pd, uint32_t& ru) override { return _List(__func__, kNoSlot, pd, ru); }
    bool GetCkeDrvStrengthList(double* pd, uint32_t& ru) override { return _List(__func__, kCkeDrive, pd, ru); }
    bool GetCsOdtDrvStrengthList(double* pd, uint32_t& ru) override { return _List(__func__, kCsOdtDrive, pd, ru); }
    bool GetAddrCmdDrvStrenList(double* pd, uint32_t& ru) override { return _List(__func__, kAddrCmdDrive, pd, ru); }
    bool GetClkDrvStrenList(double* pd, uint32_t& ru) override { return _List(__func__, kClockDrive, pd, ru); }
    bool GetDataDrvStrenList(double* pd, uint32_t& ru) override { return _List(__func__, kDataDrive, pd, ru); }
    bool GetDqsDrvStrenList(double* pd, uint32_t& ru) override { return _List(__func__, kDqsDrive, pd, ru); }
    bool GetProcOdtList(double* pd, uint32_t& ru) override { return _List(__func__, kProcOdt, pd, ru); }
    bool GetDqsRcvEnDelayList(double* pd, uint32_t& ru) override { return _List(__func__, kDqsDelay1, pd, ru); }
    // clang-format on

    uint32_t GetPciVendor() override;
    uint32_t GetPciDevice() override { return m_rRules.usPciDevice; }

protected:
    CFamilyMemoryController(const CDeviceIdentity& rIdentity, const memory::CFamilyRules& rRules)
        : CDeviceBase(rIdentity), m_rRules(rRules) {}
    ~CFamilyMemoryController() = default;

    /// An additional-data register of channel 0 (A) or 1 (B).
    bool GetAdditionalData(uint32_t uChannel, uint32_t uIndex, uint32_t& ruValue) const;
    /// Kept: nothing is written when the data register happens to hold the value already, whatever it was read from.
    bool SetAdditionalData(uint32_t uChannel, uint32_t uIndex, uint32_t uValue) const;
    /// Makes offsets from 100h on reachable through the configuration ports. The operations go on when it fails: where
    /// configuration space is mapped into memory nothing depends on it.
    bool EnableCf8ExtCfg() const;

private:
    bool _CheckCpuid() const;
    /// Whether the channel is in use and has registers of its own (or those that both share).
    bool _IsDriven(uint32_t uChannel) const { return m_bChannel[uChannel] && uChannel < m_rRules.RegisterSets(); }
    bool _Read(memory::CBlock Block, uint32_t uChannel, memory::CWords& rWords) const;
    bool _ReadAll(std::span<const memory::CBlock> Blocks, uint32_t uChannel, memory::CWords& rWords) const;
    bool _WriteAll(std::span<const memory::CBlock> Blocks, uint32_t uChannel, const memory::CWords& rWords) const;
    bool _SetConfigRegisters(uint32_t uChannel, const vxtapi::MemConfig& rConfig) const;
    bool _GetAdditionalRows(uint32_t uChannel, vxtapi::MemConfig& rConfig) const;
    bool _SetAdditionalRows(uint32_t uChannel, const vxtapi::MemConfig& rConfig) const;
    CIndexDataPair _AdditionalData(uint32_t uChannel) const;
    bool _CheckAccess(CIndexDataPair::EResult eResult, const char* pszFunction) const;
    bool _List(const char* pszFunction, memory::ESlot eSlot, double* pdValues, uint32_t& ruSize) const;
    const char* _GetClassName() const { return m_rRules.pszClass; }

    const memory::CFamilyRules& m_rRules;
    CPciFunction m_Function;  ///< the DRAM controller
    bool m_bChannel[2]{};     ///< channels A and B: in use
    uint32_t m_uLayout = memory::kAlways;
};

/// K8, first generations: DDR.
class CMoldanMemoryController final : public CFamilyMemoryController {
public:
    CMoldanMemoryController();
};

/// K8, revision F and later: DDR2.
class CKDFMemoryController final : public CFamilyMemoryController {
public:
    CKDFMemoryController();
    using CFamilyMemoryController::GetAdditionalData;
    using CFamilyMemoryController::SetAdditionalData;
};

/// Family 10h: DDR2 and DDR3.
class CBrevikMemoryController final : public CFamilyMemoryController {
public:
    CBrevikMemoryController();
    using CFamilyMemoryController::EnableCf8ExtCfg;
    using CFamilyMemoryController::GetAdditionalData;
    using CFamilyMemoryController::SetAdditionalData;
};

/// Family 11h: DDR2.
class CTalvorMemoryController final : public CFamilyMemoryController {
public:
    CTalvorMemoryController();
    using CFamilyMemoryController::EnableCf8ExtCfg;
    using CFamilyMemoryController::GetAdditionalData;
    using CFamilyMemoryController::SetAdditionalData;
};

}  // namespace vxt
