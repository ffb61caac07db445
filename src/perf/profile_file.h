// A profile as hosts see it.
#pragma once

#include <vxtapi/profile_settings.h>

#include <vector>

#include "perf/config_parser.h"

namespace vxt {

class CProfileFile final : public vxtapi::CProfile {
public:
    explicit CProfileFile(const wchar_t* pszPath);

    /// There is a path and a document, if only an empty one, or a reason why not: the object can be used.
    bool IsUsable() const { return m_Config.Path()[0] != 0 && (m_Config.Document() || !m_Config.Problem().empty()); }

    void Release() override { delete this; }
    const wchar_t* GetProblem() override { return m_Config.Problem().c_str(); }
    const wchar_t* GetPath() override { return m_Config.Path(); }
    bool FileExists() override { return m_Config.FileExists(); }
    uint32_t GetEntryCount() override;
    bool GetEntry(uint32_t uIndex, vxtapi::ProfileEntry* pEntry) override;
    bool GetValue(const wchar_t* pszSection, const wchar_t* pszElement, const wchar_t* pszKey,
                  double* pdValue) override;
    bool SetValue(const wchar_t* pszSection, const wchar_t* pszElement, const wchar_t* pszKey, double dValue) override;
    bool Clear() override;
    bool Save() override { return m_Config.Save(); }

private:
    struct CEntry {
        std::wstring sSection, sElement, sKey, sText;
    };
    int32_t _List();

    CConfigParser m_Config;
    std::vector<CEntry> m_Entries;  ///< of the document, once somebody asked for them
    bool m_bIsListed = false;
};

}  // namespace vxt
