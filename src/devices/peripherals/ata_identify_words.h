// Where IDENTIFY data keeps what. Source: ATA-1 to ATA/ATAPI-7, ATA8-ACS, ACS-2 to ACS-4 (INCITS), Serial ATA 3.
#pragma once

#include <algorithm>
#include <iterator>
#include <optional>

#include "devices/peripherals/ata_identify.h"
#include "registers/bit_field.h"

namespace vxt::ata {

inline constexpr size_t kWords = 256, kImageBytes = 2 * kWords;
inline constexpr uint16_t kUntold = 0xFFFF;  // in no word a value

/// Bits of one word.
struct CWordBits {
    uint8_t ucWord;
    CBitField Bits;
};
consteval CWordBits g_Bits(uint8_t ucWord, uint8_t ucHigh, uint8_t ucLow) { return {ucWord, CBitField(ucHigh, ucLow)}; }
consteval CWordBits g_Bit(uint8_t ucWord, uint8_t ucBit) { return g_Bits(ucWord, ucBit, ucBit); }
consteval CWordBits g_Word(uint8_t ucWord) { return g_Bits(ucWord, 15, 0); }

/// A number of several words, low word first.
struct CNumber {
    uint8_t ucWord, ucWords;
};

// What word 0 is. Before ATA/ATAPI-4 its other bits told of the drive's mechanics.
inline constexpr uint16_t kCompactFlash = 0x848A;
inline constexpr CWordBits kConfiguration = g_Word(0), kNotAta = g_Bit(0, 15), kNotAtapi = g_Bit(0, 14),
                           kRemovable = g_Bit(0, 7);

// Word 2: the device spins up by a command only, and IDENTIFY data are incomplete until then.
inline constexpr CWordBits kSpinUp = g_Word(2);
inline constexpr uint16_t kIncomplete[] = {0x37C8, 0x8C73};

/// Texts: two characters a word, the first in the high byte.
template <size_t N> struct CText { uint8_t ucWord; };
inline constexpr CText<20> kSerialNumber{10};
inline constexpr CText<8> kFirmware{23};
inline constexpr CText<40> kModel{27};

inline constexpr CWordBits kCylinders = g_Word(1), kHeads = g_Word(3), kSectorsPerTrack = g_Word(6);
inline constexpr CWordBits kBufferSectors = g_Word(21);  // of 512 bytes
inline constexpr CNumber kSectors28{60, 2}, kSectors48{100, 4}, kExtendedSectors{230, 4};
inline constexpr uint32_t kMaxSectors28 = 0x0FFFFFFF;
inline constexpr CNumber kWorldWideName{108, 4};  // the one with its high word first
inline constexpr CWordBits kHasExtendedSectors = g_Bit(69, 3);
inline constexpr uint64_t kMaxSectors48 = 0xFFFF'FFFF'FFFF;

inline constexpr CWordBits kHasSectorsPerPhysical = g_Bit(106, 13), kHasLogicalSectorWords = g_Bit(106, 12),
                           kSectorsPerPhysical = g_Bits(106, 3, 0);  // a power of 2
inline constexpr CNumber kLogicalSectorWords{117, 2};
inline constexpr uint32_t kSectorBytes = 512, kMaxSectorBytes = 65536;  // the least and the most that is believed

inline constexpr CWordBits kRotationRate = g_Word(217);
inline constexpr uint16_t kSolidState = 1, kMinRotationRate = 0x0401, kMaxRotationRate = 0xFFFE;
inline constexpr CWordBits kFormFactor = g_Bits(168, 3, 0);
inline constexpr const char* kFormFactors[] = {nullptr,          "5.25 inch", "3.5 inch", "2.5 inch", "1.8 inch",
                                               "below 1.8 inch", "mSATA",     "M.2",      "MicroSSD", "CFast"};

inline constexpr uint8_t kMaxOldPio = 2, kMaxSataGeneration = 3;
inline constexpr CWordBits kSataGenerations = g_Bits(76, 3, 1), kSataGeneration = g_Bits(77, 3, 1);
inline constexpr CWordBits kOldPio = g_Bits(51, 15, 8), kNewPio = g_Bits(64, 1, 0);
inline constexpr CWordBits kMultiwordDma = g_Bits(63, 2, 0), kMultiwordDmaSelected = g_Bits(63, 10, 8);
inline constexpr CWordBits kUltraDma = g_Bits(88, 6, 0), kUltraDmaSelected = g_Bits(88, 14, 8);
inline constexpr CWordBits kQueueDepth = g_Bits(75, 4, 0);  // one less
struct CLevels {
    uint8_t ucLowest, ucHighest;
};
inline constexpr CLevels kPowerLevels{1, 254}, kAcousticLevels{128, 254};
inline constexpr CWordBits kPowerLevel = g_Bits(91, 7, 0), kAcousticLevel = g_Bits(94, 7, 0);

inline constexpr CWordBits kSecurity = g_Bit(128, 0), kSecurityEnabled = g_Bit(128, 1), kLocked = g_Bit(128, 2),
                           kFrozen = g_Bit(128, 3), kCountExpired = g_Bit(128, 4), kEnhancedErase = g_Bit(128, 5),
                           kMaximumSecurity = g_Bit(128, 8);

inline constexpr CWordBits kSignature = g_Bits(255, 7, 0);
inline constexpr uint8_t kSigned = 0xA5;

/// Words that tell something only while a mark lies in a range.
struct CTold {
    uint8_t ucFirst, ucLast;
    CWordBits Mark;
    uint16_t usLow, usHigh;
};
inline constexpr CTold kTold[] = {
    {64, 70, g_Bit(53, 1), 1, 1},
    {76, 79, g_Word(76), 0x0001, 0xFFFE},  // other disks are not serial
    {82, 83, g_Bits(83, 15, 14), 1, 1},
    {84, 84, g_Bits(84, 15, 14), 1, 1},
    {85, 87, g_Bits(87, 15, 14), 1, 1},
    {88, 88, g_Bit(53, 2), 1, 1},
    {106, 106, g_Bits(106, 15, 14), 1, 1},
    {119, 119, g_Bits(119, 15, 14), 1, 1},
    {120, 120, g_Bits(120, 15, 14), 1, 1},
    // Words without a mark of their own, which older devices leave 0: told by those that tell features at all.
    {69, 69, g_Bits(83, 15, 14), 1, 1},
    {169, 169, g_Bits(83, 15, 14), 1, 1},
    {206, 206, g_Bits(83, 15, 14), 1, 1},
};

/// A bit that says whether the device has a feature, and one that says whether it is on.
struct CFeature {
    EAtaFeature eFeature;
    const char* pszName;
    CWordBits Supported;
    std::optional<CWordBits> oEnabled;  ///< nothing: no bit tells
};
inline constexpr CFeature kFeatures[] = {
    {EAtaFeature::kDma, "DMA", g_Bit(49, 8), {}},
    {EAtaFeature::kLba, "LBA", g_Bit(49, 9), {}},
    {EAtaFeature::kLba48, "48-bit LBA", g_Bit(83, 10), g_Bit(86, 10)},
    {EAtaFeature::kPowerManagement, "Power management", g_Bit(82, 3), g_Bit(85, 3)},
    {EAtaFeature::kSmart, "SMART", g_Bit(82, 0), g_Bit(85, 0)},
    {EAtaFeature::kSmartErrorLog, "SMART error log", g_Bit(84, 0), g_Bit(87, 0)},
    {EAtaFeature::kSmartSelfTest, "SMART self-test", g_Bit(84, 1), g_Bit(87, 1)},
    {EAtaFeature::kSecurity, "Security", g_Bit(82, 1), g_Bit(85, 1)},
    {EAtaFeature::kWriteCache, "Write cache", g_Bit(82, 5), g_Bit(85, 5)},
    {EAtaFeature::kLookAhead, "Look-ahead", g_Bit(82, 6), g_Bit(85, 6)},
    {EAtaFeature::kHostProtectedArea, "Host protected area", g_Bit(82, 10), g_Bit(85, 10)},
    {EAtaFeature::kConfigurationOverlay, "Configuration overlay", g_Bit(83, 11), g_Bit(86, 11)},
    {EAtaFeature::kDownloadMicrocode, "Download microcode", g_Bit(83, 0), g_Bit(86, 0)},
    {EAtaFeature::kTaggedQueuing, "Tagged queuing", g_Bit(83, 1), g_Bit(86, 1)},
    {EAtaFeature::kNativeQueuing, "Native queuing (NCQ)", g_Bit(76, 8), {}},
    {EAtaFeature::kAdvancedPowerManagement, "Advanced power management (APM)", g_Bit(83, 3), g_Bit(86, 3)},
    {EAtaFeature::kAcousticManagement, "Acoustic management (AAM)", g_Bit(83, 9), g_Bit(86, 9)},
    {EAtaFeature::kPowerUpInStandby, "Power-up in standby", g_Bit(83, 5), g_Bit(86, 5)},
    {EAtaFeature::kFlushCache, "Flush cache", g_Bit(83, 12), g_Bit(86, 12)},
    {EAtaFeature::kFlushCacheExt, "Flush cache, 48-bit", g_Bit(83, 13), g_Bit(86, 13)},
    {EAtaFeature::kGeneralPurposeLog, "General purpose log", g_Bit(84, 5), g_Bit(87, 5)},
    {EAtaFeature::kWorldWideName, "World-wide name", g_Bit(84, 8), {}},
    {EAtaFeature::kWriteReadVerify, "Write-read-verify", g_Bit(119, 1), g_Bit(120, 1)},
    {EAtaFeature::kFreeFall, "Free-fall control", g_Bit(119, 5), g_Bit(120, 5)},
    {EAtaFeature::kSctCommands, "SCT commands", g_Bit(206, 0), {}},
    {EAtaFeature::kTrim, "TRIM", g_Bit(169, 0), {}},
    {EAtaFeature::kHostPowerManagement, "Link power management by the host", g_Bit(76, 9), {}},
    {EAtaFeature::kDevicePowerManagement, "Link power management by the device", g_Bit(78, 3), g_Bit(79, 3)},
    {EAtaFeature::kDeviceSleep, "Device sleep", g_Bit(78, 8), g_Bit(79, 8)},
};
static_assert(std::size(kFeatures) == static_cast<size_t>(EAtaFeature::kCount));
static_assert(std::ranges::is_sorted(kFeatures, {}, &CFeature::eFeature));

inline constexpr CWordBits kMajorVersions = g_Word(80), kMinorVersion = g_Word(81);
/// By the bit of word 80.
inline constexpr const char* kMajorNames[] = {nullptr,       "ATA-1",       "ATA-2",       "ATA-3",    "ATA/ATAPI-4",
                                              "ATA/ATAPI-5", "ATA/ATAPI-6", "ATA/ATAPI-7", "ATA8-ACS", "ACS-2",
                                              "ACS-3",       "ACS-4",       "ACS-5"};

struct CMinorVersion {
    uint16_t usCode;
    const char* pszName;
};
inline constexpr CMinorVersion kMinorVersions[] = {
    {0x0001, "ATA-1 X3T9.2 781D prior to revision 4"},
    {0x0002, "ATA-1 published, ANSI X3.221-1994"},
    {0x0003, "ATA-1 X3T9.2 781D revision 4"},
    {0x0004, "ATA-2 published, ANSI X3.279-1996"},
    {0x0005, "ATA-2 X3T10 948D prior to revision 2k"},
    {0x0006, "ATA-3 X3T10 2008D revision 1"},
    {0x0007, "ATA-2 X3T10 948D revision 2k"},
    {0x0008, "ATA-3 X3T10 2008D revision 0"},
    {0x0009, "ATA-2 X3T10 948D revision 3"},
    {0x000A, "ATA-3 published, ANSI X3.298-1997"},
    {0x000B, "ATA-3 X3T10 2008D revision 6"},
    {0x000C, "ATA-3 X3T13 2008D revision 7 and 7a"},
    {0x000D, "ATA/ATAPI-4 X3T13 1153D revision 6"},
    {0x000E, "ATA/ATAPI-4 T13 1153D revision 13"},
    {0x000F, "ATA/ATAPI-4 X3T13 1153D revision 7"},
    {0x0010, "ATA/ATAPI-4 T13 1153D revision 18"},
    {0x0011, "ATA/ATAPI-4 T13 1153D revision 15"},
    {0x0012, "ATA/ATAPI-4 published, ANSI INCITS 317-1998"},
    {0x0013, "ATA/ATAPI-5 T13 1321D revision 3"},
    {0x0014, "ATA/ATAPI-4 T13 1153D revision 14"},
    {0x0015, "ATA/ATAPI-5 T13 1321D revision 1"},
    {0x0016, "ATA/ATAPI-5 published, ANSI INCITS 340-2000"},
    {0x0017, "ATA/ATAPI-4 T13 1153D revision 17"},
    {0x0018, "ATA/ATAPI-6 T13 1410D revision 0"},
    {0x0019, "ATA/ATAPI-6 T13 1410D revision 3a"},
    {0x001A, "ATA/ATAPI-7 T13 1532D revision 1"},
    {0x001B, "ATA/ATAPI-6 T13 1410D revision 2"},
    {0x001C, "ATA/ATAPI-6 T13 1410D revision 1"},
    {0x001D, "ATA/ATAPI-7 published, ANSI INCITS 397-2005"},
    {0x001E, "ATA/ATAPI-7 T13 1532D revision 0"},
    {0x001F, "ACS-3 T13 2161D revision 3b"},
    {0x0021, "ATA/ATAPI-7 T13 1532D revision 4a"},
    {0x0022, "ATA/ATAPI-6 published, ANSI INCITS 361-2002"},
    {0x0027, "ATA8-ACS T13 1699D revision 3c"},
    {0x0028, "ATA8-ACS T13 1699D revision 6"},
    {0x0029, "ATA8-ACS T13 1699D revision 4"},
    {0x0031, "ACS-2 T13 2015D revision 2"},
    {0x0033, "ATA8-ACS T13 1699D revision 3e"},
    {0x0039, "ATA8-ACS T13 1699D revision 4c"},
    {0x0042, "ATA8-ACS T13 1699D revision 3f"},
    {0x0052, "ATA8-ACS T13 1699D revision 3b"},
    {0x005E, "ACS-4 T13 BSR INCITS 529 revision 5"},
    {0x006D, "ACS-3 T13 2161D revision 5"},
    {0x0082, "ACS-2 published, ANSI INCITS 482-2012"},
    {0x009C, "ACS-4 published, ANSI INCITS 529-2018"},
    {0x0107, "ATA8-ACS T13 1699D revision 2d"},
    {0x010A, "ACS-3 published, ANSI INCITS 522-2014"},
    {0x0110, "ACS-2 T13 2015D revision 3"},
    {0x011B, "ACS-3 T13 2161D revision 4"},
};
static_assert(std::ranges::is_sorted(kMinorVersions, {}, &CMinorVersion::usCode));

}  // namespace vxt::ata
