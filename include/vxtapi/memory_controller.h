// The processor's integrated memory controller.
#pragma once

#include <vxtapi/device.h>

namespace vxtapi {

/// DRAM timings. Clocks unless a unit stands with the slot; 0 where the family has no such field; -1.0 where the
/// hardware holds a reserved code (normal for the refresh cycle time of an empty DIMM pair).
struct MemTiming {
    double dTcl;     ///< CAS latency
    double dTrc;     ///< row cycle time
    double dTrfc0;   ///< refresh cycle time of DIMM pair 0, ns (first K8 generation: clocks)
    double dTrfc1;   ///< pair 1
    double dTrfc2;   ///< pair 2
    double dTrfc3;   ///< pair 3
    double dTrcd;    ///< RAS to CAS delay
    double dTrrd;    ///< RAS to RAS delay
    double dTras;    ///< row active time
    double dTrp;     ///< row precharge time
    double dTwr;     ///< write recovery time
    double dTwtr;    ///< write to read delay
    double dTrwt;    ///< read to write turnaround (first K8 generation)
    double dTref;    ///< refresh interval, us
    double dTwcl;    ///< write CAS latency (first K8 generation)
    double dTrtp;    ///< read CAS to precharge time
    double dTrwtTO;  ///< read to write turnaround for DQS contention
    double dTwrrd;   ///< write to read turnaround between DIMMs
    double dTwrwr;   ///< write to write
    double dTrdrd;   ///< read to read
    double dTrwtWB;  ///< read to write turnaround for write bursting
};
static_assert(sizeof(MemTiming) == 21 * 8, "hosts store the record by slot");

/// DRAM interface configuration: 31 slots of eight bytes. 0 where the family has no such field. Flags are one byte each:
/// 0 or 1 when read; any number but 0 is on when set.
struct MemConfig {
    uint8_t bGanged;          ///< slot 0, byte 0: both channels work as one
    uint8_t bBothChannels;    ///< byte 1: channels A and B are both in use
    uint8_t bSlowAccessMode;  ///< byte 2: 2T command timing
    uint8_t bWeakDrivers;     ///< byte 3: DRAM drivers weak mode
    uint8_t abUnused0[4];
    double dMemoryClock;       ///< slot 1: MHz
    double dMaxAsyncLat;       ///< slot 2: ns; family 11h: north-bridge clocks, reads included
    double dDramTermination;   ///< slot 3: ohm; 0: off
    uint8_t bDccEnable;        ///< slot 4, byte 0
    uint8_t bPowerDownEnable;  ///< byte 1
    uint8_t bApply;  ///< byte 2: 0 when read; a writer's wish that changes be in force at once, which they always are
    uint8_t abUnused4[5];
    double dFourBankActWindow;  ///< slot 5: clocks; 0: no restriction
    double dDcqBypassMax;       ///< slot 6: the raw number
    double dIdleCycleLimit;     ///< slot 7: clocks
    double dReadPreamble;       ///< slot 8: ns (first K8 generation)
    double adCkeDrive[2];       ///< slots 9 and 10: channel A, channel B; multiples of the nominal strength
    double adCsOdtDrive[2];
    double adAddrCmdDrive[2];
    double adClockDrive[2];
    double adDataDrive[2];
    double adDqsDrive[2];
    double adProcOdt[2];           ///< slots 21 and 22: ohm
    double adDqsReceiverDelay[8];  ///< slots 23 to 30: A1 to A4, B1 to B4; ns
};
static_assert(sizeof(MemConfig) == 31 * 8, "hosts store the record by slot");

/// Device type 2, always index 0. Operations in slots 10 to 49.
///
/// Every Get reads the hardware. A requested value that the family's list does not hold leaves its field as it was and is
/// not an error: take values from the lists and read back. Where several register codes mean one value the first of them
/// is written, whatever was there: a value of no list (-3.0) leaves a field alone. A failed access stops a Set; registers
/// written before it stay written. With both channels in use SetMemTiming gives channel B the words built from channel A's
/// registers.
///
/// The lists: `pdValues` has room for `ruSize` numbers; on success `ruSize` becomes the count of legal values, in
/// register-code order. False when they do not fit (nothing is written) and for a field that the family does not have.
class CMemoryController : public CDevice {
public:
    virtual uint32_t GetMemoryType() = 0;  ///< slot 10: JEDEC SPD number: 7 DDR, 8 DDR2, 11 DDR3
    /// Slot 11: memory clock in MHz at another reference clock: configured clock * `dReferenceClock` (MHz) * `dFactor`
    /// / 200. 0.0 on failure.
    virtual double GetMemClock(double dReferenceClock, double dFactor) = 0;
    virtual bool GetMemTiming(MemTiming* pTiming) = 0;  ///< slot 12
    virtual bool SetMemTiming(const MemTiming* pTiming) = 0;
    virtual bool GetMemConfig(MemConfig* pConfig) = 0;  ///< slot 14
    virtual bool SetMemConfig(const MemConfig* pConfig) = 0;
    virtual bool GetTclList(double* pdValues, uint32_t& ruSize) = 0;  ///< slot 16
    virtual bool GetTrcList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetTrfcList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetTrcdList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetTrrdList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetTrasList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetTrpList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetTwrList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetTwtrList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetTrwtList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetTrefList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetTwclList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetMaxAsyncLatList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetRdPreambleList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetILD_lmtList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetMemClkList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetTrtpList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetTrwtTOList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetTwrrdList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetTwrwrList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetTrdrdList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetDramTermList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetFourActWindowList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetUnnamedList(double* pdValues, uint32_t& ruSize) = 0;  ///< slot 39: no family has it
    virtual bool GetCkeDrvStrengthList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetCsOdtDrvStrengthList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetAddrCmdDrvStrenList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetClkDrvStrenList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetDataDrvStrenList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetDqsDrvStrenList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetProcOdtList(double* pdValues, uint32_t& ruSize) = 0;
    virtual bool GetDqsRcvEnDelayList(double* pdValues, uint32_t& ruSize) = 0;  ///< slot 47
    virtual uint32_t GetPciVendor() = 0;                                        ///< slot 48
    virtual uint32_t GetPciDevice() = 0;                                        ///< slot 49

protected:
    ~CMemoryController() = default;
};

}  // namespace vxtapi
