// Many odd inputs of one kind: rows of a text file below tests/cases.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace vxttest {

/// The columns of each row, without comments (#) and empty lines. Columns stand between bars; ~ is the end of a line.
inline std::vector<std::vector<std::string>> g_CaseRows(const std::string& sFile) {
    std::ifstream File(std::filesystem::path(VXT_SOURCE_DIR) / "tests/cases" / sFile);
    EXPECT_TRUE(File) << sFile;
    std::vector<std::vector<std::string>> Rows;
    for (std::string sRow; std::getline(File, sRow);) {
        if (sRow.empty() || sRow[0] == '#') continue;
        std::vector<std::string>& rColumns = Rows.emplace_back(1);
        for (size_t i = 0; i < sRow.size(); ++i)
            if (sRow.compare(i, 3, " | ") == 0)
                rColumns.emplace_back(), i += 2;
            else
                rColumns.back() += sRow[i] == '~' ? '\n' : sRow[i];
    }
    return Rows;
}

}  // namespace vxttest
