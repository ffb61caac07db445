#include "devices/peripherals/ata_identify.h"

#include <bit>
#include <numeric>

#include "devices/peripherals/ata_identify_words.h"

namespace vxt {

namespace {

using namespace ata;

/// The words, and which of them tell anything.
class CIdentifyWords {
public:
    explicit CIdentifyWords(std::span<const uint8_t> Image) {
        for (size_t i = 0; i < kWords; ++i) m_ausWords[i] = static_cast<uint16_t>(Image[2 * i] | Image[2 * i + 1] << 8);
    }

    uint16_t Raw(size_t uWord) const { return m_ausWords[uWord]; }
    uint32_t Raw(const CWordBits& rBits) const { return rBits.Bits.Get(Raw(rBits.ucWord)); }
    uint64_t Raw(const CNumber& rNumber) const {
        uint64_t ullNumber = 0;
        for (size_t i = rNumber.ucWords; i-- > 0;) ullNumber = ullNumber << 16 | Raw(rNumber.ucWord + i);
        return ullNumber;
    }

    /// What the bits say; nothing where their word does not tell.
    std::optional<uint32_t> Get(const CWordBits& rBits) const {
        const bool bTold = std::ranges::all_of(kTold, [&](const CTold& rTold) {
            const uint32_t uMark = Raw(rTold.Mark);
            return rBits.ucWord < rTold.ucFirst || rBits.ucWord > rTold.ucLast ||
                   (rTold.usLow <= uMark && uMark <= rTold.usHigh);
        });
        return bTold && Raw(rBits.ucWord) != kUntold ? std::optional(Raw(rBits)) : std::nullopt;
    }
    /// The same where 0 is no number.
    std::optional<uint32_t> GetNumber(const CWordBits& rBits) const {
        const std::optional<uint32_t> oNumber = Get(rBits);
        return oNumber == 0u ? std::nullopt : oNumber;
    }
    bool Has(const CWordBits& rBit) const { return Get(rBit).value_or(0) != 0; }

