// A self-contained HTML page: no script, nothing loaded from elsewhere, for screens of any width, print and screen readers.
#pragma once

#include <string>
#include <vector>

#include "common/text_table.h"

namespace vxttools {

/// Markup that scrolls sideways where it is too wide, and is reached by the keyboard then.
std::string g_Scrollable(const std::string& sLabel, const std::string& sMarkup, const char* pszClass = "scroll");

class CHtmlPage {
public:
    /// `sGenerator` stands near the beginning of the file; `sMoreStyle`: rules beside the page's own.
    CHtmlPage(const std::string& sTitle, const std::string& sGenerator, const std::string& sMoreStyle);

    /// A heading that the list of contents leads to; what is added from now on stands below it.
    void Section(const std::string& sId, const std::string& sTitle);
    void Paragraph(const std::string& sText, const char* pszClass = "");
    void List(const std::vector<std::string>& rItems, const char* pszClass = "");
    void Table(const CTextTable& rTable);
    /// Markup as it is.
    void Raw(const std::string& sMarkup) { m_sBody += sMarkup; }

    /// The sections of another page, behind those of this one.
    void Append(const CHtmlPage& rOther);

    std::string Text() const;

private:
    std::string m_sTitle, m_sHead, m_sIntroduction, m_sContents, m_sBody;
    bool m_bInSection = false;
};

}  // namespace vxttools
