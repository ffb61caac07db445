#include "devices/peripherals/board.h"

#include "devices/peripherals/wmi_text.h"

namespace vxt {

const CDefaultBoard::CTexts& CDefaultBoard::_Read() {
    if (m_bRead) return m_Texts;
    const platform::CWmiObject pInstance = m_rWmi.GetInstance(L"Win32_BaseBoard", 0);
    if (!pInstance) return m_Texts;
    g_ReadWmiText(pInstance, L"Manufacturer", m_Texts.Manufacturer);
    g_ReadWmiText(pInstance, L"Product", m_Texts.Product);
    g_ReadWmiText(pInstance, L"Version", m_Texts.Version);
    g_ReadWmiText(pInstance, L"SerialNumber", m_Texts.SerialNumber);
    m_bRead = true;
    return m_Texts;
}

}  // namespace vxt