    template <size_t N> CDeviceText<N> Text(const CText<N>& rText) const {
        const std::array<char, N> achRaw = RawText(rText);
        return CDeviceText<N>({achRaw.data(), N});
    }
    template <size_t N> std::array<char, N> RawText(const CText<N>& rText) const {
        std::array<char, N> achRaw;
        for (size_t i = 0; i < N; ++i) achRaw[i] = static_cast<char>(Raw(rText.ucWord + i / 2) >> (i % 2 ? 0 : 8));
        return achRaw;
    }

private:
    std::array<uint16_t, kWords> m_ausWords;
};

EAtaVerdict g_Judge(std::span<const uint8_t> Image) {
    if (Image.size() < kImageBytes) return EAtaVerdict::kCut;
    Image = Image.first(kImageBytes);
    const auto IsAll = [&](uint8_t ucValue) { return std::ranges::count(Image, ucValue) == std::ssize(Image); };
    if (IsAll(0x00) || IsAll(0xFF)) return EAtaVerdict::kBlank;
    const CIdentifyWords Words(Image);
    const bool bSigned = Words.Raw(kSignature) == kSigned;
    if (bSigned && std::accumulate(Image.begin(), Image.end(), 0u) % 256 != 0) return EAtaVerdict::kWrongSum;
    if (std::ranges::find(kIncomplete, Words.Raw(kSpinUp)) != std::end(kIncomplete)) return EAtaVerdict::kIncomplete;
    return bSigned ? EAtaVerdict::kRight : EAtaVerdict::kUnsigned;
}

EAtaKind g_Kind(const CIdentifyWords& rWords) {
    if (rWords.Raw(kConfiguration) == kCompactFlash) return EAtaKind::kCompactFlash;
    if (!rWords.Raw(kNotAta)) return EAtaKind::kAta;
    return rWords.Raw(kNotAtapi) ? EAtaKind::kUnknown : EAtaKind::kAtapi;
}

CAtaFeature g_Feature(const CIdentifyWords& rWords, const CFeature& rRow) {
    CAtaFeature Feature;
    if (const std::optional<uint32_t> oSupported = rWords.Get(rRow.Supported)) Feature.oSupported = *oSupported != 0;
    if (rRow.oEnabled && Feature.oSupported == true)
        if (const std::optional<uint32_t> oEnabled = rWords.Get(*rRow.oEnabled)) Feature.oEnabled = *oEnabled != 0;
    return Feature;
}

/// Sectors and their sizes. A packet device's medium is asked otherwise. Where a number is the largest there is, another
/// one tells the capacity, or none does.
void g_DecodeCapacity(const CIdentifyWords& rWords, CAtaIdentity& rIdentity) {
    const std::optional<bool> oLba = rIdentity.Feature(EAtaFeature::kLba).oSupported,
                              oLba48 = rIdentity.Feature(EAtaFeature::kLba48).oSupported;
    const std::optional<uint32_t> oCylinders = rWords.GetNumber(kCylinders), oHeads = rWords.GetNumber(kHeads),
                                  oSectors = rWords.GetNumber(kSectorsPerTrack);
    if (oCylinders && oHeads && oSectors) {
        rIdentity.oGeometry = {static_cast<uint16_t>(*oCylinders), static_cast<uint16_t>(*oHeads),
                               static_cast<uint16_t>(*oSectors)};
        if (oLba != true) rIdentity.oSectors = uint64_t{*oCylinders} * *oHeads * *oSectors;
    }
    const auto Count = [&](const CNumber& rNumber, uint64_t ullMost) {
        const uint64_t ullSectors = rWords.Raw(rNumber);
        return ullSectors == 0 || ullSectors > ullMost ? std::nullopt : std::optional(ullSectors);
    };
    if (oLba == true) {
        rIdentity.oSectors28 = Count(kSectors28, kMaxSectors28);
        if (oLba48 == false || rIdentity.oSectors28 != kMaxSectors28) rIdentity.oSectors = rIdentity.oSectors28;
    }
    if (oLba48 == true) {
        rIdentity.oSectors48 = Count(kSectors48, kMaxSectors48);
        const auto oExtended = rWords.Has(kHasExtendedSectors) ? Count(kExtendedSectors, kMaxSectors48) : std::nullopt;
        if (rIdentity.oSectors48) rIdentity.oSectors = rIdentity.oSectors48;
        if (oExtended) rIdentity.oSectors = oExtended;
    }

    // Who does not tell has sectors of 512 bytes: others came with the words that tell.
    uint64_t ullSectorBytes = kSectorBytes;
    if (rWords.Get(kHasLogicalSectorWords)) {
        if (rWords.Has(kHasLogicalSectorWords)) ullSectorBytes = rWords.Raw(kLogicalSectorWords) * 2;
        if (ullSectorBytes < kSectorBytes || ullSectorBytes > kMaxSectorBytes) return;
        rIdentity.oLogicalSectorBytes = static_cast<uint32_t>(ullSectorBytes);
        const uint32_t uPower = rWords.Has(kHasSectorsPerPhysical) ? rWords.Raw(kSectorsPerPhysical) : 0;
        rIdentity.oPhysicalSectorBytes = static_cast<uint32_t>(ullSectorBytes) << uPower;
    }
    if (rIdentity.oSectors) rIdentity.oBytes = *rIdentity.oSectors * ullSectorBytes;
}

void g_DecodeMedium(const CIdentifyWords& rWords, CAtaIdentity& rIdentity) {
    if (const std::optional<uint32_t> oSectors = rWords.GetNumber(kBufferSectors))
        rIdentity.oBufferBytes = *oSectors * 512;
    const uint32_t uRate = rWords.Get(kRotationRate).value_or(0);
    const bool bTurns = kMinRotationRate <= uRate && uRate <= kMaxRotationRate;
    if (bTurns) rIdentity.oRotationRate = static_cast<uint16_t>(uRate);
    if (bTurns || uRate == kSolidState) rIdentity.oSolidState = !bTurns;
    const uint32_t uForm = rWords.Get(kFormFactor).value_or(0);
    if (uForm < std::size(kFormFactors)) rIdentity.pszFormFactor = kFormFactors[uForm];
}

void g_DecodeVersions(const CIdentifyWords& rWords, CAtaIdentity& rIdentity) {
    const size_t uNewest = std::bit_width(rWords.Get(kMajorVersions).value_or(0));
    if (uNewest > 0 && uNewest <= std::size(kMajorNames)) rIdentity.pszMajorVersion = kMajorNames[uNewest - 1];
    if (const std::optional<uint32_t> oCode = rWords.GetNumber(kMinorVersion)) {
        rIdentity.oMinorCode = static_cast<uint16_t>(*oCode);
        const auto pRow = std::ranges::find(kMinorVersions, *oCode, &CMinorVersion::usCode);
        if (pRow != std::end(kMinorVersions)) rIdentity.pszMinorVersion = pRow->pszName;
    }
}

std::optional<CAtaModes> g_DmaModes(const CIdentifyWords& rWords, const CWordBits& rSupported,
                                    const CWordBits& rSelected) {
    const std::optional<uint32_t> oSupported = rWords.Get(rSupported);
    if (!oSupported) return std::nullopt;
    CAtaModes Modes{.ucSupported = static_cast<uint8_t>(*oSupported), .oSelected = {}};
    if (const uint32_t uSelected = rWords.Raw(rSelected))
        Modes.oSelected = static_cast<uint8_t>(std::bit_width(uSelected) - 1);
    return Modes;
}

void g_DecodeTransfers(const CIdentifyWords& rWords, CAtaIdentity& rIdentity) {
    if (const std::optional<uint32_t> oModes = rWords.Get(kNewPio))  // modes 0 to 2 come with them
        rIdentity.oPio = {.ucSupported = static_cast<uint8_t>(*oModes << 3 | 7), .oSelected = {}};
    else if (const uint32_t uHighest = rWords.Get(kOldPio).value_or(kMaxOldPio + 1); uHighest <= kMaxOldPio)
        rIdentity.oPio = {.ucSupported = static_cast<uint8_t>((2 << uHighest) - 1), .oSelected = {}};
    rIdentity.oMultiwordDma = g_DmaModes(rWords, kMultiwordDma, kMultiwordDmaSelected);
    rIdentity.oUltraDma = g_DmaModes(rWords, kUltraDma, kUltraDmaSelected);
    rIdentity.ucSataGenerations = static_cast<uint8_t>(rWords.Get(kSataGenerations).value_or(0) << 1);
    if (const uint32_t uGeneration = rWords.GetNumber(kSataGeneration).value_or(kMaxSataGeneration + 1);
        uGeneration <= kMaxSataGeneration)
        rIdentity.oSataGeneration = static_cast<uint8_t>(uGeneration);
}

/// Numbers and states that come with a feature.
void g_DecodeSettings(const CIdentifyWords& rWords, CAtaIdentity& rIdentity) {
    const auto Is = [&](EAtaFeature eFeature) { return rIdentity.Feature(eFeature).oSupported == true; };
    const auto Level = [&](EAtaFeature eFeature, const CWordBits& rLevel, CLevels Range) -> std::optional<uint8_t> {
        const uint32_t uLevel = rWords.Get(rLevel).value_or(0);
        const bool bLegal = Range.ucLowest <= uLevel && uLevel <= Range.ucHighest;
        if (rIdentity.Feature(eFeature).oEnabled != true || !bLegal) return std::nullopt;
        return static_cast<uint8_t>(uLevel);
    };
    if (Is(EAtaFeature::kNativeQueuing) || Is(EAtaFeature::kTaggedQueuing))
        if (const std::optional<uint32_t> oDepth = rWords.Get(kQueueDepth))
            rIdentity.oQueueDepth = static_cast<uint8_t>(*oDepth + 1);
    rIdentity.oPowerLevel = Level(EAtaFeature::kAdvancedPowerManagement, kPowerLevel, kPowerLevels);
    rIdentity.oAcousticLevel = Level(EAtaFeature::kAcousticManagement, kAcousticLevel, kAcousticLevels);
    if (rWords.Has(kSecurity))
        rIdentity.oSecurity = {rWords.Has(kSecurityEnabled), rWords.Has(kLocked),        rWords.Has(kFrozen),
                               rWords.Has(kCountExpired),    rWords.Has(kEnhancedErase), rWords.Has(kMaximumSecurity)};
    if (Is(EAtaFeature::kWorldWideName)) {
        uint64_t ullName = 0;
        for (size_t i = 0; i < kWorldWideName.ucWords; ++i)
            ullName = ullName << 16 | rWords.Raw(kWorldWideName.ucWord + i);
        if (ullName != 0 && ullName != UINT64_MAX) rIdentity.oWorldWideName = ullName;
    }
}

}  // namespace

const char* g_GetAtaFeatureName(EAtaFeature eFeature) { return kFeatures[static_cast<size_t>(eFeature)].pszName; }

CAtaIdentity g_DecodeAtaIdentity(std::span<const uint8_t> Image) {
    CAtaIdentity Identity;
    Identity.eVerdict = g_Judge(Image);
    if (Identity.eVerdict <= EAtaVerdict::kBlank) return Identity;
    const CIdentifyWords Words(Image);
    Identity.eKind = g_Kind(Words);
    Identity.bRemovable = Words.Raw(kRemovable) != 0;
    Identity.Model = Words.Text(kModel);
    const auto IsOfText = [](char ch) { return ch == 0 || (ch >= ' ' && ch <= '~'); };
    Identity.bDoubtful =
        Identity.eVerdict == EAtaVerdict::kUnsigned && !std::ranges::all_of(Words.RawText(kModel), IsOfText);
    Identity.SerialNumber = Words.Text(kSerialNumber);
    Identity.Firmware = Words.Text(kFirmware);
    std::ranges::transform(kFeatures, Identity.aFeatures.begin(),
                           [&](const CFeature& rRow) { return g_Feature(Words, rRow); });
    if (Identity.eKind != EAtaKind::kAtapi) g_DecodeCapacity(Words, Identity);
    g_DecodeMedium(Words, Identity);
    g_DecodeVersions(Words, Identity);
    g_DecodeTransfers(Words, Identity);
    g_DecodeSettings(Words, Identity);
    return Identity;
}

}  // namespace vxt
