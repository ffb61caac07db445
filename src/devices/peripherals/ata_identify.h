// What a disk or an optical drive tells about itself (IDENTIFY DEVICE, IDENTIFY PACKET DEVICE).
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "devices/peripherals/device_text.h"

namespace vxt {

/// What to think of the data as a whole. The first that applies counts; the first two leave everything unknown.
enum class EAtaVerdict : uint8_t {
    kCut,         ///< fewer than 512 bytes
    kBlank,       ///< all bytes 00h or all FFh: no device answered
    kWrongSum,    ///< signed, and the checksum is wrong: nothing in it is certain
    kIncomplete,  ///< the device says that it has to spin up before it knows everything
    kUnsigned,    ///< no checksum, as before ATA/ATAPI-5
    kRight
};
enum class EAtaKind : uint8_t { kUnknown, kAta, kAtapi, kCompactFlash };

/// Each has a row in ata_identify_words.h, in this order, with its name.
enum class EAtaFeature : uint8_t {
    kDma,
    kLba,
    kLba48,
    kPowerManagement,
    kSmart,
    kSmartErrorLog,
    kSmartSelfTest,
    kSecurity,
    kWriteCache,
    kLookAhead,
    kHostProtectedArea,
    kConfigurationOverlay,
    kDownloadMicrocode,
    kTaggedQueuing,
    kNativeQueuing,
    kAdvancedPowerManagement,
    kAcousticManagement,
    kPowerUpInStandby,
    kFlushCache,
    kFlushCacheExt,
    kGeneralPurposeLog,
    kWorldWideName,
    kWriteReadVerify,
    kFreeFall,
    kSctCommands,
    kTrim,
    kHostPowerManagement,
    kDevicePowerManagement,
    kDeviceSleep,
    kCount
};

struct CAtaFeature {
    std::optional<bool> oSupported;
    std::optional<bool> oEnabled;  ///< nothing also where it is not supported, or no bit tells
};

/// Transfer modes of one kind.
struct CAtaModes {
    uint8_t ucSupported = 0;           ///< bit n: mode n
    std::optional<uint8_t> oSelected;  ///< nothing: another kind is in use, or it is not told
};

struct CAtaSecurity {
    bool bEnabled, bLocked, bFrozen, bCountExpired, bEnhancedErase;
    bool bMaximum;  ///< level: maximum, else high
};

struct CAtaGeometry {
    uint16_t usCylinders, usHeads, usSectors;
};

/// What the words say. Nothing (also null, an empty text): the device does not tell.
struct CAtaIdentity {
    EAtaVerdict eVerdict = EAtaVerdict::kCut;
    bool bDoubtful = false;  ///< unsigned, and the model is no text: chance may have made all of it
    EAtaKind eKind = EAtaKind::kUnknown;
    bool bRemovable = false;
    CDeviceText<40> Model;
    CDeviceText<20> SerialNumber;
    CDeviceText<8> Firmware;

    std::optional<CAtaGeometry> oGeometry;  ///< default one; a large disk answers 16383/16/63 for "look elsewhere"
    std::optional<uint64_t> oSectors28;     ///< no more than 0FFFFFFFh, which larger disks answer
    std::optional<uint64_t> oSectors48;
    std::optional<uint64_t> oSectors, oBytes;     ///< capacity, by the widest number there is
    std::optional<uint32_t> oLogicalSectorBytes;  ///< nothing: not told, which means 512
    std::optional<uint32_t> oPhysicalSectorBytes;
    std::optional<uint32_t> oBufferBytes;

    std::optional<bool> oSolidState;
    std::optional<uint16_t> oRotationRate;  ///< per minute; nothing for solid state
    const char* pszFormFactor = nullptr;

    const char* pszMajorVersion = nullptr;  ///< newest standard that the device follows
    std::optional<uint16_t> oMinorCode;     ///< number of the standard's draft
    const char* pszMinorVersion = nullptr;  ///< null also for a number that the list lacks

    uint8_t ucSataGenerations = 0;  ///< bit n: generation n (1: 1.5, 2: 3, 3: 6 Gbit/s); 0: not serial, or not told
    std::optional<uint8_t> oSataGeneration;  ///< in use

    std::optional<CAtaModes> oPio, oMultiwordDma, oUltraDma;
    std::optional<uint8_t> oQueueDepth;     ///< commands at a time, 1..32; where queuing is supported
    std::optional<uint8_t> oPowerLevel;     ///< advanced power management, 1 (saves most) .. 254; where enabled
    std::optional<uint8_t> oAcousticLevel;  ///< 128 (quiet) .. 254 (fast); where enabled
    std::optional<CAtaSecurity> oSecurity;  ///< where supported
    std::optional<uint64_t> oWorldWideName;
    std::array<CAtaFeature, static_cast<size_t>(EAtaFeature::kCount)> aFeatures;

    const CAtaFeature& Feature(EAtaFeature eFeature) const { return aFeatures[static_cast<size_t>(eFeature)]; }
};

/// Name of a feature, e.g. "SMART".
const char* g_GetAtaFeatureName(EAtaFeature eFeature);

/// Decodes the 512 bytes as the device transfers them, each word low byte first; what follows is ignored. Any input is
/// allowed: see `eVerdict`. Takes no memory. Threads: any.
CAtaIdentity g_DecodeAtaIdentity(std::span<const uint8_t> Image);

}  // namespace vxt
