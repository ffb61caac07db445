#include "firmware/bios_handler.h"

#include <cmath>

#include "api/log/log_checks.h"
#include "firmware/wmi_values.h"
#include "hw/processor_family.h"
#include "registers/no_throw.h"

namespace vxt {

using platform::CWmiArray;
using platform::CWmiObject;
using platform::WmiValue;

namespace {

constexpr uint32_t kRequestWords = 9;
constexpr int32_t kMostObjects = 4096;  ///< far more than a board has to tune; a count beyond it is a broken answer

WmiValue g_Integer(uint32_t uValue) { return static_cast<int32_t>(uValue); }

}  // namespace

bool CQORBIOSHandler::Init() {
    m_bInitialized = false;
    bool bRetCode = BiosRequest(g_IdentifyProcessor());
    LOG_PROCESS_ERROR(bRetCode);
    WmiValue varOut;
    bRetCode = CallMethod(kFirmwareClass, L"Init", nullptr, nullptr, L"status", &varOut);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(!g_IsEmpty(varOut), "varOut.vt != VT_EMPTY");
    m_bInitialized = true;
    return true;
}

bool CQORBIOSHandler::GetObjectID(CCapabilityPack& pack) {
    WmiValue varOut;
    bool bRetCode = CallMethod(kFirmwareClass, L"GetObjectID", nullptr, nullptr, L"pack", &varOut);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(!g_IsEmpty(varOut), "varOut.vt != VT_EMPTY");
    int32_t nLength = 0;
    bRetCode = ReadInteger(varOut, L"length", nLength);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(nLength >= 0 && nLength <= kMostObjects);
    std::vector<CFunctionRecord> Records;
    bRetCode = g_NoThrow([&] { Records.resize(static_cast<size_t>(nLength)); });
    LOG_PROCESS_ERROR(bRetCode);

    WmiValue varOutID, varOutProp, varOutDesc;
    if (GetPropertyValue(g_ObjectIn(varOut), L"ID", &varOutID)) {
        bRetCode = GetPropertyValue(g_ObjectIn(varOut), L"property", &varOutProp) &&
                   GetPropertyValue(g_ObjectIn(varOut), L"IDstring", &varOutDesc);
        LOG_PROCESS_ERROR(bRetCode);
        const auto* const pIDs = g_ArrayIn<int32_t>(varOutID);
        const auto* const pProperties = g_ArrayIn<int32_t>(varOutProp);
        const auto* const pNames = g_ArrayIn<std::wstring>(varOutDesc);
        LOG_PROCESS_ERROR(pIDs, "varOutID.parray");
        LOG_PROCESS_ERROR(pProperties, "varOutProp.parray");
        LOG_PROCESS_ERROR(pNames, "varOutDesc.parray");
        const size_t uShortest =
            std::min({pIDs->Elements.size(), pProperties->Elements.size(), pNames->Elements.size()});
        LOG_PROCESS_ERROR(Records.size() <= uShortest);
        for (size_t i = 0; i < Records.size(); ++i) {
            Records[i].uID = static_cast<uint32_t>(pIDs->Elements[i]);
            Records[i].uProperty = static_cast<uint32_t>(pProperties->Elements[i]);
            g_CopyText<wchar_t>(pNames->Elements[i], Records[i].szID);
        }
    } else {
        for (CFunctionRecord& rRecord : Records) rRecord.uProperty = 1;
    }
    pack.IDCount = nLength;
    pack.Records = std::move(Records);
    return true;
}

double CQORBIOSHandler::GetValue(uint32_t uID) {
    const WmiValue varIn = g_Integer(uID);
    WmiValue varOut;
    bool bRetCode = CallMethod(kFirmwareClass, L"GetValue", L"id", &varIn, L"pack", &varOut);
    LOG_PROCESS_ERROR(bRetCode);
    int32_t nStatus = 0, nValue = 0;
    bRetCode = ReadInteger(varOut, L"status", nStatus);
    LOG_PROCESS_ERROR(bRetCode);
    if (nStatus != 0) return 0.0;
    bRetCode = ReadInteger(varOut, L"value", nValue);
    LOG_PROCESS_ERROR(bRetCode);
    return nValue;
}

bool CQORBIOSHandler::SetValue(uint32_t uID, double dValue) {
    LOG_PROCESS_ERROR(m_pIWbemServices);
    LOG_PROCESS_ERROR(std::trunc(dValue) >= INT32_MIN && std::trunc(dValue) <= INT32_MAX);  // fails for no number, too
    CWmiObject pPackageClass = GetObject(L"SetValuePackage");
    LOG_PROCESS_ERROR(pPackageClass);
    bool bRetCode = platform::PutWmiProperty(pPackageClass, L"id", g_Integer(uID)) >= 0 &&
                    platform::PutWmiProperty(pPackageClass, L"value", static_cast<int32_t>(dValue)) >= 0;
    LOG_PROCESS_ERROR(bRetCode);
    const WmiValue varIn = std::move(pPackageClass);
    WmiValue varOut;
    bRetCode = CallMethod(kFirmwareClass, L"SetValue", L"pack", &varIn, L"status", &varOut);
    LOG_PROCESS_ERROR(bRetCode);
    const auto* const pnStatus = std::get_if<int32_t>(&varOut);
    LOG_PROCESS_ERROR(pnStatus);
    return *pnStatus == 0;
}

bool CQORBIOSHandler::GetInfo(uint32_t uID, std::vector<uint32_t>& rInfo) {
    const WmiValue varIn = g_Integer(uID);
    WmiValue varOut, varX;
    bool bRetCode = CallMethod(kFirmwareClass, L"GetInfo", L"id", &varIn, L"pack", &varOut);
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = GetPropertyValue(g_ObjectIn(varOut), L"x", &varX);
    LOG_PROCESS_ERROR(bRetCode);
    const auto* const psa = g_ArrayIn<int32_t>(varX);
    LOG_PROCESS_ERROR(psa);
    LOG_PROCESS_ERROR(psa->bHasData, "psa->pvData");
    bRetCode = g_NoThrow([&] { rInfo.assign(psa->Elements.begin(), psa->Elements.end()); });
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CQORBIOSHandler::GetDValues(uint32_t uID, double* pdValues, int32_t& count) {
    const WmiValue varIn = g_Integer(uID);
    WmiValue varOut, varBuffer;
    bool bRetCode = CallMethod(kFirmwareClass, L"GetDValues", L"id", &varIn, L"pack", &varOut);
    LOG_PROCESS_ERROR(bRetCode);
    int32_t iCount = 0;
    bRetCode = ReadInteger(varOut, L"length", iCount);
    LOG_PROCESS_ERROR(bRetCode);
    if (pdValues) {
        LOG_PROCESS_ERROR(count >= iCount);
        bRetCode = GetPropertyValue(g_ObjectIn(varOut), L"DValueBuffer", &varBuffer);
        LOG_PROCESS_ERROR(bRetCode);
        const auto* const psa = g_ArrayIn<int32_t>(varBuffer);
        LOG_PROCESS_ERROR(psa);
        LOG_PROCESS_ERROR(iCount >= 0 && static_cast<size_t>(iCount) <= psa->Elements.size());
        std::copy_n(psa->Elements.begin(), iCount, pdValues);
    }
    count = iCount;
    return true;
}

bool CQORBIOSHandler::BiosRequest(uint32_t uRequest) {
    CWmiObject pPackageClass = GetObject(L"BiosRequestPackage");
    LOG_PROCESS_ERROR(pPackageClass);
    CWmiArray<int32_t> Words;
    const bool psa = platform::CreateWmiArray(kRequestWords, Words);
    LOG_PROCESS_ERROR(psa);
    Words.Elements[0] = static_cast<int32_t>(uRequest);
    bool bRetCode = platform::PutWmiProperty(pPackageClass, L"x", std::move(Words)) >= 0;
    LOG_PROCESS_ERROR(bRetCode);
    const WmiValue varIn = std::move(pPackageClass);
    bRetCode = CallMethod(kFirmwareClass, L"BiosRequest", L"pack", &varIn, nullptr, nullptr);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CQORBIOSHandler::ReadInteger(const WmiValue& rPack, const wchar_t* pszName, int32_t& rnValue) {
    WmiValue Value;
    if (!GetPropertyValue(g_ObjectIn(rPack), pszName, &Value)) return false;
    const auto* const pnValue = std::get_if<int32_t>(&Value);
    if (pnValue) rnValue = *pnValue;
    return pnValue;
}

CQORBIOSHandler& g_GetQORBIOSHandler() {
    static CQORBIOSHandler s_Handler;
    return s_Handler;
}

}  // namespace vxt
