#include "common/document.h"

#include <algorithm>

#include "common/text.h"

namespace vxttools {
namespace {

constexpr int kSchemaVersion = 1;

std::string _Padded(const std::string& sCell, size_t uWidth, bool bRight) {
    const std::string sBlanks(uWidth - std::min(uWidth, g_Width(sCell)), ' ');
    return bRight ? sBlanks + sCell : sCell + sBlanks;
}

void _AppendTable(const CTextTable& rTable, bool bColor, std::string& rsText) {
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
        for (size_t i = 0; i < rCells.size(); ++i) sLine += (i ? "  " : "") + _Padded(rCells[i], Widths[i], Right[i]);
        return sLine.substr(0, sLine.find_last_not_of(' ') + 1);
    };
    if (!rsText.empty()) rsText += "\n";
    if (!rTable.sTitle.empty()) rsText += Styled("1", rTable.sTitle) + "\n";
    if (std::ranges::any_of(Headings, [](const std::string& s) { return !s.empty(); }))
        rsText += Styled("2", Line(Headings)) + "\n";
    for (const auto& rRow : rTable.Rows) rsText += Line(rRow) + "\n";
}

/// Every object that has the shape of a quantity, in document order.
void _CollectQuantities(const CJson& rNode, CJson& rRows) {
    if (rNode.is_object() && rNode.contains("value") && rNode.contains("status")) return rRows.push_back(rNode);
    if (rNode.is_structured())
        for (const CJson& rChild : rNode) _CollectQuantities(rChild, rRows);
}

/// Scalars of one row by column name; members of an object become "object_member", arrays are left to JSON.
void _Flatten(const CJson& rRow, const std::string& sPrefix, CJson& rFlat) {
    for (const auto& [sKey, rValue] : rRow.items()) {
        if (rValue.is_object())
            _Flatten(rValue, sPrefix + sKey + "_", rFlat);
        else if (!rValue.is_array())
            rFlat[sPrefix + sKey] = rValue;
    }
}

std::string _CsvCell(const CJson& rValue) {
    if (rValue.is_null()) return "";
    std::string sText = rValue.is_string() ? rValue.get<std::string>() : rValue.dump();
    if (sText.find_first_of(",\"\r\n") == std::string::npos) return sText;
    std::string sQuoted = "\"";
    for (const char c : sText) sQuoted += c == '"' ? "\"\"" : std::string(1, c);
    return sQuoted + "\"";
}

}  // namespace

CDocument::CDocument(const std::string& sTool, const std::string& sCommand)
    : m_Data{
          {"schema_version", kSchemaVersion}, {"tool", sTool}, {"tool_version", VXT_VERSION}, {"command", sCommand}} {}

std::string CDocument::Text(bool bColor) const {
    std::string sText = m_sText;
    for (const CTextTable& rTable : m_Tables) _AppendTable(rTable, bColor, sText);
    return sText;
}

std::string CDocument::Json() const {
    return m_Data.dump(2, ' ', false, CJson::error_handler_t::replace) + "\n";  // file names need not be UTF-8
}

std::string CDocument::Csv() const {
    CJson Rows = CJson::array();
    if (m_sCsvKey.empty())
        _CollectQuantities(m_Data, Rows);
    else
        Rows = m_Data.at(m_sCsvKey);
    std::string sCsv;
    for (const CJson& rRow : Rows) {
        CJson Flat = CJson::object();
        _Flatten(rRow, "", Flat);
        std::string sHeading, sLine;
        for (const auto& [sKey, rValue] : Flat.items()) {
            sHeading += (sHeading.empty() ? "" : ",") + sKey;
            sLine += (sLine.empty() && &rValue == &Flat.front() ? "" : ",") + _CsvCell(rValue);
        }
        sCsv += (sCsv.empty() ? sHeading + "\n" : "") + sLine + "\n";
    }
    return sCsv;
}

}  // namespace vxttools
