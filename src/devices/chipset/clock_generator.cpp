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
constexpr uint32_t kFunctions[] = {kExternalClockObject, kPCIeClockObject, kThirdClockObject};

constexpr int32_t kMostValues = 1 << 16;  ///< a list beyond it is a broken answer: no memory for that

std::unique_ptr<double[]> g_NewList(int32_t nCount) {
    return std::unique_ptr<double[]>(nCount <= kMostValues ? new (std::nothrow) double[static_cast<size_t>(nCount)]()
                                                           : nullptr);
}

double g_GetClock(CQORBIOSHandler& rHandler, uint32_t uFunction) {
    return rHandler.GetValue(uFunction) / kFirmwareUnits;
}
bool g_SetClock(CQORBIOSHandler& rHandler, uint32_t uFunction, double dMHz) {
    return rHandler.SetValue(uFunction, g_ToFirmware(dMHz));
}

}  // namespace

struct CDefaultClockGen::CListRow {
    uint32_t uFunction;
    CClockList CDefaultClockGen::*pList;
    const char *pszCountCheck, *pszMemoryCheck;
};
const CDefaultClockGen::CListRow CDefaultClockGen::s_aLists[] = {
    {kExternalClockObject, &CDefaultClockGen::m_ExtFreqs, "m_nExtFreqCount > 0", "m_pdExtFreqs"},
    {kPCIeClockObject, &CDefaultClockGen::m_PCIeFreqs, "m_nPCIeFreqCount > 0", "m_pdPCIeFreqs"},
};

CDefaultClockGen::CDefaultClockGen(CQORBIOSHandler& rHandler) : CDeviceBase(kIdentity), m_rQorBiosHandler(rHandler) {}

bool CDefaultClockGen::Init(uint32_t uIndex) {
    if (uIndex != 0) return false;
    m_uIndex = uIndex;
    UnInit();                                              // lists of an earlier Init do not count
    CQORBIOSHandler& rQorBiosHandler = m_rQorBiosHandler;  // the name that the log shows
    LOG_PROCESS_ERROR(rQorBiosHandler.IsAvailable());
    CCapabilityPack pack;
    bool bRetCode = rQorBiosHandler.GetObjectID(pack);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(pack.IDCount > 2);
    m_ExtFreqs.bNotOffered = pack.Records[0].uProperty == 1;
    m_PCIeFreqs.bNotOffered = pack.Records[1].uProperty == 1;
    m_bNoThirdList = pack.Records[2].uProperty == 1;
    for (const CListRow& rRow : s_aLists) {
        CClockList& rList = this->*rRow.pList;
        if (rList.bNotOffered) continue;
        bRetCode = rQorBiosHandler.GetDValues(rRow.uFunction, nullptr, rList.nCount);
        LOG_PROCESS_ERROR(bRetCode);
        LOG_PROCESS_ERROR(rList.nCount > 0, rRow.pszCountCheck);
        rList.pdValues = g_NewList(rList.nCount);
        LOG_PROCESS_ERROR(rList.pdValues, rRow.pszMemoryCheck);
        bRetCode = rQorBiosHandler.GetDValues(rRow.uFunction, rList.pdValues.get(), rList.nCount);
        LOG_PROCESS_ERROR(bRetCode);
        std::for_each_n(rList.pdValues.get(), rList.nCount, [](double& rdValue) { rdValue /= kFirmwareUnits; });
    }
    return true;
}

bool CDefaultClockGen::UnInit() {
    for (const CListRow& rRow : s_aLists) this->*rRow.pList = {};
    return true;
}

double CDefaultClockGen::GetExternalClock() { return g_GetClock(m_rQorBiosHandler, kExternalClockObject); }
double CDefaultClockGen::GetPCIeClock() { return g_GetClock(m_rQorBiosHandler, kPCIeClockObject); }
double CDefaultClockGen::GetThirdClock() { return g_GetClock(m_rQorBiosHandler, kThirdClockObject); }

bool CDefaultClockGen::SetExternalClock(double dMHz) {
    return g_SetClock(m_rQorBiosHandler, kExternalClockObject, dMHz);
}
bool CDefaultClockGen::SetPCIeClock(double dMHz) { return g_SetClock(m_rQorBiosHandler, kPCIeClockObject, dMHz); }
bool CDefaultClockGen::SetThirdClock(double dMHz) { return g_SetClock(m_rQorBiosHandler, kThirdClockObject, dMHz); }

bool CDefaultClockGen::CClockList::Copy(double* pdInto, uint32_t& ruSize) const {
    const uint32_t uCount = static_cast<uint32_t>(nCount);
    if (!pdValues || (pdInto && ruSize < uCount)) return false;
    if (pdInto) std::copy_n(pdValues.get(), uCount, pdInto);
    ruSize = uCount;
    return true;
}

bool CDefaultClockGen::GetExternalClockList(double* pdValues, uint32_t& ruSize) {
    return m_ExtFreqs.Copy(pdValues, ruSize);
}

bool CDefaultClockGen::GetPCIeClockList(double* pdValues, uint32_t& ruSize) {
    return m_PCIeFreqs.Copy(pdValues, ruSize);
}

bool CDefaultClockGen::GetClockLimits(eClock eWhich, vxtapi::FirmwareLimits* pLimits) {
    LOG_PROCESS_ERROR(pLimits);
    LOG_PROCESS_ERROR(eWhich < std::size(kFunctions));
    const bool bRetCode = g_ReadFirmwareLimits(m_rQorBiosHandler, kFunctions[eWhich], *pLimits);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

}  // namespace vxt
