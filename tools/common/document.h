// What a command answers: one document, rendered as text, JSON or CSV.
#pragma once

#include <string>
#include <vector>

#include "common/quantity.h"
#include "common/text.h"
#include "common/text_table.h"

namespace vxttools {

class CDocument {
public:
    /// Begins the JSON object with what every answer has in common.
    CDocument(const std::string& sTool, const std::string& sCommand);

    CJson& operator[](const char* pszKey) { return m_Data[pszKey]; }
    const CJson& operator[](const char* pszKey) const { return m_Data[pszKey]; }

    const CJson& Data() const { return m_Data; }
    const std::vector<CTextTable>& Tables() const { return m_Tables; }

    CTextTable& AddTable(CTextTable Table) { return m_Tables.emplace_back(std::move(Table)); }
    /// Text that is printed as it is, in front of the tables.
    void SetText(std::string sText) { m_sText = std::move(sText); }
    /// The members whose objects are the rows of --csv; what else there is stands at the end of each of them.
    void SetCsv(auto... pszKeys) { m_CsvKeys = {std::string(pszKeys)...}; }
    void AddCsv(const char* pszKey) { m_CsvKeys.emplace_back(pszKey); }  ///< behind those

    /// Its JSON is a single line: one of several documents, a line each.
    void SetOneLine() { m_nIndent = -1; }

    /// Lines of at most `uWidth` columns, but for the text that is printed as it is; `pLeftOut` takes the headings of
    /// columns that found no room.
    std::string Text(bool bColor, size_t uWidth = kUnlimited, std::vector<std::string>* pLeftOut = nullptr) const;
    std::string Json() const;
    std::string Csv() const;

private:
    CJson m_Data;
    int m_nIndent = 2;
    std::vector<CTextTable> m_Tables;
    std::string m_sText;
    std::vector<std::string> m_CsvKeys;
};

}  // namespace vxttools
