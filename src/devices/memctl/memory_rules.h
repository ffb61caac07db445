// How a processor family keeps its DRAM timings and configuration, as data: the rows that decode, encode and list.
#pragma once

#include <vxtapi/memory_controller.h>

#include <cstddef>

#include "hw/processor_match.h"
#include "registers/msr_words.h"
#include "registers/value_table.h"

namespace vxt::memory {

using vxtapi::MemConfig;
using vxtapi::MemTiming;

/// A number of one of the two records: its place in the record, plus 32 for the configuration record.
inline constexpr uint32_t kConfigSlots = 32;
consteval uint8_t g_TimingSlot(size_t uOffset) { return static_cast<uint8_t>(uOffset / sizeof(double)); }
consteval uint8_t g_ConfigSlot(size_t uOffset) { return static_cast<uint8_t>(kConfigSlots + uOffset / sizeof(double)); }
enum ESlot : uint8_t {
    kTcl = g_TimingSlot(offsetof(MemTiming, dTcl)),
    kTrc = g_TimingSlot(offsetof(MemTiming, dTrc)),
    kTrfc0 = g_TimingSlot(offsetof(MemTiming, dTrfc0)),
    kTrfc1 = g_TimingSlot(offsetof(MemTiming, dTrfc1)),
    kTrfc2 = g_TimingSlot(offsetof(MemTiming, dTrfc2)),
    kTrfc3 = g_TimingSlot(offsetof(MemTiming, dTrfc3)),
    kTrcd = g_TimingSlot(offsetof(MemTiming, dTrcd)),
    kTrrd = g_TimingSlot(offsetof(MemTiming, dTrrd)),
    kTras = g_TimingSlot(offsetof(MemTiming, dTras)),
    kTrp = g_TimingSlot(offsetof(MemTiming, dTrp)),
    kTwr = g_TimingSlot(offsetof(MemTiming, dTwr)),
    kTwtr = g_TimingSlot(offsetof(MemTiming, dTwtr)),
    kTrwt = g_TimingSlot(offsetof(MemTiming, dTrwt)),
    kTref = g_TimingSlot(offsetof(MemTiming, dTref)),
    kTwcl = g_TimingSlot(offsetof(MemTiming, dTwcl)),
    kTrtp = g_TimingSlot(offsetof(MemTiming, dTrtp)),
    kTrwtTO = g_TimingSlot(offsetof(MemTiming, dTrwtTO)),
    kTwrrd = g_TimingSlot(offsetof(MemTiming, dTwrrd)),
    kTwrwr = g_TimingSlot(offsetof(MemTiming, dTwrwr)),
    kTrdrd = g_TimingSlot(offsetof(MemTiming, dTrdrd)),
    kTrwtWB = g_TimingSlot(offsetof(MemTiming, dTrwtWB)),
    kMemClk = g_ConfigSlot(offsetof(MemConfig, dMemoryClock)),
    kMaxAsyncLat = g_ConfigSlot(offsetof(MemConfig, dMaxAsyncLat)),
    kDramTerm = g_ConfigSlot(offsetof(MemConfig, dDramTermination)),
    kFourActWindow = g_ConfigSlot(offsetof(MemConfig, dFourBankActWindow)),
    kDcqBypassMax = g_ConfigSlot(offsetof(MemConfig, dDcqBypassMax)),
    kIdleLimit = g_ConfigSlot(offsetof(MemConfig, dIdleCycleLimit)),
    kRdPreamble = g_ConfigSlot(offsetof(MemConfig, dReadPreamble)),
    // Of channel A; channel B's follow in the record.
    kCkeDrive = g_ConfigSlot(offsetof(MemConfig, adCkeDrive)),
    kCsOdtDrive = g_ConfigSlot(offsetof(MemConfig, adCsOdtDrive)),
    kAddrCmdDrive = g_ConfigSlot(offsetof(MemConfig, adAddrCmdDrive)),
    kClockDrive = g_ConfigSlot(offsetof(MemConfig, adClockDrive)),
    kDataDrive = g_ConfigSlot(offsetof(MemConfig, adDataDrive)),
    kDqsDrive = g_ConfigSlot(offsetof(MemConfig, adDqsDrive)),
    kProcOdt = g_ConfigSlot(offsetof(MemConfig, adProcOdt)),
    kDqsDelay1 = g_ConfigSlot(offsetof(MemConfig, adDqsReceiverDelay)),
    kDqsDelay2,
    kDqsDelay3,
    kDqsDelay4,
    kNoSlot = 0xFF,
};
static_assert(kDqsDelay4 == kConfigSlots + 26 && kTrwtWB < kConfigSlots);

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

/// A slot of a record and its field in each layout.
class CMemoryRow {
public:
    /// The first coding whose layout the controller has counts; the last one must always do.
    consteval CMemoryRow(ESlot eSlot, CCoding Only) : CMemoryRow(eSlot, Only, Only, Only) {}
    consteval CMemoryRow(ESlot eSlot, CCoding First, CCoding Else) : CMemoryRow(eSlot, First, Else, Else) {}
    consteval CMemoryRow(ESlot eSlot, CCoding First, CCoding Second, CCoding Else)
        : m_eSlot(eSlot), m_bHasField(true), m_aCodings{First, Second, Else} {
        if (Else.uWhen != kAlways) throw "a layout without a coding";
    }
    /// A slot that is listed, with no value at all, and never filled.
    explicit consteval CMemoryRow(ESlot eSlot)
        : m_eSlot(eSlot), m_bHasField(false), m_aCodings{kNoField, kNoField, kNoField} {}

