// Many odd inputs of one kind: rows of a text file below tests/cases.
#pragma once

#include <string>
#include <vector>

namespace vxttest {

/// A file of the checkout, by its path from the root.
std::string g_SourceText(const std::string& sPath);

/// The rows of a file of tests/cases, without comments (#) and empty lines.
std::vector<std::string> g_CaseLines(const std::string& sFile);

/// Their columns, which stand between bars; ~ is the end of a line.
std::vector<std::vector<std::string>> g_CaseRows(const std::string& sFile);

}  // namespace vxttest
