#include "devices/graphics/graphics_processor.h"

#include <bitset>
#include <cmath>

#include "api/log/log_checks.h"

namespace vxt {

namespace {

constexpr CDeviceIdentity kIdentity{
    .eType = vxtapi::kDeviceGpu, .pszName = L"NYX(TM) GPU", .uVersion = 20070322, .pszVendor = kMakerVendor};

constexpr double kKHzPerMHz = 1000.0;
constexpr uint32_t kHighestClock = 10'000'000;  ///< kHz; more is no clock of an engine
constexpr uint32_t kMostDisplays = 64, kMostAdapters = 16;
constexpr double kOwnTolerance = 0.5;  ///< MHz, of a clock without steps

bool g_MakesSense(const escape::CIdentifyAnswer& r) {
    const bool bNotTold = r.uLowest == 0 && r.uHighest == 0 && r.uStep == 0;
    const bool bRange =
        r.uLowest != 0 && r.uLowest <= r.uHighest && r.uHighest <= kHighestClock && r.uStep <= r.uHighest - r.uLowest;
    return r.uAdapter < kMostAdapters && (bNotTold || bRange);
}

template <class TBlock> auto& g_HeaderOf(TBlock& rBlock) {
    if constexpr (requires { rBlock.Header; })
        return rBlock.Header;
    else
        return rBlock;  // there is nothing else in it
}

}  // namespace

CNYXGPU::CNYXGPU() : CDeviceBase(kIdentity) {}

template <class TRequest, class TAnswer> bool CNYXGPU::_Ask(uint32_t uRequest, TRequest& rRequest, TAnswer& rAnswer) {
    g_HeaderOf(rRequest) = {sizeof(rRequest), escape::kMark, escape::kVersion, uRequest};
    const int32_t nAnswer = platform::EscapeDisplay(m_Display, escape::kNumber, std::as_bytes(std::span(&rRequest, 1)),
                                                    std::as_writable_bytes(std::span(&rAnswer, 1)));
    const escape::CHeader& rAnswered = g_HeaderOf(rAnswer);
    return nAnswer > 0 && rAnswered.uSize == sizeof(rAnswer) && rAnswered.uMark == escape::kMark &&
           rAnswered.uVersion == escape::kVersion && rAnswered.uRequest == uRequest;
}

bool CNYXGPU::_Identify(const wchar_t* pszDevice) {
    m_Display = platform::OpenDisplay(pszDevice);
    if (!m_Display) return false;
    constexpr uint32_t uNumber = escape::kNumber;
    const auto Asked = std::as_bytes(std::span(&uNumber, 1));
    if (platform::EscapeDisplay(m_Display, platform::kQueryEscapeSupport, Asked, {}) <= 0) return false;
    escape::CHeader Request;
    const bool bRetCode = _Ask(escape::kIdentify, Request, m_Identity) && g_MakesSense(m_Identity);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CNYXGPU::Init(uint32_t uIndex) {
    std::bitset<kMostAdapters> Seen;  // an adapter with several displays is one device
    platform::CDisplayName Name;
    for (uint32_t uDisplay = 0; uDisplay < kMostDisplays && platform::GetDisplayName(uDisplay, Name); ++uDisplay) {
        if (!_Identify(Name.sDevice.c_str()) || Seen[m_Identity.uAdapter]) continue;
        if (Seen.count() == uIndex) {
            m_Name.Set(std::wstring_view(Name.sAdapter));
            m_uIndex = uIndex;
            return true;
        }
        Seen.set(m_Identity.uAdapter);
    }
    m_Display.Reset();
    return false;
}

bool CNYXGPU::UnInit() {
    m_Display.Reset();
    return true;
}

double CNYXGPU::GetEngineClock() {
    escape::CHeader Request;
    escape::CGetClockAnswer Answer{};
    const bool bRetCode = _Ask(escape::kGetClock, Request, Answer);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(Answer.uClock <= kHighestClock);
    return Answer.uClock / kKHzPerMHz;
}

bool CNYXGPU::SetEngineClock(double dMHz) {
    LOG_PROCESS_ERROR(_HasLimits());
    const double dKHz = dMHz * kKHzPerMHz;
    LOG_PROCESS_ERROR(dKHz >= m_Identity.uLowest && dKHz <= m_Identity.uHighest);
    escape::CSetClockRequest Request{{}, static_cast<uint32_t>(std::lround(dKHz))};
    escape::CHeader Answer{};
    const bool bRetCode = _Ask(escape::kSetClock, Request, Answer);
    LOG_PROCESS_ERROR(bRetCode);
    const double dTolerance = m_Identity.uStep ? m_Identity.uStep / kKHzPerMHz / 2 : kOwnTolerance;
    const bool bTaken = std::fabs(GetEngineClock() - dMHz) <= dTolerance;
    LOG_PROCESS_ERROR(bTaken);
    return true;
}

bool CNYXGPU::GetEngineClockLimits(vxtapi::EngineClockLimits* pLimits) {
    LOG_PROCESS_ERROR(pLimits);
    *pLimits = {m_Identity.uLowest / kKHzPerMHz, m_Identity.uHighest / kKHzPerMHz, m_Identity.uStep / kKHzPerMHz};
    return _HasLimits();
}

}  // namespace vxt
