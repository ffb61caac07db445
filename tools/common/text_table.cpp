#include "common/text_table.h"

#include <algorithm>
#include <utility>

#include "common/text.h"

namespace vxttools {
namespace {

constexpr size_t kGap = 2;           ///< blanks between two columns
constexpr size_t kReadable = 20;     ///< a column of text is not made narrower than this while others can be left out
constexpr const char* kBold = "1";   // of the title
constexpr const char* kFaint = "2";  // of the headings

size_t g_LongestWord(const std::string& sText) {
    size_t uLongest = 0;
    for (const std::string& rsWord : g_Wrap(sText, 1)) uLongest = std::max(uLongest, g_Width(rsWord));
    return uLongest;
}

/// A column of the table with the widths it can have.
struct CColumn {
    size_t uIndex;
    std::string sHeading = {};
    bool bRight = false;
    size_t uMarks = 0;                               ///< how readily it is left out; 0: never
    size_t uNatural = 0, uReadable = 0, uLeast = 0;  ///< the last: of its longest word
    size_t uWidth = 0;                               ///< the one it gets
    std::vector<size_t> Heights = {};                ///< of heading and cells at that width
    std::vector<size_t> Narrower = {};               ///< and at one less; empty: not counted yet

    CColumn(size_t uColumn, std::string sMarked) : uIndex(uColumn) {
        const size_t uBegin = std::min(sMarked.find_first_not_of("~>"), sMarked.size());
        uMarks = static_cast<size_t>(std::count(sMarked.begin(), sMarked.begin() + static_cast<long>(uBegin), '~'));
        bRight = sMarked.substr(0, uBegin).ends_with('>');
        sHeading = sMarked.substr(uBegin);
        uNatural = g_Width(sHeading);
        uLeast = g_LongestWord(sHeading);
    }
    void Measure(const std::string& sCell) {
        uNatural = std::max(uNatural, g_Width(sCell));
        uLeast = std::max(uLeast, bRight ? g_Width(sCell) : g_LongestWord(sCell));
    }
    std::vector<std::string> Wrapped(const std::string& sCell) const { return g_Wrap(sCell, uWidth); }
};

class CLayout {
public:
    CLayout(const CTextTable& rTable, size_t uWidth) : m_rTable(rTable), m_uWidth(uWidth) {
        for (const std::string& rsColumn : rTable.Columns) m_Columns.emplace_back(m_Columns.size(), rsColumn);
        for (const auto& rRow : rTable.Rows)
            for (size_t i = 0; i < rRow.size(); ++i) m_Columns.at(i).Measure(rRow[i]);
        for (CColumn& r : m_Columns) {
            r.uReadable = r.bRight ? r.uLeast : std::max(r.uLeast, std::min(r.uNatural, kReadable));
            r.uWidth = r.uNatural;
        }
    }

    /// Leaves columns out until the others are readable, and adds their headings to those in `rLeftOut`.
    void LeaveOut(std::vector<std::string>& rLeftOut) {
        std::vector<CColumn> Gone;
        while (!IsReadable()) {
            const auto itLast = std::ranges::max_element(m_Columns, [](const CColumn& a, const CColumn& b) {
                return std::pair(a.uMarks, a.uIndex) < std::pair(b.uMarks, b.uIndex);
            });
            if (itLast == m_Columns.end() || itLast->uMarks == 0) break;
            Gone.push_back(std::move(*itLast));
            m_Columns.erase(itLast);
        }
        std::ranges::sort(Gone, {}, &CColumn::uIndex);
        for (const CColumn& rColumn : Gone)
            if (!std::ranges::count(rLeftOut, rColumn.sHeading)) rLeftOut.push_back(rColumn.sHeading);
    }

    bool IsReadable() const { return _Needed(&CColumn::uReadable) <= m_uWidth; }

