// What a memory module says of itself: its serial presence detect (SPD) data as a record.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace vxt {

/// A few values, in the order in which they were added.
template <class TValue, size_t uMost> class CSpdList {
public:
    constexpr size_t size() const { return m_uCount; }
    constexpr bool empty() const { return m_uCount == 0; }
    constexpr TValue* begin() { return m_Values.data(); }
    constexpr TValue* end() { return m_Values.data() + m_uCount; }
    constexpr const TValue* begin() const { return m_Values.data(); }
    constexpr const TValue* end() const { return m_Values.data() + m_uCount; }
    constexpr const TValue& operator[](size_t uIndex) const { return m_Values[uIndex]; }
    /// Values beyond the last place are left out.
    constexpr void Add(const TValue& rValue) {
        if (m_uCount < uMost) m_Values[m_uCount++] = rValue;
    }

private:
    std::array<TValue, uMost> m_Values{};
    size_t m_uCount = 0;
};

/// How far an image can be believed. What it holds is decoded whatever the verdict, but for erased and unknown ones.
enum class ESpdVerdict : uint8_t {
    kRight,          ///< the sum of its bytes is the stored one
    kWrongChecksum,  ///< real modules have that, too
    kTooShort,       ///< cut before the end of what the checksum covers: fields that are missing are unknown
    kErased,         ///< nothing, or all bytes 00h or all FFh
    kUnknownType,    ///< neither DDR, DDR2 nor DDR3
};

/// JEDEC's numbers, byte 2.
enum class ESpdMemory : uint8_t { kUnknown = 0, kDdr = 7, kDdr2 = 8, kDdr3 = 11 };

enum class ESpdModule : uint8_t {
    kUnknown,
    kUnbuffered,  ///< DDR: DIMM or SO-DIMM, which its data do not tell apart
    kBuffered,
    kRegistered,
    kUdimm,
    kRdimm,
    kSoDimm,
    kMicroDimm,
    kMiniRdimm,
    kMiniUdimm,
    kMiniCdimm,
    kSoUdimm72,  ///< 72 bits wide, as the next two
    kSoRdimm72,
    kSoCdimm72,
    kLrdimm,
    kSoDimm16,
    kSoDimm32,
};

/// The timings of a grade; DDR lacks tWR, tWTR, tRTP, and only DDR3 has tFAW.
enum ESpdTiming : uint8_t {
    kSpdTcl,
    kSpdTrcd,
    kSpdTrp,
    kSpdTras,
    kSpdTrc,
    kSpdTrrd,
    kSpdTwr,
    kSpdTwtr,
    kSpdTrtp,
    kSpdTrfc,
    kSpdTfaw,
    kSpdTimings
};

/// A shortest time. `dClocks` is a whole number but for the CAS latency of DDR, which has halves.
struct CSpdTime {
    double dNs = 0, dClocks = 0;
};

/// The highest clock that a CAS latency allows, and the timings there. DDR, DDR2: as their data have it, for three latencies
/// at most. DDR3: the fastest clock, of the standard's and the module's own, at which the latency is long enough.
struct CSpdGrade {
    double dCasLatency = 0;                                    ///< clocks
    double dClock = 0;                                         ///< MHz
    uint32_t uDataRate = 0;                                    ///< MT/s as it is called: 667 with 333.33 MHz
    std::array<std::optional<CSpdTime>, kSpdTimings> aoTimes;  ///< by ESpdTiming
};

/// A field that the image lacks, or whose code the standard reserves, is empty.
struct CSpdRecord {
    static constexpr size_t kPartNumber = 18;

    ESpdVerdict eVerdict = ESpdVerdict::kErased;
    std::optional<uint16_t> ousStoredSum, ousComputedSum;  ///< eight bits wide, DDR3: a CRC of sixteen
    uint8_t ucTypeCode = 0;                                ///< byte 2, also where it is none of ESpdMemory
    ESpdMemory eMemory = ESpdMemory::kUnknown;
    ESpdModule eModule = ESpdModule::kUnknown;
    std::optional<uint8_t> oucRevision;  ///< of the data's layout: 12h is 1.2

    std::optional<uint32_t> ouSize;  ///< MiB
    bool bSizeDoubtful = false;      ///< DDR, DDR2: ranks, rows and columns make another size
    std::optional<uint32_t> ouRanks;
    std::optional<uint32_t> ouDataWidth, ouEccWidth;     ///< bits; no ECC is 0
    std::optional<uint32_t> ouDeviceWidth;               ///< bits of one memory chip
    std::optional<uint32_t> ouBanks, ouRows, ouColumns;  ///< banks of a chip; row and column address bits
    CSpdList<double, 3> Voltages;                        ///< V, at which the module works

    CSpdList<double, 16> CasLatencies;  ///< clocks, every one that is supported, from the lowest
    /// The fastest first, of equal clocks the one with the lowest latency first. Supported latencies without a clock, and
    /// those of DDR3 that would take longer than 20 ns, have no grade.
    CSpdList<CSpdGrade, 16> Grades;

    const char* pszManufacturer = nullptr;  ///< null: none, or a number that is nobody's. Lives as long as the library
    const char* pszDramManufacturer = nullptr;  ///< DDR3 only
    bool bManufacturerIsText = false;  ///< letters where the number should be: what pszManufacturer names is chance
    /// Without blanks at its ends; a dot for what cannot be printed. Empty: none.
    char szPartNumber[kPartNumber + 1] = {};
    std::optional<uint32_t> ouSerial;           ///< first byte highest
    std::optional<uint16_t> ousModuleRevision;  ///< first byte high
    std::optional<uint16_t> ousYear;            ///< four digits; together with the week or not at all
    std::optional<uint8_t> oucWeek;             ///< from 1 to 53
};

/// Decodes an image of any length and content; what lies behind its first 256 bytes is not looked at. Touches no hardware
/// and takes no memory. Threads: any.
CSpdRecord g_DecodeSpd(std::span<const uint8_t> Image);

}  // namespace vxt
