#include "common/document.h"

#include <algorithm>

#include "common/csv_table.h"

namespace vxttools {
namespace {

constexpr int kSchemaVersion = 1;

/// What every answer has, and the findings: they are remarks.
constexpr std::string_view kNotInCsv[] = {"schema_version", "tool", "tool_version", "command", "findings"};

}  // namespace

CDocument::CDocument(const std::string& sTool, const std::string& sCommand)
    : m_Data{
          {"schema_version", kSchemaVersion}, {"tool", sTool}, {"tool_version", VXT_VERSION}, {"command", sCommand}} {}

std::string CDocument::Text(bool bColor, size_t uWidth, std::vector<std::string>* pLeftOut) const {
    std::vector<std::string> LeftOut;
    std::string sText = m_sText;
    for (const CTextTable& rTable : m_Tables) g_AppendTable(rTable, bColor, uWidth, sText, LeftOut);
    if (pLeftOut) *pLeftOut = LeftOut;
    return sText;
}

std::string CDocument::Json() const { return m_Data.Dump(m_nIndent) + "\n"; }

std::string CDocument::Csv() const {
    CCsvTable Table;
    CJson Others;
    for (const auto& [sKey, rValue] : m_Data.Members()) {
        if (!std::ranges::count(m_CsvKeys, sKey)) {
            if (!std::ranges::count(kNotInCsv, sKey)) Others[sKey] = rValue;
        } else if (rValue.IsArray()) {
            for (const CJson& rRow : rValue.Items()) Table.Add(rRow);
        } else {
            Table.Add(rValue);
        }
    }
    if (!Others.IsNull()) Table.AddToAll(Others);
    return Table.Text();
}

}  // namespace vxttools