    /// Narrows columns until the table fits. False: it cannot.
    bool Narrow() {
        if (_Needed(&CColumn::uNatural) <= m_uWidth) return true;
        if (_Needed(&CColumn::uLeast) > m_uWidth) return false;
        const auto pFloor = IsReadable() ? &CColumn::uReadable : &CColumn::uLeast;
        for (CColumn& rColumn : m_Columns) rColumn.Heights = _Heights(rColumn, rColumn.uWidth);
        while (_Needed(&CColumn::uWidth) > m_uWidth) {
            // The one whose narrowing makes the table the least longer; of equal ones the widest.
            CColumn* pBest = nullptr;
            std::pair<size_t, size_t> Best;
            for (CColumn& rColumn : m_Columns) {
                if (rColumn.uWidth <= rColumn.*pFloor) continue;
                if (rColumn.Narrower.empty()) rColumn.Narrower = _Heights(rColumn, rColumn.uWidth - 1);
                rColumn.Heights.swap(rColumn.Narrower);
                const std::pair Candidate(_Height(), kUnlimited - rColumn.uWidth);
                rColumn.Heights.swap(rColumn.Narrower);
                if (!pBest || Candidate < Best) pBest = &rColumn, Best = Candidate;
            }
            --pBest->uWidth;
            pBest->Heights = std::exchange(pBest->Narrower, {});
        }
        return true;
    }

    const std::vector<CColumn>& Columns() const { return m_Columns; }

    std::vector<std::string> Heading() const {
        std::vector<std::string> Cells;
        for (const CColumn& rColumn : m_Columns) Cells.push_back(rColumn.sHeading);
        if (std::ranges::all_of(Cells, &std::string::empty)) return {};
        return _Lines(Cells, true);
    }
    std::vector<std::string> Row(const std::vector<std::string>& rRow) const {
        std::vector<std::string> Cells;
        for (const CColumn& rColumn : m_Columns) Cells.push_back(_Cell(rRow, rColumn));
        return _Lines(Cells, false);
    }

private:
    size_t _Needed(size_t CColumn::*pWidth) const {
        size_t uNeeded = 0;
        for (const CColumn& rColumn : m_Columns) uNeeded += kGap + rColumn.*pWidth;
        return uNeeded - std::min(uNeeded, kGap);
    }
    static const std::string& _Cell(const std::vector<std::string>& rRow, const CColumn& rColumn) {
        static const std::string kNone;
        return rColumn.uIndex < rRow.size() ? rRow[rColumn.uIndex] : kNone;
    }
    std::vector<size_t> _Heights(const CColumn& rColumn, size_t uWidth) const {
        std::vector<size_t> Heights{g_Wrap(rColumn.sHeading, uWidth).size()};
        for (const auto& rRow : m_rTable.Rows) Heights.push_back(g_Wrap(_Cell(rRow, rColumn), uWidth).size());
        return Heights;
    }
    size_t _Height() const {
        size_t uHeight = 0;
        for (size_t i = 0; i <= m_rTable.Rows.size(); ++i) {
            size_t uLines = 0;
            for (const CColumn& rColumn : m_Columns) uLines = std::max(uLines, rColumn.Heights[i]);
            uHeight += uLines;
        }
        return uHeight;
    }

    std::vector<std::string> _Lines(const std::vector<std::string>& rCells, bool bAtBottom) const {
        std::vector<std::vector<std::string>> Wrapped;
        size_t uHeight = 0;
        for (size_t i = 0; i < rCells.size(); ++i)
            uHeight = std::max(uHeight, Wrapped.emplace_back(m_Columns[i].Wrapped(rCells[i])).size());
        std::vector<std::string> Lines;
        for (size_t uLine = 0; uLine < uHeight; ++uLine) {
            std::string& rsLine = Lines.emplace_back();
            for (size_t i = 0; i < Wrapped.size(); ++i) {
                const size_t uSkipped = bAtBottom ? uHeight - Wrapped[i].size() : 0;
                const bool bEmpty = uLine < uSkipped || uLine - uSkipped >= Wrapped[i].size();
                const std::string sText = bEmpty ? "" : Wrapped[i][uLine - uSkipped];
                const std::string sBlanks(m_Columns[i].uWidth - std::min(m_Columns[i].uWidth, g_Width(sText)), ' ');
                rsLine += std::string(i ? kGap : 0, ' ') + (m_Columns[i].bRight ? sBlanks + sText : sText + sBlanks);
            }
            rsLine.erase(rsLine.find_last_not_of(' ') + 1);
        }
        return Lines;
    }

