#include "perf/profile_file.h"

#include "api/log/log_checks.h"
#include "perf/number_text.h"
#include "perf/xml_elements.h"
#include "registers/no_throw.h"

namespace vxt {

using platform::CXmlNode;

CProfileFile::CProfileFile(const wchar_t* pszPath) : m_Config(pszPath, false) {}

int32_t CProfileFile::_List() {
    m_Entries.clear();
    CXmlNode Root;
    int32_t hRetCode = platform::RootXmlElement(m_Config.Document(), Root);
    // A failure on one level ends all of them.
    const auto ForEach = [&](const CXmlNode& rParent, auto Work) {
        const int32_t hWalk = g_ForEachElement(rParent, [&](const CXmlNode& rChild, const std::wstring& rsName) {
            Work(rChild, rsName);
            return hRetCode >= 0;
        });
        if (hRetCode >= 0) hRetCode = hWalk;
    };
    if (hRetCode < 0) return hRetCode;
    ForEach(Root, [&](const CXmlNode& rSection, const std::wstring& rsSection) {
        ForEach(rSection, [&](const CXmlNode& rElement, const std::wstring& rsElement) {
            ForEach(rElement, [&](const CXmlNode& rKey, const std::wstring& rsKey) {
                std::wstring sText;
                hRetCode = platform::GetXmlText(rKey, sText);
                if (hRetCode >= 0) m_Entries.push_back({rsSection, rsElement, rsKey, std::move(sText)});
            });
        });
    });
    return hRetCode;
}

uint32_t CProfileFile::GetEntryCount() {
    if (!m_Config.Document()) return 0;
    if (!m_bIsListed) {
        int32_t hRetCode = 0;
        const bool bHasMemory = g_NoThrow([&] { hRetCode = _List(); });
        m_bIsListed = bHasMemory && hRetCode >= 0;
    }
    LOG_PROCESS_ERROR(m_bIsListed);
    return static_cast<uint32_t>(m_Entries.size());
}

bool CProfileFile::GetEntry(uint32_t uIndex, vxtapi::ProfileEntry* pEntry) {
    LOG_PROCESS_ERROR(pEntry);
    if (uIndex >= GetEntryCount()) return false;
    const CEntry& rEntry = m_Entries[uIndex];
    const std::optional<double> oNumber = g_ParseNumber(rEntry.sText);
    *pEntry = {rEntry.sSection.c_str(), rEntry.sElement.c_str(), rEntry.sKey.c_str(),
               rEntry.sText.c_str(),    oNumber.value_or(0.0),   oNumber.has_value()};
    return true;
}

bool CProfileFile::GetValue(const wchar_t* pszSection, const wchar_t* pszElement, const wchar_t* pszKey,
                            double* pdValue) {
    LOG_PROCESS_ERROR(pszSection && pszElement && pszKey && pdValue);
    std::wstring sText;
    if (!m_Config.ReadValue(pszSection, pszElement, pszKey, sText)) return false;
    const std::optional<double> oNumber = g_ParseNumber(sText);
    if (!oNumber) return false;
    *pdValue = *oNumber;
    return true;
}

bool CProfileFile::SetValue(const wchar_t* pszSection, const wchar_t* pszElement, const wchar_t* pszKey,
                            double dValue) {
    LOG_PROCESS_ERROR(pszSection && pszElement && pszKey);
    m_bIsListed = false;
    const bool bRetCode = m_Config.WriteValue(pszSection, pszElement, pszKey, dValue, false);
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CProfileFile::Clear() {
    m_bIsListed = false;
    return m_Config.Clear();
}

}  // namespace vxt
