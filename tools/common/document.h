// What a command answers: one document, rendered as text, JSON or CSV.
#pragma once

#include <string>
#include <vector>

#include "common/quantity.h"

namespace vxttools {

/// A table for people. Rows may be shorter than the heading.
struct CTextTable {
    std::string sTitle;
    std::vector<std::string> Columns;  ///< headings; all empty: no heading line. ">" in front aligns to the right
    std::vector<std::vector<std::string>> Rows = {};
};

class CDocument {
public:
    /// Begins the JSON object with what every answer has in common.
    CDocument(const std::string& sTool, const std::string& sCommand);

    CJson& operator[](const char* pszKey) { return m_Data[pszKey]; }
    const CJson& operator[](const char* pszKey) const { return m_Data[pszKey]; }

    const CJson& Data() const { return m_Data; }

    CTextTable& AddTable(CTextTable Table) { return m_Tables.emplace_back(std::move(Table)); }
    /// Text that is printed as it is, in front of the tables.
    void SetText(std::string sText) { m_sText = std::move(sText); }
    /// The array that --csv prints; without one it is every quantity in the document.
    void SetCsv(const char* pszKey) { m_oCsvKey = pszKey; }

    std::string Text(bool bColor) const;
    std::string Json() const;
    std::string Csv() const;

private:
    CJson m_Data;
    std::vector<CTextTable> m_Tables;
    std::string m_sText;
    std::optional<std::string> m_oCsvKey;
};

}  // namespace vxttools
