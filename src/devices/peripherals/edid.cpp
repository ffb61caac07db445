#include "devices/peripherals/edid.h"

#include <algorithm>
#include <numeric>

#include "devices/peripherals/edid_bytes.h"

namespace vxt {

namespace {

using namespace edid;

using CBytes = std::span<const uint8_t>;

/// A block or a descriptor, each byte a register word of the fields.
template <size_t N> class CFields {
public:
    explicit CFields(CBytes Bytes) : m_Bytes(Bytes.first(N)) { std::ranges::copy(m_Bytes, m_auWords.begin()); }

    uint32_t operator[](const CRegisterField& rField) const { return rField.Get(m_auWords); }
    CBytes Bytes(size_t uOffset, size_t uCount) const { return m_Bytes.subspan(uOffset, uCount); }

private:
    CBytes m_Bytes;
    std::array<uint32_t, N> m_auWords;
};
using CBlock = CFields<kBlockBytes>;
using CDescriptor = CFields<kDescriptorBytes>;

CBytes g_Block(CBytes Image, size_t uBlock) { return Image.subspan(uBlock * kBlockBytes, kBlockBytes); }
bool g_IsSumRight(CBytes Block) { return std::accumulate(Block.begin(), Block.end(), 0u) % 256 == 0; }

/// Whether anything can be decoded: kRight, or why not.
EEdidVerdict g_Judge(CBytes Image) {
    if (Image.size() < kBlockBytes) return EEdidVerdict::kShort;
    const CBytes Behind = Image.subspan(std::size(kHeader), kBlockBytes - std::size(kHeader));
    // Sums and counts are left out: an image may have been given some.
    const CBytes Content = Behind.first(Behind.size() - 2);
    const auto IsAll = [&](uint8_t ucValue) { return std::ranges::count(Content, ucValue) == std::ssize(Content); };
    if (IsAll(0x00) || IsAll(0xFF)) return EEdidVerdict::kBlank;
    if (!std::ranges::equal(Image.first(std::size(kHeader)), kHeader)) return EEdidVerdict::kNoHeader;
    return CBlock(Image)[kVersion] == 1 ? EEdidVerdict::kRight : EEdidVerdict::kOtherVersion;
}

/// Three letters of five bits; nothing where one is no letter.
CDeviceText<3> g_Manufacturer(const CBlock& rBase) {
    char achLetters[std::size(kLetters)];
    for (size_t i = 0; i < std::size(kLetters); ++i) {
        const uint32_t uLetter = rBase[kLetters[i]];
        if (uLetter == 0 || uLetter > kLetterCount) return {};
        achLetters[i] = static_cast<char>('A' + uLetter - 1);
    }
    return CDeviceText<3>({achLetters, std::size(achLetters)});
}

void g_DecodeIdentity(const CBlock& rBase, CEdid& rEdid) {
    rEdid.ucVersion = static_cast<uint8_t>(rBase[kVersion]);
    rEdid.ucRevision = static_cast<uint8_t>(rBase[kRevision]);
    rEdid.Manufacturer = g_Manufacturer(rBase);
    rEdid.usProduct = static_cast<uint16_t>(rBase[kProduct]);
    if (const uint32_t uSerial = rBase[kSerialHigh] << 16 | rBase[kSerialLow]) rEdid.oSerialNumber = uSerial;
    const uint32_t uWeek = rBase[kWeek], uYear = rBase[kYear];
    if (0 < uWeek && uWeek <= kMaxWeek) rEdid.oWeek = static_cast<uint8_t>(uWeek);
    if (uYear != 0) rEdid.oYear = static_cast<uint16_t>(kYearZero + uYear);
    rEdid.bModelYear = uWeek == kModelYear;
}

void g_DecodeInput(const CBlock& rBase, CEdid& rEdid) {
    rEdid.bDigital = rBase[kDigital] != 0;
    if (!rEdid.bDigital || rEdid.ucRevision < kTellsInterface) return;
    const uint32_t uBits = rBase[kBitsPerColour], uInterface = rBase[kInterface];
    if (0 < uBits && uBits <= kMaxBitsCode) rEdid.oBitsPerColour = static_cast<uint8_t>(4 + 2 * uBits);
    if (uInterface < std::size(kInterfaces)) rEdid.pszInterface = kInterfaces[uInterface];
}

bool g_IsSize(uint32_t uWidth, uint32_t uHeight) {
    return uWidth && uHeight && std::ranges::none_of(kShapes, [&](const CShape& rShape) {
               return uWidth == rShape.usWidth && uHeight == rShape.usHeight;
           });
}

/// A side of 0: the other one is an aspect ratio. Both: a projector, whose picture has no size of its own.
void g_DecodeSize(const CBlock& rBase, CEdid& rEdid) {
    const uint32_t uWidth = rBase[kWidthCm], uHeight = rBase[kHeightCm];
    if (g_IsSize(uWidth, uHeight)) {
        rEdid.oWidthCm = static_cast<uint8_t>(uWidth);
        rEdid.oHeightCm = static_cast<uint8_t>(uHeight);
    } else if (uWidth && uHeight) {
        rEdid.oAspectRatio = 1.0 * uWidth / uHeight;
    } else if (rEdid.ucRevision >= kTellsRatio && (uWidth || uHeight)) {
        rEdid.oAspectRatio = uWidth ? (uWidth + kRatioOffset) / 100.0 : 100.0 / (uHeight + kRatioOffset);
    }
}

/// A mode; nothing where the numbers are none.
std::optional<CEdidMode> g_Mode(const CDescriptor& rDescriptor) {
    const uint32_t uWidth = rDescriptor[mode::kWidth], uHeight = rDescriptor[mode::kHeight];
    if (!rDescriptor[mode::kPixelClock] || !uWidth || !uHeight) return std::nullopt;
    const bool bInterlaced = rDescriptor[mode::kInterlaced] != 0;
    const uint32_t uPixels = uWidth + rDescriptor[mode::kWidthBlank];
    const uint32_t uLines = uHeight + rDescriptor[mode::kHeightBlank];
    CEdidMode Mode{.usWidth = static_cast<uint16_t>(uWidth),
                   .usHeight = static_cast<uint16_t>(bInterlaced ? 2 * uHeight : uHeight),
                   .bInterlaced = bInterlaced,
                   .uPixelClock = rDescriptor[mode::kPixelClock] * 10,
                   .dRefresh = 0,
                   .oWidthMm = {},
                   .oHeightMm = {}};
    // A picture of two halves has an odd number of lines.
    Mode.dRefresh = Mode.uPixelClock * 1000.0 / (uPixels * (uLines + (bInterlaced ? 0.5 : 0.0)));
    const uint32_t uWidthMm = rDescriptor[mode::kWidthMm], uHeightMm = rDescriptor[mode::kHeightMm];
    if (g_IsSize(uWidthMm, uHeightMm)) {
        Mode.oWidthMm = static_cast<uint16_t>(uWidthMm);
        Mode.oHeightMm = static_cast<uint16_t>(uHeightMm);
    }
    return Mode;
}

void g_AddMode(const CDescriptor& rDescriptor, CEdid& rEdid) {
    const std::optional<CEdidMode> oMode = g_Mode(rDescriptor);
    if (oMode && rEdid.ucModes < CEdid::kMaxModes) rEdid.aModes[rEdid.ucModes++] = *oMode;
}

/// The first of its kind counts. A line feed ends the text; some monitors end it by a zero.
void g_TakeText(const CDescriptor& rDescriptor, CDeviceText<kTextBytes>& rText) {
    const CBytes Bytes = rDescriptor.Bytes(kTextOffset, kTextBytes);
    const auto IsEnd = [](uint8_t ucByte) { return ucByte == '\n' || ucByte == 0; };
    if (rText.IsEmpty())
        rText = CDeviceText<kTextBytes>(std::string_view(reinterpret_cast<const char*>(Bytes.data()),
                                                         std::ranges::find_if(Bytes, IsEnd) - Bytes.begin()));
}

std::optional<CEdidLimits> g_Limits(const CDescriptor& rDescriptor, uint8_t ucRevision) {
    CEdidLimits Limits{};
    for (const CLimit& rLimit : kLimits) {
        const bool bMore = ucRevision >= kTellsMoreLimits && rDescriptor[rLimit.Offset] >= rLimit.ucMoreFrom;
        Limits.*rLimit.pLimit = static_cast<uint16_t>(rDescriptor[rLimit.Value] + (bMore ? kLimitMore : 0));
    }
    if (Limits.usLowestRefresh > Limits.usHighestRefresh || Limits.usLowestLines > Limits.usHighestLines ||
        !Limits.usHighestRefresh || !Limits.usHighestLines)
        return std::nullopt;
    if (const uint32_t uClock = rDescriptor[kHighestPixelClock]; uClock) Limits.oHighestPixelClock = uClock * 10;
    return Limits;
}

void g_DecodeDescriptors(const CBlock& rBase, CEdid& rEdid) {
    for (size_t i = 0; i < kBaseDescriptors; ++i) {
        const CDescriptor Descriptor(rBase.Bytes(kFirstDescriptor + i * kDescriptorBytes, kDescriptorBytes));
        if (Descriptor[mode::kPixelClock]) {
            g_AddMode(Descriptor, rEdid);
            if (i == 0)  // else there is no first mode, and nothing to prefer
                rEdid.bPreferred = rEdid.ucModes && (rEdid.ucRevision >= kAlwaysPreferred || rBase[kPreferred]);
        } else if (Descriptor[kTag] == kNameTag) {
            g_TakeText(Descriptor, rEdid.Name);
        } else if (Descriptor[kTag] == kSerialTag) {
            g_TakeText(Descriptor, rEdid.SerialText);
        } else if (Descriptor[kTag] == kLimitsTag && !rEdid.oLimits) {
            rEdid.oLimits = g_Limits(Descriptor, rEdid.ucRevision);
        }
    }
}

void g_DecodeCta(CBytes Bytes, CEdid& rEdid) {
    const CBlock Block(Bytes);
    if (Block[cta::kRevision] >= cta::kTellsNative) {
        rEdid.bBasicAudio = Block[cta::kBasicAudio] != 0;
        rEdid.ucNativeModes = static_cast<uint8_t>(Block[cta::kNativeModes]);
    }
    size_t uOffset = Block[cta::kDescriptors];
    if (uOffset < cta::kFirstDescriptor) return;  // 0: none; what is below lies in the block's head
    for (; uOffset + kDescriptorBytes < kBlockBytes; uOffset += kDescriptorBytes) {
        const CDescriptor Descriptor(Block.Bytes(uOffset, kDescriptorBytes));
        if (!Descriptor[mode::kPixelClock]) return;  // padding
        g_AddMode(Descriptor, rEdid);
    }
}

void g_DecodeExtensions(CBytes Image, CEdid& rEdid) {
    const size_t uThere = Image.size() / kBlockBytes - 1;
    rEdid.ucExtensionsThere = static_cast<uint8_t>(std::min<size_t>(rEdid.ucExtensions, uThere));
    bool bCta = false;
    for (size_t i = 0; i <= rEdid.ucExtensionsThere; ++i) {
        const CBytes Block = g_Block(Image, i);
        rEdid.WrongSums[i] = !g_IsSumRight(Block);
        if (i == 0 || bCta || rEdid.WrongSums[i] || CBlock(Block)[cta::kTagByte] != cta::kTag) continue;
        g_DecodeCta(Block, rEdid);
        bCta = true;
    }
    rEdid.ucNativeModes = std::min(rEdid.ucNativeModes, rEdid.ucModes);
}

}  // namespace

CEdid g_DecodeEdid(std::span<const uint8_t> Image) {
    CEdid Edid;
    Edid.eVerdict = g_Judge(Image);
    if (Edid.eVerdict != EEdidVerdict::kRight) return Edid;
    const CBlock Base(Image);
    g_DecodeIdentity(Base, Edid);
    g_DecodeInput(Base, Edid);
    g_DecodeSize(Base, Edid);
    g_DecodeDescriptors(Base, Edid);
    Edid.ucExtensions = static_cast<uint8_t>(Base[kExtensions]);
    g_DecodeExtensions(Image, Edid);
    if (Edid.WrongSums[0])
        Edid.eVerdict = EEdidVerdict::kWrongSum;
    else if (Edid.ucExtensionsThere < Edid.ucExtensions)
        Edid.eVerdict = EEdidVerdict::kCut;
    else if (Edid.WrongSums.any())
        Edid.eVerdict = EEdidVerdict::kWrongExtensionSum;
    return Edid;
}

}  // namespace vxt
