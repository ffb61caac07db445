// JSON objects as one CSV table.
#pragma once

#include "common/json.h"

namespace vxttools {

/// A table whose every row has every column.
class CCsvTable {
public:
    /// Adds an object as a row: its scalars; the members of an object in it as "object_member"; a list as one cell, its
    /// numbers apart by blanks and its texts by "; ". Objects in it that have an "id" are rows of their own behind it.
    void Add(const CJson& rObject);
    /// The scalars of an object at the end of every row that is there, or in a row of their own when there is none.
    void AddToAll(const CJson& rObject);

    /// The first line names the columns, in the order in which rows brought them. Empty without rows.
    std::string Text() const;

private:
    struct CCell {
        size_t uColumn;
        std::string sText;
    };
    using CRow = std::vector<CCell>;
    void _Fill(CRow& rRow, const CJson& rObject, const std::string& sPrefix, std::vector<const CJson*>& rBelow);

    std::vector<std::string> m_Columns;
    std::vector<CRow> m_Rows;
};

}  // namespace vxttools