    constexpr ESlot Slot() const { return m_eSlot; }
    constexpr bool HasField() const { return m_bHasField; }
    constexpr const CCoding& Coding(uint32_t uLayout) const {
        for (const CCoding& rCoding : m_aCodings)
            if ((uLayout & rCoding.uWhen) == rCoding.uWhen) return rCoding;
        return m_aCodings[2];
    }

private:
    static constexpr double kNoValues[] = {kEndOfTable};
    static constexpr CCoding kNoField{kAlways, {0, {0, 0}}, kNoValues, false};

    ESlot m_eSlot;
    bool m_bHasField;
    std::array<CCoding, 3> m_aCodings;
};

/// A flag of the configuration record.
struct CFlagRow {
    size_t uOffset;
    CRegisterField Field;
    bool bReadOnly = false;
};

/// A register of a channel's additional data. Its word is word 0 of the rows' fields.
struct CAdditionalRegister {
    uint32_t uIndex;
    uint32_t uSlotsPerChannel;  ///< from a slot of channel A to channel B's
    std::span<const CMemoryRow> Rows;
};

/// What one family does differently from the others.
struct CFamilyRules {
    const char* pszClass;  ///< under which failed checks are logged
    const cpuid::CFamilyMatch& rMatch;
    uint16_t usPciDevice;
    uint32_t uMemoryType;  ///< JEDEC number, unless the layout says DDR3

    CRegisterField ChannelUsed;  ///< of a set of registers: its memory clock is valid
    /// Families that have one set of registers for both channels: it drives both. The others have a set each, a select
    /// register for the two of them, and need extended configuration space.
    std::optional<CRegisterField> BothUsed = std::nullopt;
    bool bWritesBoth = false;  ///< a timing change goes to channel B too, not only to the channel it was read from
    std::span<const CBlock> TimingBlocks, ConfigBlocks;  ///< of the latter the first holds ChannelUsed and BothUsed
    std::span<const CLayoutRow> Layout = {};
    std::span<const CMemoryRow> Timing, Config;
    std::span<const CFlagRow> Flags;
    std::span<const CAdditionalRegister> Additional = {};
    uint32_t uAdditionalOfB = 0;  ///< of one set for both: from channel A's additional registers to channel B's

    constexpr uint32_t RegisterSets() const { return BothUsed ? 1 : 2; }
};

}  // namespace vxt::memory
