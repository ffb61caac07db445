// Profiles in answers: what commands show of settings, entries and where they stand.
#pragma once

#include "machine_profile.h"

namespace vxtctl {

/// "section", "element" and "key", as element names have them.
void g_AddNames(vxttools::CJson& rRow, const CProfileNames& rNames);

/// Settings that profiles hold, as rows of an answer and of its table.
class CSettingRows {
public:
    void Add(const CProfileSetting& rSetting);
    /// Not in the profile, and why.
    void LeaveOut(const CUnheld& rUnheld) { m_LeftOut.push_back(rUnheld); }
    size_t Count() const { return m_Rows.Items().size(); }
    /// Hands over the arrays "settings" and "left_out" and their tables. Once.
    void Report(vxttools::CDocument& rDocument, const std::string& sTitle);

private:
    vxttools::CJson m_Rows = vxttools::CJson::Array();
    vxttools::CTextTable m_Table{"", {"Whose", "Setting", ">Value", "Unit", "~Key"}};
    std::vector<CUnheld> m_LeftOut;
};

}  // namespace vxtctl
