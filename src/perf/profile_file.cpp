#include "perf/profile_file.h"

#include "api/log/log_checks.h"
#include "perf/number_text.h"
#include "registers/no_throw.h"

namespace vxt {

using platform::CXmlNode;

namespace {

/// Calls `Work` with each element below a node and its name.
void g_ForEachElement(const CXmlNode& rParent, auto Work) {
    std::wstring sName;
    for (CXmlNode Child = platform::FirstXmlChild(rParent); Child; Child = platform::NextXmlNode(Child))
        if (platform::IsXmlElement(Child) && platform::GetXmlName(Child, sName) >= 0) Work(Child, sName);
}

}  // namespace

CProfileFile::CProfileFile(const wchar_t* pszPath) : m_Config(pszPath, false) {}

void CProfileFile::_List() {
    m_Entries.clear();
    const CXmlNode Root = platform::RootXmlElement(m_Config.Document());
    g_ForEachElement(Root, [&](const CXmlNode& rSection, const std::wstring& rsSection) {
        g_ForEachElement(rSection, [&](const CXmlNode& rElement, const std::wstring& rsElement) {
            g_ForEachElement(rElement, [&](const CXmlNode& rKey, const std::wstring& rsKey) {
                std::wstring sText;
                if (platform::GetXmlText(rKey, sText) >= 0)
                    m_Entries.push_back({rsSection, rsElement, rsKey, std::move(sText)});
            });
        });
    });
    m_bIsListed = true;
}

uint32_t CProfileFile::GetEntryCount() {
    const bool bRetCode = m_bIsListed || g_NoThrow([this] { _List(); });
    LOG_PROCESS_ERROR(bRetCode);
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