    const CTextTable& m_rTable;
    size_t m_uWidth;
    std::vector<CColumn> m_Columns;
};

/// Columns of numbers behind columns of text (a core each, say) can be told in two tables, with the text in both.
/// Nothing for any other table.
std::vector<CTextTable> g_Halves(const CTextTable& rTable) {
    const auto IsNumbers = [](const std::string& rsColumn) { return rsColumn.starts_with('>'); };
    const auto itNumbers = std::ranges::find_if(rTable.Columns, IsNumbers);
    const size_t uText = static_cast<size_t>(itNumbers - rTable.Columns.begin()), uAll = rTable.Columns.size();
    if (uText == 0 || uAll - uText < 2 || !std::all_of(itNumbers, rTable.Columns.end(), IsNumbers)) return {};
    const size_t uMiddle = uText + (uAll - uText + 1) / 2;
    const auto Half = [&](size_t uBegin, size_t uEnd) {
        const auto Pick = [&](const std::vector<std::string>& rCells) {
            std::vector<std::string> Picked;
            for (size_t i = 0; i < std::min(rCells.size(), uEnd); ++i)
                if (i < uText || i >= uBegin) Picked.push_back(rCells[i]);
            return Picked;
        };
        CTextTable Picked{uBegin == uText ? rTable.sTitle : "", Pick(rTable.Columns)};
        for (const auto& rRow : rTable.Rows) Picked.Rows.push_back(Pick(rRow));
        return Picked;
    };
    return {Half(uText, uMiddle), Half(uMiddle, uAll)};
}

/// A row without a table: its cells below each other with what they are.
std::string g_Listed(const std::vector<CColumn>& rColumns, const std::vector<std::string>& rRow, size_t uWidth) {
    std::string sLines;
    for (const CColumn& rColumn : rColumns) {
        if (rColumn.uIndex >= rRow.size() || rRow[rColumn.uIndex].empty()) continue;
        const std::string sName = rColumn.sHeading.empty() ? "" : rColumn.sHeading + ": ";
        sLines += std::string(sLines.empty() ? "" : "  ") + sName + rRow[rColumn.uIndex] + "\n";
    }
    return g_WrapLines(sLines, uWidth);
}

}  // namespace

void g_DropEmptyColumns(CTextTable& rTable) {
    for (size_t i = rTable.Columns.size(); i-- > 0;) {
        const auto IsEmpty = [i](const std::vector<std::string>& rRow) { return rRow[i] == "-"; };
        if (!std::ranges::all_of(rTable.Rows, IsEmpty)) continue;
        rTable.Columns.erase(rTable.Columns.begin() + static_cast<ptrdiff_t>(i));
        for (std::vector<std::string>& rRow : rTable.Rows) rRow.erase(rRow.begin() + static_cast<ptrdiff_t>(i));
    }
}

void g_AppendTable(const CTextTable& rTable, bool bColor, size_t uWidth, std::string& rsText,
                   std::vector<std::string>& rLeftOut) {
    const auto Append = [&](const std::vector<std::string>& rLines, const char* pszStyle) {
        for (const std::string& rsLine : rLines)
            rsText +=
                (bColor && *pszStyle ? "\033[" + std::string(pszStyle) + "m" + rsLine + "\033[0m" : rsLine) + "\n";
    };
    CLayout Layout(rTable, uWidth);
    Layout.LeaveOut(rLeftOut);
    if (const std::vector<CTextTable> Halves = g_Halves(rTable); !Layout.IsReadable() && !Halves.empty()) {
        for (const CTextTable& rHalf : Halves) g_AppendTable(rHalf, bColor, uWidth, rsText, rLeftOut);
        return;
    }
    if (!rsText.empty()) rsText += "\n";
    if (!rTable.sTitle.empty()) Append(g_Wrap(rTable.sTitle, uWidth), kBold);
    if (!Layout.Narrow()) {
        for (const auto& rRow : rTable.Rows) rsText += g_Listed(Layout.Columns(), rRow, uWidth);
        return;
    }
    Append(Layout.Heading(), kFaint);
    for (const auto& rRow : rTable.Rows) Append(Layout.Row(rRow), "");
}

}  // namespace vxttools
