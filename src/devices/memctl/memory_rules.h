// How a processor family keeps its DRAM timings and configuration, as data: the rows that decode, encode and list.
#pragma once

#include <vxtapi/memory_controller.h>

#include "devices/framework/device_base.h"
#include "hw/processor_family.h"
#include "registers/msr_words.h"
#include "registers/record_field.h"
#include "registers/value_table.h"

namespace vxt::memory {

using vxtapi::MemConfig;
using vxtapi::MemTiming;

// The numbers of the two records that fields go with.
inline constexpr auto kTcl = kField<&MemTiming::dTcl>, kTrc = kField<&MemTiming::dTrc>,
                      kTrfc0 = kField<&MemTiming::dTrfc0>, kTrfc1 = kField<&MemTiming::dTrfc1>,
                      kTrfc2 = kField<&MemTiming::dTrfc2>, kTrfc3 = kField<&MemTiming::dTrfc3>,
                      kTrcd = kField<&MemTiming::dTrcd>, kTrrd = kField<&MemTiming::dTrrd>,
                      kTras = kField<&MemTiming::dTras>, kTrp = kField<&MemTiming::dTrp>,
                      kTwr = kField<&MemTiming::dTwr>, kTwtr = kField<&MemTiming::dTwtr>,
                      kTrwt = kField<&MemTiming::dTrwt>, kTref = kField<&MemTiming::dTref>,
                      kTwcl = kField<&MemTiming::dTwcl>, kTrtp = kField<&MemTiming::dTrtp>,
                      kTrwtTO = kField<&MemTiming::dTrwtTO>, kTwrrd = kField<&MemTiming::dTwrrd>,
                      kTwrwr = kField<&MemTiming::dTwrwr>, kTrdrd = kField<&MemTiming::dTrdrd>,
                      kTrwtWB = kField<&MemTiming::dTrwtWB>;
inline constexpr auto kMemClk = kField<&MemConfig::dMemoryClock>, kMaxAsyncLat = kField<&MemConfig::dMaxAsyncLat>,
                      kDramTerm = kField<&MemConfig::dDramTermination>,
                      kFourActWindow = kField<&MemConfig::dFourBankActWindow>,
                      kDcqBypassMax = kField<&MemConfig::dDcqBypassMax>,
                      kIdleLimit = kField<&MemConfig::dIdleCycleLimit>, kRdPreamble = kField<&MemConfig::dReadPreamble>;
// Of channel A; channel B's stand further on in the arrays.
inline constexpr auto kCkeDrive = kField<&MemConfig::adCkeDrive>, kCsOdtDrive = kField<&MemConfig::adCsOdtDrive>,
                      kAddrCmdDrive = kField<&MemConfig::adAddrCmdDrive>,
                      kClockDrive = kField<&MemConfig::adClockDrive>, kDataDrive = kField<&MemConfig::adDataDrive>,
                      kDqsDrive = kField<&MemConfig::adDqsDrive>, kProcOdt = kField<&MemConfig::adProcOdt>;
template <size_t uModule> inline constexpr auto kDqsDelay = kField<&MemConfig::adDqsReceiverDelay, uModule>;

/// The DRAM controller's registers, by offset, in the order in which a set of words holds them. Channel B's registers
/// stand 100h above channel A's.
enum ERegister : uint8_t { k78, k84, k88, k8C, k90, k94, kA0, kRegisters };
inline constexpr uint32_t kRegisterOffsets[kRegisters] = {0x78, 0x84, 0x88, 0x8C, 0x90, 0x94, 0xA0};
inline constexpr uint32_t kChannelB = 0x100;
using CWords = std::array<uint32_t, kRegisters>;

/// Registers that are read and written in one request.
struct CBlock {
    ERegister eFirst;
    uint8_t uWords;
};

/// What decides between the codings of a field. Several at once: all of them.
enum ELayout : uint8_t {
    kAlways = 0,
    kDdr3 = 1,
    kWide = 2,        ///< the field sizes of DDR3, which fast DDR2 uses too
    kBurst32 = 4,     ///< bursts of 32 bytes, else 64
    kTurnaround = 8,  ///< longer read-to-write turnarounds
};
/// The controller has these when the field holds the code.
struct CLayoutRow {
    uint32_t uLayout;
    CRegisterField Field;
    uint32_t uCode;
};

/// A field, what its codes mean, and the layout it belongs to.
struct CCoding {
    uint32_t uWhen;
    CRegisterField Field;
    CValueTable Values;

