#include "firmware/bios_command.h"

#include <cstring>

#include "api/log/log_checks.h"
#include "firmware/wmi_values.h"
#include "registers/no_throw.h"

namespace vxt {

using platform::CWmiArray;
using platform::WmiValue;

bool CQORBIOS::Init() {
    m_uVersion = 0;
    m_CommandList.clear();
    WmiValue varOut;
    bool bRetCode = m_rWmi.CallMethod(kFirmwareClass, L"QueryVersion", nullptr, nullptr, L"Version", &varOut);
    LOG_PROCESS_ERROR(bRetCode, "m_uVersion == 0");  // Kept: the text tells the state, not the check
    const auto* const pnVersion = std::get_if<int32_t>(&varOut);
    LOG_PROCESS_ERROR(pnVersion, "varOut.vt == VT_I4");
    m_uVersion = static_cast<uint32_t>(*pnVersion);

    varOut = {};
    bRetCode = m_rWmi.CallMethod(kFirmwareClass, L"QueryCommandList", nullptr, nullptr, L"CommandList", &varOut);
    LOG_PROCESS_ERROR(bRetCode);
    LOG_PROCESS_ERROR(!g_IsEmpty(varOut), "varOut.vt != VT_EMPTY");
    WmiValue varCommandCount, varCommandList;
    bRetCode = m_rWmi.GetPropertyValue(g_ObjectIn(varOut), L"CommandCount", &varCommandCount);
    LOG_PROCESS_ERROR(bRetCode);
    const auto* const pnCount = std::get_if<int32_t>(&varCommandCount);
    LOG_PROCESS_ERROR(pnCount, "varCommandCount.vt == VT_I4");
    bRetCode = m_rWmi.GetPropertyValue(g_ObjectIn(varOut), L"List", &varCommandList);
    LOG_PROCESS_ERROR(bRetCode);
    const auto* const pList = g_ArrayIn<int32_t>(varCommandList);
    LOG_PROCESS_ERROR(pList, "varCommandList.parray");
    const int32_t nCount = *pnCount;
    LOG_PROCESS_ERROR(nCount >= 0 && static_cast<size_t>(nCount) <= pList->Elements.size());
    bRetCode = g_NoThrow([&] { m_CommandList.insert(pList->Elements.begin(), pList->Elements.begin() + nCount); });
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

uint32_t CQORBIOS::RunCommand(const void* pInData, uint32_t InDataSize, void* pOutData, uint32_t OutDataSize) {
    const auto Run = [&]() -> bool {
        LOG_PROCESS_ERROR(pInData);
        LOG_PROCESS_ERROR(pOutData);
        LOG_PROCESS_ERROR(InDataSize <= sizeof(QOR_BIOS_COMMAND));
        LOG_PROCESS_ERROR(OutDataSize <= sizeof(QOR_BIOS_RESULT));
        CWmiArray<uint8_t> Inbuf;
        const bool psaInbuf = platform::CreateWmiArray(sizeof(QOR_BIOS_COMMAND), Inbuf);
        LOG_PROCESS_ERROR(psaInbuf);
        std::memcpy(Inbuf.Elements.data(), pInData, InDataSize);
        const WmiValue varIn = std::move(Inbuf);
        WmiValue varOut, varOutbuf;
        bool bRetCode = m_rWmi.CallMethod(kFirmwareClass, L"RunCMD", L"Inbuf", &varIn, L"Outbuf", &varOut);
        LOG_PROCESS_ERROR(bRetCode);
        LOG_PROCESS_ERROR(!g_IsEmpty(varOut), "varOut.vt != VT_EMPTY");
        const platform::CWmiObject& pObject = g_ObjectIn(varOut);
        LOG_PROCESS_ERROR(pObject);
        bRetCode = m_rWmi.GetPropertyValue(pObject, L"Result", &varOutbuf);
        LOG_PROCESS_ERROR(bRetCode);
        const auto* const pResult = g_ArrayIn<uint8_t>(varOutbuf);
        LOG_PROCESS_ERROR(pResult, "varOutbuf.parray");
        LOG_PROCESS_ERROR(OutDataSize <= pResult->Elements.size());
        std::memcpy(pOutData, pResult->Elements.data(), OutDataSize);
        return true;
    };
    (void)Run();
    uint32_t uRetCode = pOutData ? 0 : kBriNotRun;
    if (pOutData) std::memcpy(&uRetCode, pOutData, std::min<size_t>(OutDataSize, sizeof(uRetCode)));
    return uRetCode;
}

CQORBIOS& g_GetQORBIOS() {
    static CQORBIOS s_Bios(g_GetFirmwareWmi());
    return s_Bios;
}

}  // namespace vxt
