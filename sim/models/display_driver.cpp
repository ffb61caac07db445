#include "display_driver.h"

#include <array>
#include <cstring>

namespace vxtsim {

namespace {

// Both ways little-endian dwords: size, mark, version, request; then the request's or the answer's own.
enum EWord : size_t { kSize, kMark, kVersion, kRequest, kFirst };
constexpr uint32_t kMarkValue = 0x56585447, kVersionValue = 1;
enum ERequest : uint32_t { kIdentify = 1, kGetClock = 2, kSetClock = 3 };
constexpr size_t kMostWords = 9;

/// Dwords of what comes and what goes, by request; the first one has none.
struct CSizes {
    size_t uIn, uOut;
};
constexpr CSizes kSizes[] = {{0, 0}, {kFirst, kFirst + 5}, {kFirst, kFirst + 1}, {kFirst + 1, kFirst}};

}  // namespace

std::optional<uint32_t> CDisplayDriver::AdapterOf(const CMachineDescription& rMachine, uint32_t uOutput) {
    for (const auto& [uNumber, rAdapter] : rMachine.Displays) {
        if (uOutput < rAdapter.uOutputs) return uNumber;
        uOutput -= rAdapter.uOutputs;
    }
    return std::nullopt;
}

int32_t CDisplayDriver::Escape(uint32_t uOutput, int32_t nEscape, std::span<const uint8_t> In, std::span<uint8_t> Out) {
    constexpr int32_t kUnknown = 0, kDone = 1, kFailed = -1;
    const std::lock_guard Lock(m_Lock);
    const std::optional<uint32_t> ouNumber = AdapterOf(m_rMachine.Description(), uOutput);
    if (!ouNumber || !m_Adapters[*ouNumber].bAnswers) return kUnknown;
    CDisplayAdapter& rAdapter = m_Adapters[*ouNumber];
    std::array<uint32_t, kMostWords> Words{};
    if (In.size() > sizeof(Words)) return kFailed;
    std::memcpy(Words.data(), In.data(), In.size());
    if (nEscape == kQuerySupport)
        return In.size() == 4 && Words[0] == static_cast<uint32_t>(kEscape) ? kDone : kUnknown;
    if (nEscape != kEscape) return kUnknown;

    const uint32_t uRequest = In.size() >= 4 * kFirst ? Words[kRequest] : 0;
    if (uRequest < kIdentify || uRequest > kSetClock || Words[kMark] != kMarkValue ||
        Words[kVersion] != kVersionValue || Words[kSize] != In.size() || In.size() != 4 * kSizes[uRequest].uIn ||
        Out.size() != 4 * kSizes[uRequest].uOut)
        return kFailed;
    if (uRequest == kSetClock) {
        const uint32_t uClock = Words[kFirst];
        if (rAdapter.uHighest && (uClock < rAdapter.uLowest || uClock > rAdapter.uHighest)) return kFailed;
        if (!rAdapter.bStuck && rAdapter.uClock != uClock) rAdapter.uClock = uClock, m_rMachine.Touch();
    }
    Words[kSize] = static_cast<uint32_t>(Out.size());
    if (uRequest == kIdentify) {
        const uint32_t auIdentity[] = {*ouNumber, rAdapter.bIntegrated, rAdapter.uLowest, rAdapter.uHighest,
                                       rAdapter.uStep};
        std::memcpy(&Words[kFirst], auIdentity, sizeof(auIdentity));
    } else if (uRequest == kGetClock) {
        Words[kFirst] = rAdapter.uClock;
    }
    std::memcpy(Out.data(), Words.data(), Out.size());
    return kDone;
}

}  // namespace vxtsim
