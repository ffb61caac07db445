// Where EDID keeps what. Source: VESA E-EDID 1.4 (release A, revision 2) and 1.3, CTA-861.
#pragma once

#include <iterator>

#include "devices/peripherals/edid.h"
#include "registers/bit_field.h"

namespace vxt::edid {

inline constexpr size_t kBlockBytes = 128;
inline constexpr uint8_t kHeader[] = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};

/// Bits of a byte. A field's register words are the bytes of a block or of a descriptor.
consteval CRegisterField g_Bits(uint8_t ucByte, uint8_t ucHigh, uint8_t ucLow) {
    return {ucByte, CBitField(ucHigh, ucLow)};
}
consteval CRegisterField g_Byte(uint8_t ucByte) { return g_Bits(ucByte, 7, 0); }
/// Two bytes, low byte first.
consteval CRegisterField g_Word(uint8_t ucByte) {
    return {ucByte, CBitField(7, 0), static_cast<uint8_t>(ucByte + 1), CBitField(7, 0)};
}
/// A byte, and four upper bits elsewhere.
consteval CRegisterField g_Long(uint8_t ucByte, uint8_t ucUpper, uint8_t ucHigh) {
    return {ucByte, CBitField(7, 0), ucUpper, CBitField(ucHigh, static_cast<uint8_t>(ucHigh - 3))};
}

// The base block.
inline constexpr CRegisterField kLetters[] = {
    g_Bits(8, 6, 2), {9, CBitField(7, 5), 8, CBitField(1, 0)}, g_Bits(9, 4, 0)};
inline constexpr uint8_t kLetterCount = 26;  // 1 is A
inline constexpr CRegisterField kProduct = g_Word(10), kSerialLow = g_Word(12), kSerialHigh = g_Word(14);
inline constexpr CRegisterField kWeek = g_Byte(16), kYear = g_Byte(17);
inline constexpr uint8_t kMaxWeek = 54, kModelYear = 0xFF;
inline constexpr uint16_t kYearZero = 1990;
inline constexpr CRegisterField kVersion = g_Byte(18), kRevision = g_Byte(19);
inline constexpr CRegisterField kDigital = g_Bits(20, 7, 7), kBitsPerColour = g_Bits(20, 6, 4),
                                kInterface = g_Bits(20, 3, 0);
inline constexpr uint8_t kMaxBitsCode = 6;  // 1: 6 bits, 2: 8, ... 16
inline constexpr const char* kInterfaces[] = {nullptr, "DVI", "HDMI-a", "HDMI-b", "MDDI", "DisplayPort"};
inline constexpr CRegisterField kWidthCm = g_Byte(21), kHeightCm = g_Byte(22);
inline constexpr uint8_t kRatioOffset = 99;  // a ratio is (code + 99) / 100 of the other side
/// Many television sets give their picture's shape in place of its size, in centimetres and in millimetres.
struct CShape {
    uint16_t usWidth, usHeight;
};
inline constexpr CShape kShapes[] = {{16, 9}, {16, 10}, {160, 90}, {160, 100}, {1600, 900}, {1600, 1000}};
inline constexpr CRegisterField kPreferred = g_Bits(24, 1, 1);
inline constexpr CRegisterField kExtensions = g_Byte(126);

// Revisions that brought what older ones leave to chance.
inline constexpr uint8_t kAlwaysPreferred = 3, kTellsInterface = 4, kTellsRatio = 4, kTellsMoreLimits = 4;

// Descriptors: a mode, or, where its pixel clock is 0, what byte 3 says.
inline constexpr uint8_t kDescriptorBytes = 18, kFirstDescriptor = 54, kBaseDescriptors = 4, kTextOffset = 5,
                         kTextBytes = 13;
inline constexpr CRegisterField kTag = g_Byte(3);
inline constexpr uint8_t kNameTag = 0xFC, kLimitsTag = 0xFD, kSerialTag = 0xFF;

namespace mode {
inline constexpr CRegisterField kPixelClock = g_Word(0);  // 10 kHz
inline constexpr CRegisterField kWidth = g_Long(2, 4, 7), kWidthBlank = g_Long(3, 4, 3);
inline constexpr CRegisterField kHeight = g_Long(5, 7, 7), kHeightBlank = g_Long(6, 7, 3);  // borders are blank
inline constexpr CRegisterField kWidthMm = g_Long(12, 14, 7), kHeightMm = g_Long(13, 14, 3);
inline constexpr CRegisterField kInterlaced = g_Bits(17, 7, 7);
}  // namespace mode

/// A limit, and from which code of its offset on 255 more are meant.
struct CLimit {
    CRegisterField Value, Offset;
    uint8_t ucMoreFrom;
    uint16_t CEdidLimits::*pLimit;
};
inline constexpr uint32_t kLimitMore = 255;
inline constexpr CLimit kLimits[] = {
    {g_Byte(5), g_Bits(4, 1, 0), 3, &CEdidLimits::usLowestRefresh},
    {g_Byte(6), g_Bits(4, 1, 0), 2, &CEdidLimits::usHighestRefresh},
    {g_Byte(7), g_Bits(4, 3, 2), 3, &CEdidLimits::usLowestLines},
    {g_Byte(8), g_Bits(4, 3, 2), 2, &CEdidLimits::usHighestLines},
};
inline constexpr CRegisterField kHighestPixelClock = g_Byte(9);  // 10 MHz

// CTA-861 extension: data blocks up to its descriptors, which reach to the checksum.
namespace cta {
inline constexpr uint8_t kTag = 0x02, kFirstDescriptor = 4,
                         kTellsNative = 2;  // byte 0; data blocks; from this revision on
inline constexpr CRegisterField kTagByte = g_Byte(0), kRevision = g_Byte(1), kDescriptors = g_Byte(2);
inline constexpr CRegisterField kBasicAudio = g_Bits(3, 6, 6), kNativeModes = g_Bits(3, 3, 0);
}  // namespace cta

}  // namespace vxt::edid
