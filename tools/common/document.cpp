#include "common/document.h"

#include <algorithm>

#include "common/text.h"

namespace vxttools {
namespace {

constexpr int kSchemaVersion = 1;

std::string g_Padded(const std::string& sCell, size_t uWidth, bool bRight) {
    const std::string sBlanks(uWidth - std::min(uWidth, g_Width(sCell)), ' ');
    return bRight ? sBlanks + sCell : sCell + sBlanks;
}

void g_AppendTable(const CTextTable& rTable, bool bColor, std::string& rsText) {
    const auto Styled = [&](const char* pszCode, const std::string& sText) {
        return bColor ? "\033[" + std::string(pszCode) + "m" + sText + "\033[0m" : sText;
    };
    std::vector<size_t> Widths(rTable.Columns.size());
    std::vector<std::string> Headings;
    std::vector<bool> Right;
    for (const std::string& rsColumn : rTable.Columns) {
        Right.push_back(rsColumn.starts_with('>'));
        Headings.push_back(rsColumn.substr(Right.back()));
        Widths[Headings.size() - 1] = g_Width(Headings.back());
    }
    for (const auto& rRow : rTable.Rows)
        for (size_t i = 0; i < rRow.size(); ++i) Widths.at(i) = std::max(Widths[i], g_Width(rRow[i]));

    const auto Line = [&](const std::vector<std::string>& rCells) {
        std::string sLine;
        for (size_t i = 0; i < rCells.size(); ++i) sLine += (i ? "  " : "") + g_Padded(rCells[i], Widths[i], Right[i]);
        return sLine.substr(0, sLine.find_last_not_of(' ') + 1);
    };
    if (!rsText.empty()) rsText += "\n";
    if (!rTable.sTitle.empty()) rsText += Styled("1", rTable.sTitle) + "\n";
    if (std::ranges::any_of(Headings, [](const std::string& s) { return !s.empty(); }))
        rsText += Styled("2", Line(Headings)) + "\n";
    for (const auto& rRow : rTable.Rows) rsText += Line(rRow) + "\n";
}

/// Every object that has the shape of a quantity, in document order.
void g_CollectQuantities(const CJson& rNode, CJson& rRows) {
    if (rNode.Has("value") && rNode.Has("status")) {
        rRows.Push(rNode);
    } else if (rNode.IsObject()) {
        for (const CJsonMember& rMember : rNode.Members()) g_CollectQuantities(rMember.Value, rRows);
    } else if (rNode.IsArray()) {
        for (const CJson& rItem : rNode.Items()) g_CollectQuantities(rItem, rRows);
    }
}

std::string g_CsvCell(const CJson& rValue) {
    if (rValue.IsNull()) return "";
    const std::string sText = rValue.IsText() ? rValue.Text() : rValue.Dump();
    if (sText.find_first_of(",\"\r\n") == std::string::npos) return sText;
    std::string sQuoted = "\"";
    for (const char c : sText) sQuoted += c == '"' ? "\"\"" : std::string(1, c);
    return sQuoted + "\"";
}

/// The scalars of one row, and their names; members of an object become "object_member", arrays are left to JSON.
void g_AppendCells(const CJson& rRow, const std::string& sPrefix, std::vector<std::string>& rNames,
                   std::vector<std::string>& rCells) {
    for (const auto& [sKey, rValue] : rRow.Members()) {
        if (rValue.IsObject()) {
            g_AppendCells(rValue, sPrefix + sKey + "_", rNames, rCells);
        } else if (!rValue.IsArray()) {
            rNames.push_back(sPrefix + sKey);
            rCells.push_back(g_CsvCell(rValue));
        }
    }
}

std::string g_CsvLine(const std::vector<std::string>& rCells) {
    std::string sLine;
    for (size_t i = 0; i < rCells.size(); ++i) sLine += (i ? "," : "") + rCells[i];
    return sLine + "\n";
}

}  // namespace

CDocument::CDocument(const std::string& sTool, const std::string& sCommand)
    : m_Data{
          {"schema_version", kSchemaVersion}, {"tool", sTool}, {"tool_version", VXT_VERSION}, {"command", sCommand}} {}

std::string CDocument::Text(bool bColor) const {
    std::string sText = m_sText;
    for (const CTextTable& rTable : m_Tables) g_AppendTable(rTable, bColor, sText);
    return sText;
}

std::string CDocument::Json() const { return m_Data.Dump(2) + "\n"; }

std::string CDocument::Csv() const {
    CJson Rows = CJson::Array();
    if (m_oCsvKey)
        Rows = m_Data[*m_oCsvKey];
    else
        g_CollectQuantities(m_Data, Rows);
    std::string sCsv;
    for (const CJson& rRow : Rows.Items()) {
        std::vector<std::string> Names, Cells;
        g_AppendCells(rRow, "", Names, Cells);
        if (sCsv.empty()) sCsv = g_CsvLine(Names);
        sCsv += g_CsvLine(Cells);
    }
    return sCsv;
}

}  // namespace vxttools
