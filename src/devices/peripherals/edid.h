// What a monitor tells about itself (EDID 1.x).
#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <optional>
#include <span>

#include "devices/peripherals/device_text.h"

namespace vxt {

/// What to think of the image as a whole. The first that applies counts; the first four leave everything unknown.
enum class EEdidVerdict : uint8_t {
    kShort,         ///< fewer than 128 bytes
    kBlank,         ///< nothing behind the header but bytes 00h or FFh: an erased memory, or nobody answered
    kNoHeader,      ///< does not begin as an EDID does
    kOtherVersion,  ///< not version 1
    kWrongSum,      ///< of the base block, from which all but the last modes comes
    kCut,           ///< base block right, extensions are missing
    kWrongExtensionSum,
    kRight
};

struct CEdidMode {
    uint16_t usWidth, usHeight;  ///< of a whole picture
    bool bInterlaced;
    uint32_t uPixelClock;  ///< kHz
    double dRefresh;       ///< Hz; of half pictures where interlaced
    std::optional<uint16_t> oWidthMm, oHeightMm;
};

/// What the picture may be driven with.
struct CEdidLimits {
    uint16_t usLowestRefresh, usHighestRefresh;  ///< Hz
    uint16_t usLowestLines, usHighestLines;      ///< kHz
    std::optional<uint32_t> oHighestPixelClock;  ///< MHz
};

/// Nothing (also null, an empty text): the monitor does not tell.
struct CEdid {
    static constexpr size_t kMaxModes = 10;  ///< four of the base block, six of an extension

    EEdidVerdict eVerdict = EEdidVerdict::kShort;
    uint8_t ucVersion = 0, ucRevision = 0;
    CDeviceText<3> Manufacturer;  ///< the maker's letters; empty also where they are none
    uint16_t usProduct = 0;
    std::optional<uint32_t> oSerialNumber;
    CDeviceText<13> Name, SerialText;
    std::optional<uint8_t> oWeek;  ///< 1..54
    std::optional<uint16_t> oYear;
    bool bModelYear = false;  ///< the year is the model's, not that of its making

    bool bDigital = false;
    std::optional<uint8_t> oBitsPerColour;
    const char* pszInterface = nullptr;
    std::optional<uint8_t> oWidthCm, oHeightCm;  ///< both or none
    std::optional<double> oAspectRatio;          ///< width by height, where that is told in place of a size
    std::optional<CEdidLimits> oLimits;

    std::array<CEdidMode, kMaxModes> aModes{};  ///< in the order of the image: base block, first CTA-861 extension
    uint8_t ucModes = 0;
    bool bPreferred = false;    ///< the first mode is the one to use
    uint8_t ucNativeModes = 0;  ///< of those, the first so many are native, says the extension
    bool bBasicAudio = false;   ///< says the extension

    uint8_t ucExtensions = 0;       ///< that there should be
    uint8_t ucExtensionsThere = 0;  ///< of those, whole in the image
    std::bitset<256> WrongSums;     ///< bit n: of block n, 0 is the base
};

/// Decodes base block and extensions; bytes behind the last one are ignored. Any input is allowed: see `eVerdict`. Takes
/// no memory. Threads: any.
CEdid g_DecodeEdid(std::span<const uint8_t> Image);

}  // namespace vxt
