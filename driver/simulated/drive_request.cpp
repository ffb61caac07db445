#include "drive_request.h"

#include <algorithm>
#include <cstring>

#include "sim/drive_answers.h"

namespace vxtdriver {

namespace {

constexpr uint32_t kQueryProperty = 0x2D1400;
constexpr uint32_t kQueryBytes = 12, kDescriptorHeader = 8;
constexpr uint32_t kDeviceProperty = 0, kStandardQuery = 0, kExistsQuery = 1;

EDriveStatus g_QueryProperty(const vxtsim::CPluggedDevice& rDrive, const CDriveRequest& rRequest,
                             uint32_t& ruReturned) {
    struct {
        uint32_t uProperty, uQuery;
    } Query{};
    if (rRequest.In.size() < kQueryBytes) return EDriveStatus::kLengthMismatch;
    std::memcpy(&Query, rRequest.In.data(), sizeof(Query));
    if (Query.uProperty != kDeviceProperty || Query.uQuery > kExistsQuery) return EDriveStatus::kInvalidParameter;
    if (Query.uQuery != kStandardQuery) return EDriveStatus::kDone;
    if (rRequest.Out.size() < kDescriptorHeader) return EDriveStatus::kLengthMismatch;
    const std::vector<uint8_t> Descriptor = vxtsim::g_StorageDescriptor(rDrive);
    ruReturned =
        static_cast<uint32_t>(std::min(Descriptor.size(), rRequest.Out.size()));  // as much as there is room for
    std::copy_n(Descriptor.begin(), ruReturned, rRequest.Out.begin());
    return EDriveStatus::kDone;
}

/// ATA_PASS_THROUGH_EX, whose one pointer-sized member is an offset.
template <class TOffset> struct CAtaPassThrough {
    uint16_t usLength, usFlags;
    uint8_t ucPath, ucTarget, ucLun, ucReserved;
    uint32_t uDataBytes, uSeconds, uReserved;
    TOffset Offset;
    uint8_t aucPrevious[8], aucTask[8];
};
static_assert(sizeof(CAtaPassThrough<uint32_t>) == 40 && sizeof(CAtaPassThrough<uint64_t>) == 48);
constexpr uint16_t kDataIn = 2, kDataOut = 4;
constexpr uint32_t kLongestTime = 30 * 60 * 60;  // seconds
// A task file: registers of the command, and of the status in their place.
constexpr size_t kErrorRegister = 0, kCommandRegister = 6, kStatusRegister = 6;
constexpr uint8_t kAborted = 0x04, kReady = 0x50, kRefused = 0x51;

template <class TOffset>
EDriveStatus g_PassThrough(const vxtsim::CPluggedDevice& rDrive, const CDriveRequest& rRequest, uint32_t& ruReturned) {
    CAtaPassThrough<TOffset> Header;
    if (std::min(rRequest.In.size(), rRequest.Out.size()) < sizeof(Header)) return EDriveStatus::kBufferTooSmall;
    std::memcpy(&Header, rRequest.In.data(), sizeof(Header));
    const uint64_t ullEnd = uint64_t{Header.Offset} + Header.uDataBytes;
    if (Header.usLength != sizeof(Header) || Header.uSeconds == 0 || Header.uSeconds > kLongestTime ||
        (Header.usFlags & (kDataIn | kDataOut)) != kDataIn || Header.Offset < sizeof(Header) ||
        Header.Offset > ullEnd || ullEnd > rRequest.Out.size())
        return EDriveStatus::kInvalidParameter;
    const auto Answer = vxtsim::g_IdentifyAnswer(rDrive, Header.aucTask[kCommandRegister]);
    std::ranges::fill(Header.aucTask, uint8_t{0});
    Header.aucTask[kErrorRegister] = Answer.empty() ? kAborted : 0;
    Header.aucTask[kStatusRegister] = Answer.empty() ? kRefused : kReady;
    Header.uDataBytes = std::min(Header.uDataBytes, static_cast<uint32_t>(Answer.size()));
    std::memcpy(rRequest.Out.data(), &Header, sizeof(Header));
    std::copy_n(Answer.begin(), Header.uDataBytes, rRequest.Out.begin() + static_cast<ptrdiff_t>(Header.Offset));
    ruReturned = Answer.empty() ? sizeof(Header) : static_cast<uint32_t>(Header.Offset) + Header.uDataBytes;
    return EDriveStatus::kDone;
}

}  // namespace

EDriveStatus g_AnswerDriveRequest(const vxtsim::CPluggedDevice& rDrive, const CDriveRequest& rRequest,
                                  uint32_t& ruReturned) {
    ruReturned = 0;
    if (rRequest.uCode == kQueryProperty) return g_QueryProperty(rDrive, rRequest, ruReturned);
    if (rRequest.uCode != kAtaPassThrough) return EDriveStatus::kUnknownRequest;
    return rRequest.b32Bit ? g_PassThrough<uint32_t>(rDrive, rRequest, ruReturned)
                           : g_PassThrough<uint64_t>(rDrive, rRequest, ruReturned);
}

}  // namespace vxtdriver
