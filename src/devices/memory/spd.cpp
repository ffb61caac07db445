#include "devices/memory/spd.h"

#include <algorithm>
#include <numeric>
#include <string_view>

#include "devices/framework/clean_text.h"
#include "devices/memory/jedec_manufacturers.h"
#include "devices/memory/spd_ddr3_rows.h"
#include "devices/memory/spd_ddr_rows.h"

namespace vxt {

namespace spd {

namespace {

// --- who made it, and when -------------------------------------------------------------------------------------------

constexpr bool g_IsLetter(uint8_t ucByte) { return (ucByte | 0x20) >= 'a' && (ucByte | 0x20) <= 'z'; }
/// Erased, or never written.
bool g_IsEmpty(std::span<const uint8_t> Bytes) {
    return std::ranges::all_of(Bytes, [](uint8_t ucByte) { return ucByte == 0; }) ||
           std::ranges::all_of(Bytes, [](uint8_t ucByte) { return ucByte == 0xFF; });
}

const char* g_NameOrNull(const char* pszName) {
    return pszName == nullptr || std::string_view(pszName) == CJedecManufacturers::kUnknown ? nullptr : pszName;
}

constexpr uint8_t kContinuedMaker = 64, kContinuedBytes = 7;  // an eighth byte is beyond what the look-up reaches
void g_DecodeContinuedMaker(const CImage& rImage, CSpdRecord& rRecord) {
    const std::span<const uint8_t> Maker = rImage.Part(kContinuedMaker, kContinuedBytes);
    if (Maker.empty()) return;
    rRecord.pszManufacturer = g_NameOrNull(g_GetJedecManufacturers().GetName(Maker.data()));
    rRecord.bManufacturerIsText = std::ranges::all_of(Maker.first(3), g_IsLetter);
}

/// The continuation codes are counted, under odd parity in bit 7; the table counts without it.
const char* g_MakerOfPair(const CImage& rImage, uint8_t uByte) {
    const std::span<const uint8_t> Maker = rImage.Part(uByte, 2);
    if (Maker.empty()) return nullptr;
    const uint8_t aucPair[] = {static_cast<uint8_t>(Maker[0] & 0x7F), Maker[1]};
    return g_NameOrNull(g_GetJedecManufacturers().GetNameOfPair(aucPair));
}
constexpr uint8_t kMaker = 117, kDramMaker = 148;
void g_DecodePairedMakers(const CImage& rImage, CSpdRecord& rRecord) {
    rRecord.pszManufacturer = g_MakerOfPair(rImage, kMaker);
    rRecord.pszDramManufacturer = g_MakerOfPair(rImage, kDramMaker);
}

void g_DecodePartNumber(std::span<const uint8_t> Bytes, CSpdRecord& rRecord) {
    using namespace std::string_view_literals;
    const std::string_view sRaw(reinterpret_cast<const char*>(Bytes.data()), Bytes.size());
    g_CleanText(sRaw, " \0\xFF"sv, std::span(rRecord.szPartNumber).first(CSpdRecord::kPartNumber));
}

/// The number of so many bytes, the first one highest; nothing for erased ones.
std::optional<uint32_t> g_Number(std::span<const uint8_t> Bytes) {
    if (g_IsEmpty(Bytes)) return std::nullopt;
    return std::accumulate(Bytes.begin(), Bytes.end(), 0u, [](uint32_t u, uint8_t ucByte) { return u << 8 | ucByte; });
}

constexpr bool g_IsBcd(uint8_t ucByte) { return ucByte < 0xA0 && ucByte % 16 < 10; }
constexpr uint8_t g_OfBcd(uint8_t ucByte) { return static_cast<uint8_t>(ucByte / 16 * 10 + ucByte % 16); }

/// Some makers write binary numbers instead of BCD, which shows where a digit is none.
void g_DecodeDate(const CImage& rImage, const CIdentity& rIdentity, CSpdRecord& rRecord) {
    const std::optional<uint32_t> ouYear = rImage.Code(rIdentity.Year), ouWeek = rImage.Code(rIdentity.Week);
    if (!ouYear || !ouWeek) return;
    uint8_t ucYear = static_cast<uint8_t>(*ouYear), ucWeek = static_cast<uint8_t>(*ouWeek);
    if (g_IsBcd(ucYear) && g_IsBcd(ucWeek)) ucYear = g_OfBcd(ucYear), ucWeek = g_OfBcd(ucWeek);
    constexpr uint8_t kWeeks = 53, kYears = 100, kFirstYear = 80;
    if (ucYear >= kYears || ucWeek < 1 || ucWeek > kWeeks) return;
    rRecord.ousYear = static_cast<uint16_t>(ucYear + (ucYear < kFirstYear ? 2000 : 1900));
    rRecord.oucWeek = ucWeek;
}

void g_DecodeIdentity(const CImage& rImage, const CIdentity& rIdentity, CSpdRecord& rRecord) {
    if (const auto ouRevision = rImage.Code(rIdentity.Revision); ouRevision && *ouRevision != 0xFF)
        rRecord.oucRevision = static_cast<uint8_t>(*ouRevision);
    g_DecodePartNumber(rImage.Part(rIdentity.uPartNumber, CSpdRecord::kPartNumber), rRecord);
    rRecord.ouSerial = g_Number(rImage.Part(rIdentity.uSerial, 4));
    if (const auto ouRevision = g_Number(rImage.Part(rIdentity.uPartNumber + CSpdRecord::kPartNumber, 2)))
        rRecord.ousModuleRevision = static_cast<uint16_t>(*ouRevision);
    g_DecodeDate(rImage, rIdentity, rRecord);
}

// --- its sum ---------------------------------------------------------------------------------------------------------

constexpr size_t kSummed = 63;
void g_SumBytes(const CImage& rImage, CSpdRecord& rRecord) {
    const std::span<const uint8_t> Bytes = rImage.Part(0, kSummed + 1);
    if (Bytes.empty()) return;
    rRecord.ousStoredSum = Bytes[kSummed];
    rRecord.ousComputedSum = static_cast<uint8_t>(std::accumulate(Bytes.begin(), Bytes.begin() + kSummed, 0u));
}

/// CRC-16 with the polynomial 1021h, from 0 on, the highest bit first.
uint16_t g_Crc(std::span<const uint8_t> Bytes) {
    uint32_t uCrc = 0;
    for (const uint8_t ucByte : Bytes) {
        uCrc ^= static_cast<uint32_t>(ucByte << 8);
        for (int i = 0; i < 8; ++i) uCrc = uCrc << 1 ^ (uCrc & 0x8000 ? 0x11021 : 0);
    }
    return static_cast<uint16_t>(uCrc);
}

constexpr size_t kCrc = 126, kShortCovered = 117;
void g_SumCrc(const CImage& rImage, CSpdRecord& rRecord) {
    const std::span<const uint8_t> Bytes = rImage.Part(0, kCrc + 2);
    if (Bytes.empty()) return;
    rRecord.ousStoredSum = static_cast<uint16_t>(Bytes[kCrc + 1] << 8 | Bytes[kCrc]);
    rRecord.ousComputedSum = g_Crc(Bytes.first(rImage.Code(kShortCrc) == 1u ? kShortCovered : kCrc));
}

// --- the types -------------------------------------------------------------------------------------------------------

using CStep = void (*)(const CImage& rImage, CSpdRecord& rRecord);
struct CMemoryType {
    ESpdMemory eMemory;
    CIdentity Identity;
    CStep pSum, pMakers, pDecode;
};
constexpr CMemoryType kTypes[] = {
    {ESpdMemory::kDdr, kDdrIdentity, g_SumBytes, g_DecodeContinuedMaker, g_DecodeDdr},
    {ESpdMemory::kDdr2, kDdrIdentity, g_SumBytes, g_DecodeContinuedMaker, g_DecodeDdr2},
    {ESpdMemory::kDdr3, kDdr3Identity, g_SumCrc, g_DecodePairedMakers, g_DecodeDdr3},
};
constexpr CField kType = 2;

}  // namespace

}  // namespace spd

CSpdRecord g_DecodeSpd(std::span<const uint8_t> Bytes) {
    const spd::CImage Image(Bytes);
    CSpdRecord Record;
    if (spd::g_IsEmpty(Image.Bytes())) return Record;
    const std::optional<uint32_t> ouType = Image.Code(spd::kType);
    Record.eVerdict = ouType ? ESpdVerdict::kUnknownType : ESpdVerdict::kTooShort;
    Record.ucTypeCode = static_cast<uint8_t>(ouType.value_or(0));
    const auto pType =
        std::ranges::find(spd::kTypes, static_cast<ESpdMemory>(Record.ucTypeCode), &spd::CMemoryType::eMemory);
    if (pType == std::end(spd::kTypes)) return Record;

    Record.eMemory = pType->eMemory;
    pType->pSum(Image, Record);
    pType->pMakers(Image, Record);
    spd::g_DecodeIdentity(Image, pType->Identity, Record);
    pType->pDecode(Image, Record);
    Record.eVerdict = !Record.ousStoredSum                           ? ESpdVerdict::kTooShort
                      : Record.ousStoredSum == Record.ousComputedSum ? ESpdVerdict::kRight
                                                                     : ESpdVerdict::kWrongChecksum;
    return Record;
}

}  // namespace vxt
