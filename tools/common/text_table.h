// Tables for people, laid out for the width there is.
#pragma once

#include <string>
#include <vector>

namespace vxttools {

struct CTextTable {
    std::string sTitle;
    /// Headings; all empty: no heading line. Marks in front of one: ">" aligns to the right, and keeps its cells in one
    /// line; "~" lets the column be left out where there is no room for all, "~~" before those with one. Of equal ones
    /// the last goes first. "~>Version" has both.
    std::vector<std::string> Columns;
    std::vector<std::vector<std::string>> Rows = {};  ///< may be shorter than the heading
    bool bIsTree =
        false;  ///< two blanks in front of a first cell for each level that the row is below the one above it
};

/// Takes columns away in which every row has "-". All rows have to be as long as the heading.
void g_DropEmptyColumns(CTextTable& rTable);

/// Appends the table, set apart from what is there already. No line is longer than `uWidth`, but for a single word:
/// columns are left out, then cells are wrapped at their blanks; what still has no room becomes two tables, where numbers
/// stand behind text, or is told one cell a line.
/// Headings of columns that are left out are added to `rLeftOut`, once each.
void g_AppendTable(const CTextTable& rTable, bool bColor, size_t uWidth, std::string& rsText,
                   std::vector<std::string>& rLeftOut);

}  // namespace vxttools
