#include "common/csv_table.h"

#include <algorithm>
#include <span>

#include "common/text.h"

namespace vxttools {
namespace {

/// A spreadsheet runs a text that begins like a formula, and such texts come from devices. An apostrophe in front makes
/// it show them instead.
bool g_LooksLikeFormula(const std::string& sText) {
    return !sText.empty() && std::string_view("=+-@").find(sText.front()) != std::string_view::npos &&
           !g_ParseNumber(sText);
}

std::string g_Scalar(const CJson& rValue) {
    if (rValue.IsNull()) return "";
    return rValue.IsText() ? rValue.Text() : rValue.Dump();
}

std::string g_List(const std::vector<CJson>& rItems) {
    std::string sList;
    for (const CJson& rItem : rItems) sList += (sList.empty() ? "" : rItem.IsText() ? "; " : " ") + g_Scalar(rItem);
    return sList;
}

std::string g_Quoted(const std::string& sCell) {
    const bool bFormula = g_LooksLikeFormula(sCell);
    if (!bFormula && sCell.find_first_of(",\"\r\n") == std::string::npos) return sCell;
    std::string sQuoted = bFormula ? "\"'" : "\"";
    for (const char c : sCell) sQuoted += c == '"' ? "\"\"" : std::string(1, c);
    return sQuoted + "\"";
}

std::string g_Line(const std::vector<std::string>& rCells) {
    std::string sLine;
    for (size_t i = 0; i < rCells.size(); ++i) sLine += (i ? "," : "") + g_Quoted(rCells[i]);
    return sLine + "\n";
}

/// What `rValue` has to tell in rows: itself, or its items; nothing for a scalar or a list of them.
std::span<const CJson> g_Objects(const CJson& rValue) {
    const bool bArray = rValue.IsArray() && !rValue.Items().empty();
    const std::span<const CJson> Objects = bArray ? std::span(rValue.Items()) : std::span(&rValue, 1);
    return Objects.front().Has("id") ? Objects : std::span<const CJson>();
}

}  // namespace

void CCsvTable::_Fill(CRow& rRow, const CJson& rObject, const std::string& sPrefix, std::vector<const CJson*>& rBelow) {
    for (const auto& [sKey, rValue] : rObject.Members()) {
        if (const auto Objects = g_Objects(rValue); !Objects.empty()) {
            for (const CJson& rBelowThis : Objects) rBelow.push_back(&rBelowThis);
        } else if (rValue.IsObject()) {
            _Fill(rRow, rValue, sPrefix + sKey + "_", rBelow);
        } else {
            const auto it = std::ranges::find(m_Columns, sPrefix + sKey);
            rRow.push_back({static_cast<size_t>(it - m_Columns.begin()),
                            rValue.IsArray() ? g_List(rValue.Items()) : g_Scalar(rValue)});
            if (it == m_Columns.end()) m_Columns.push_back(sPrefix + sKey);
        }
    }
}

void CCsvTable::Add(const CJson& rObject) {
    std::vector<const CJson*> Below;
    CRow Row;
    _Fill(Row, rObject, "", Below);
    m_Rows.push_back(std::move(Row));
    for (const CJson* const pBelow : Below) Add(*pBelow);
}

void CCsvTable::AddToAll(const CJson& rObject) {
    std::vector<const CJson*> Below;
    CRow Cells;
    _Fill(Cells, rObject, "", Below);
    for (const CJson* const pBelow : Below) Add(*pBelow);
    if (m_Rows.empty() && !Cells.empty()) m_Rows.emplace_back();
    for (CRow& rRow : m_Rows) rRow.insert(rRow.end(), Cells.begin(), Cells.end());
}

std::string CCsvTable::Text() const {
    if (m_Rows.empty()) return "";
    std::string sText = g_Line(m_Columns);
    for (const CRow& rRow : m_Rows) {
        std::vector<std::string> Cells(m_Columns.size());
        for (const auto& [uColumn, sCell] : rRow) Cells[uColumn] = sCell;
        sText += g_Line(Cells);
    }
    return sText;
}

}  // namespace vxttools
