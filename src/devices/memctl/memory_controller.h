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
    bool GetTclList(double* pd, uint32_t& ru) override { return _List(memory::kTcl, pd, ru); }
    bool GetTrcList(double* pd, uint32_t& ru) override { return _List(memory::kTrc, pd, ru); }
    bool GetTrfcList(double* pd, uint32_t& ru) override { return _List(memory::kTrfc0, pd, ru); }
    bool GetTrcdList(double* pd, uint32_t& ru) override { return _List(memory::kTrcd, pd, ru); }
    bool GetTrrdList(double* pd, uint32_t& ru) override { return _List(memory::kTrrd, pd, ru); }
    bool GetTrasList(double* pd, uint32_t& ru) override { return _List(memory::kTras, pd, ru); }
    bool GetTrpList(double* pd, uint32_t& ru) override { return _List(memory::kTrp, pd, ru); }
    bool GetTwrList(double* pd, uint32_t& ru) override { return _List(memory::kTwr, pd, ru); }
    bool GetTwtrList(double* pd, uint32_t& ru) override { return _List(memory::kTwtr, pd, ru); }
    bool GetTrwtList(double* pd, uint32_t& ru) override { return _List(memory::kTrwt, pd, ru); }
    bool GetTrefList(double* pd, uint32_t& ru) override { return _List(memory::kTref, pd, ru); }
    bool GetTwclList(double* pd, uint32_t& ru) override { return _List(memory::kTwcl, pd, ru); }
    bool GetMaxAsyncLatList(double* pd, uint32_t& ru) override { return _List(memory::kMaxAsyncLat, pd, ru); }
    bool GetRdPreambleList(double* pd, uint32_t& ru) override { return _List(memory::kRdPreamble, pd, ru); }
    bool GetILD_lmtList(double* pd, uint32_t& ru) override { return _List(memory::kIdleLimit, pd, ru); }
    bool GetMemClkList(double* pd, uint32_t& ru) override { return _List(memory::kMemClk, pd, ru); }
    bool GetTrtpList(double* pd, uint32_t& ru) override { return _List(memory::kTrtp, pd, ru); }
    bool GetTrwtTOList(double* pd, uint32_t& ru) override { return _List(memory::kTrwtTO, pd, ru); }
    bool GetTwrrdList(double* pd, uint32_t& ru) override { return _List(memory::kTwrrd, pd, ru); }
    bool GetTwrwrList(double* pd, uint32_t& ru) override { return _List(memory::kTwrwr, pd, ru); }
    bool GetTrdrdList(double* pd, uint32_t& ru) override { return _List(memory::kTrdrd, pd, ru); }
    bool GetDramTermList(double* pd, uint32_t& ru) override { return _List(memory::kDramTerm, pd, ru); }
    bool GetFourActWindowList(double* pd, uint32_t& ru) override { return _List(memory::kFourActWindow, pd, ru); }
    bool GetUnnamedList(double*, uint32_t&) override { return false; }
    bool GetCkeDrvStrengthList(double* pd, uint32_t& ru) override { return _List(memory::kCkeDrive, pd, ru); }
    bool GetCsOdtDrvStrengthList(double* pd, uint32_t& ru) override { return _List(memory::kCsOdtDrive, pd, ru); }
    bool GetAddrCmdDrvStrenList(double* pd, uint32_t& ru) override { return _List(memory::kAddrCmdDrive, pd, ru); }
    bool GetClkDrvStrenList(double* pd, uint32_t& ru) override { return _List(memory::kClockDrive, pd, ru); }
    bool GetDataDrvStrenList(double* pd, uint32_t& ru) override { return _List(memory::kDataDrive, pd, ru); }
    bool GetDqsDrvStrenList(double* pd, uint32_t& ru) override { return _List(memory::kDqsDrive, pd, ru); }
    bool GetProcOdtList(double* pd, uint32_t& ru) override { return _List(memory::kProcOdt, pd, ru); }
    bool GetDqsRcvEnDelayList(double* pd, uint32_t& ru) override { return _List(memory::kDqsDelay<0>, pd, ru); }
    // clang-format on

    uint32_t GetPciVendor() override;
    uint32_t GetPciDevice() override;

    /// An additional-data register of channel 0 (A) or 1 (B).
    bool GetAdditionalData(uint32_t uChannel, uint32_t uIndex, uint32_t& ruValue) const;
    /// Kept: nothing is written when the data register happens to hold the value already, whatever it was read from.
    bool SetAdditionalData(uint32_t uChannel, uint32_t uIndex, uint32_t uValue) const;
    /// Makes offsets from 100h on reachable through the configuration ports. The operations go on when it fails: where
    /// configuration space is mapped into memory nothing depends on it.
    bool EnableCf8ExtCfg() const;

protected:
    CFamilyMemoryController(CDriverHandler& rDriver, const memory::CMemoryRules& rRules)
        : CDeviceBase(rRules.Identity), m_rRules(rRules), m_rDriver(rDriver), m_Function(rDriver) {}
    ~CFamilyMemoryController() = default;

private:
    bool _CheckCpuid() const;
    /// Whether the channel is in use and has registers of its own (or those that both share).
    bool _IsDriven(uint32_t uChannel) const { return m_bChannel[uChannel] && uChannel < m_rRules.uRegisterSets; }
    bool _Read(memory::CBlock Block, uint32_t uChannel, memory::CWords& rWords) const;
    bool _ReadAll(std::span<const memory::CBlock> Blocks, uint32_t uChannel, memory::CWords& rWords) const;
    bool _WriteAll(std::span<const memory::CBlock> Blocks, uint32_t uChannel, const memory::CWords& rWords) const;
    bool _SetConfigRegisters(uint32_t uChannel, const vxtapi::MemConfig& rConfig) const;
    bool _GetAdditionalRows(uint32_t uChannel, vxtapi::MemConfig& rConfig) const;
    bool _SetAdditionalRows(uint32_t uChannel, const vxtapi::MemConfig& rConfig) const;
    CIndexDataPair _AdditionalData(uint32_t uChannel) const;
    template <class TRecord>
    bool _List(const CRecordField<TRecord, double>& rNumber, double* pdValues, uint32_t& ruSize,
               const char* pszOperation = __builtin_FUNCTION()) const;
    const char* LogClass() const { return m_rRules.pszClass; }

    const memory::CMemoryRules& m_rRules;
    CDriverHandler& m_rDriver;
    CPciFunction m_Function;  ///< the DRAM controller
    bool m_bChannel[2]{};     ///< channels A and B: in use
    uint32_t m_uLayout = memory::kAlways;
};

}  // namespace vxt
