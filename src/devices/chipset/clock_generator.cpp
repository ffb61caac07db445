#include "devices/chipset/clock_generator.h"

#include <algorithm>
#include <new>

#include "api/log/log_checks.h"
#include "devices/chipset/firmware_units.h"

namespace vxt {

namespace {

constexpr CDeviceIdentity kIdentity{
    .eType = vxtapi::kDeviceClockGen, .pszName = L"QOR Default Clock Generator", .pszVendor = kMakerVendor};

/// By vxtapi::CClockGenerator::eClock.
constexpr uint32_t kFunctions[] = {0x01010000, 0x01020000, 0x01030000};
constexpr uint32_t kExternal = kFunctions[0], kPCIe = kFunctions[1], kThird = kFunctions[2];

constexpr int32_t kMostValues = 1 << 16;  ///< a list beyond it is a broken answer: no memory for that

std::unique_ptr<double[]> g_NewList(int32_t nCount) {
    return std::unique_ptr<double[]>(nCount <= kMostValues ? new (std::nothrow) double[static_cast<size_t>(nCount)]()
                                                           : nullptr);
}

bool g_FetchList(CQORBIOSHandler& rHandler, uint32_t uFunction, double* pdValues, int32_t& rnCount) {
    if (!rHandler.GetDValues(uFunction, pdValues, rnCount)) return false;
    std::for_each_n(pdValues, rnCount, [](double& rdValue) { rdValue /= kFirmwareUnits; });
    return true;
}

double g_GetClock(uint32_t uFunction) { return g_GetQORBIOSHandler().GetValue(uFunction) / kFirmwareUnits; }
bool g_SetClock(uint32_t uFunction, double dMHz) {
    return g_GetQORBIOSHandler().SetValue(uFunction, g_ToFirmware(dMHz));
}

bool g_CopyList(const double* pdList, int32_t nCount, double* pdValues, uint32_t& ruSize) {
    const uint32_t uCount = static_cast<uint32_t>(nCount);
    if (!pdList || (pdValues && ruSize < uCount)) return false;
    if (pdValues) std::copy_n(pdList, uCount, pdValues);
    ruSize = uCount;
    return true;
}

}  // namespace

CDefaultClockGen::CDefaultClockGen() : CDeviceBase(kIdentity) {}

bool CDefaultClockGen::Init(uint32_t uIndex) {
    if (uIndex != 0) return false;
    m_uIndex = uIndex;
    CQORBIOSHandler& rQorBiosHandler = g_GetQORBIOSHandler();
    LOG_PROCESS_ERROR(rQorBiosHandler.IsAvailable());
    CCapabilityPack pack;
    bool bRetCode = rQorBiosHandler.GetObjectID(pack);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(pack.IDCount > 2);
    m_bNoExtFreqList = pack.Records[0].uProperty == 1;
    m_bNoPCIeFreqList = pack.Records[1].uProperty == 1;
    m_bNoThirdFreqList = pack.Records[2].uProperty == 1;

    if (!m_bNoExtFreqList) {
        bRetCode = rQorBiosHandler.GetDValues(kExternal, nullptr, m_nExtFreqCount);
        LOG_PROCESS_ERROR(bRetCode);
        LOG_PROCESS_ERROR(m_nExtFreqCount > 0);
        m_pdExtFreqs = g_NewList(m_nExtFreqCount);
        LOG_PROCESS_ERROR(m_pdExtFreqs);
        bRetCode = g_FetchList(rQorBiosHandler, kExternal, m_pdExtFreqs.get(), m_nExtFreqCount);
        LOG_PROCESS_ERROR(bRetCode);
    }
    if (!m_bNoPCIeFreqList) {
        bRetCode = rQorBiosHandler.GetDValues(kPCIe, nullptr, m_nPCIeFreqCount);
        LOG_PROCESS_ERROR(bRetCode);
        LOG_PROCESS_ERROR(m_nPCIeFreqCount > 0);
        m_pdPCIeFreqs = g_NewList(m_nPCIeFreqCount);
        LOG_PROCESS_ERROR(m_pdPCIeFreqs);
        bRetCode = g_FetchList(rQorBiosHandler, kPCIe, m_pdPCIeFreqs.get(), m_nPCIeFreqCount);
        LOG_PROCESS_ERROR(bRetCode);
    }
    return true;
}

bool CDefaultClockGen::UnInit() {
    m_pdExtFreqs.reset();
    m_pdPCIeFreqs.reset();
    return true;
}

double CDefaultClockGen::GetExternalClock() { return g_GetClock(kExternal); }
double CDefaultClockGen::GetPCIeClock() { return g_GetClock(kPCIe); }
double CDefaultClockGen::GetThirdClock() { return g_GetClock(kThird); }

bool CDefaultClockGen::SetExternalClock(double dMHz) { return g_SetClock(kExternal, dMHz); }
bool CDefaultClockGen::SetPCIeClock(double dMHz) { return g_SetClock(kPCIe, dMHz); }
bool CDefaultClockGen::SetThirdClock(double dMHz) { return g_SetClock(kThird, dMHz); }

bool CDefaultClockGen::GetExternalClockList(double* pdValues, uint32_t& ruSize) {
    return g_CopyList(m_pdExtFreqs.get(), m_nExtFreqCount, pdValues, ruSize);
}

bool CDefaultClockGen::GetPCIeClockList(double* pdValues, uint32_t& ruSize) {
    return g_CopyList(m_pdPCIeFreqs.get(), m_nPCIeFreqCount, pdValues, ruSize);
}

bool CDefaultClockGen::GetClockLimits(eClock eWhich, vxtapi::FirmwareLimits* pLimits) {
    LOG_PROCESS_ERROR(pLimits);
    LOG_PROCESS_ERROR(eWhich < std::size(kFunctions));
    const bool bRetCode = g_ReadFirmwareLimits(g_GetQORBIOSHandler(), kFunctions[eWhich], *pLimits);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

}  // namespace vxt