    consteval CCoding(uint32_t when, CRegisterField field, CValueTable values, bool bWholeField = true)
        : uWhen(when), Field(field), Values(values) {
        if (bWholeField && !values.Covers(field)) throw "the table does not fit the field";
    }
};

/// A number of a record and its field in each layout.
template <class TRecord> class CMemoryRow {
public:
    using CNumber = CRecordField<TRecord, double>;

    /// The first coding whose layout the controller has counts; the last one must always do.
    consteval CMemoryRow(CNumber Number, CCoding Only) : CMemoryRow(Number, Only, Only, Only) {}
    consteval CMemoryRow(CNumber Number, CCoding First, CCoding Else) : CMemoryRow(Number, First, Else, Else) {}
    consteval CMemoryRow(CNumber Number, CCoding First, CCoding Second, CCoding Else)
        : m_Number(Number), m_bHasField(true), m_aCodings{First, Second, Else} {
        if (Else.uWhen != kAlways) throw "a layout without a coding";
    }
    /// A number that is listed, with no value at all, and never filled.
    explicit consteval CMemoryRow(CNumber Number)
        : m_Number(Number), m_bHasField(false), m_aCodings{kNoField, kNoField, kNoField} {}

    constexpr const CNumber& Number() const { return m_Number; }
    constexpr bool HasField() const { return m_bHasField; }
    constexpr const CCoding& Coding(uint32_t uLayout) const {
        for (const CCoding& rCoding : m_aCodings)
            if ((uLayout & rCoding.uWhen) == rCoding.uWhen) return rCoding;
        return m_aCodings[2];
    }

private:
    static constexpr double kNoValues[] = {kEndOfTable};
    static constexpr CCoding kNoField{kAlways, {0, {0, 0}}, kNoValues, false};

    CNumber m_Number;
    bool m_bHasField;
    std::array<CCoding, 3> m_aCodings;
};

using CTimingRow = CMemoryRow<MemTiming>;
using CConfigRow = CMemoryRow<MemConfig>;

/// A register of a channel's additional data. Its word is word 0 of the rows' fields.
struct CAdditionalRegister {
    uint32_t uIndex;
    size_t uNumbersPerChannel;  ///< from a number of channel A to channel B's
    std::span<const CConfigRow> Rows;

    consteval CAdditionalRegister(uint32_t index, size_t uNumbers, std::span<const CConfigRow> rows)
        : uIndex(index), uNumbersPerChannel(uNumbers), Rows(rows) {
        for (const CConfigRow& rRow : rows)
            if (!rRow.Number().CanGo(uNumbers)) throw "the record has no number for channel B";
    }
};

/// What one family does differently from the others.
struct CMemoryRules {
    const char* pszClass;  ///< under which failed checks are logged
    CDeviceIdentity Identity;
    const CProcessorFamily& rFamily;
    uint32_t uMemoryType;  ///< JEDEC number, unless the layout says DDR3

    uint32_t uRegisterSets;      ///< 2: one for each channel; 1: one drives both
    CRegisterField ChannelUsed;  ///< of a set of registers: its memory clock is valid
    /// Beside ChannelUsed in the one set for both: channel B is in use, too. None: channel B's own set tells.
    std::optional<CRegisterField> oBothUsed = std::nullopt;
    bool bExtendedSpace = false;  ///< some registers stand at 100h and above, which has to be switched on
    bool bChannelSelect = false;  ///< a register of its own tells whether the channels work as one
    bool bWritesBoth = false;     ///< a timing change goes to channel B too, not only to the channel it was read from
    std::span<const CBlock> TimingBlocks, ConfigBlocks;  ///< of the latter the first holds ChannelUsed and oBothUsed
    std::span<const CLayoutRow> Layout = {};
    std::span<const CTimingRow> Timing;
    std::span<const CConfigRow> Config;
    std::span<const CFlagRow<MemConfig>> Flags;
    std::span<const CAdditionalRegister> Additional = {};
    uint32_t uAdditionalOfB = 0;  ///< of one set for both: from channel A's additional registers to channel B's
};

}  // namespace vxt::memory
