#include "profile_report.h"

#include <algorithm>

#include "common/text.h"

namespace vxtctl {

using vxttools::CJson;

void g_AddNames(CJson& rRow, const CProfileNames& rNames) {
    const auto Add = [&](const char* pszKey, std::wstring sName) {
        std::ranges::transform(sName, sName.begin(), vxtapi::ProfileCharacter);
        rRow[pszKey] = vxttools::g_Utf8(sName.c_str());
    };
    Add("section", rNames.sSection);
    Add("element", rNames.sElement);
    Add("key", rNames.sKey);
}

void CSettingRows::Add(const CProfileSetting& rSetting) {
    vxttools::CFindings Told;  // by who adds it
    CJson Row = g_SettingsToJson({rSetting.Setting}, rSetting.sPath, Told).Items().front();
    g_AddNames(Row, rSetting);
    const CSetting& rValue = rSetting.Setting;
    m_Table.Rows.push_back({rSetting.sOwner, rValue.sLabel, rValue.oValue ? rValue.Text(*rValue.oValue) : "-",
                            rValue.sUnit, Row["key"].Text()});
    m_Rows.Push(std::move(Row));
}

void CSettingRows::Report(vxttools::CDocument& rDocument, const std::string& sTitle) {
    rDocument["settings"] = std::move(m_Rows);
    rDocument.SetCsv("settings");
    m_Table.sTitle = sTitle;
    rDocument.AddTable(std::move(m_Table));
    CJson& rLeftOut = rDocument["left_out"] = CJson::Array();
    vxttools::CTextTable Table{"Not in a profile", {"Setting", "Reason"}};
    for (const auto& [sId, sLabel, sReason] : m_LeftOut) {
        rLeftOut.Push({{"id", sId}, {"label", sLabel}, {"reason", sReason}});
        Table.Rows.push_back({sId.substr(1), sReason});
    }
    if (!m_LeftOut.empty()) rDocument.AddTable(std::move(Table));
}

}  // namespace vxtctl
