// Many odd inputs of one kind: rows of a text file below tests/cases.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

namespace vxttest {

/// A file of the checkout, by its path from the root.
std::string g_SourceText(const std::string& sPath);

/// The rows of a file of tests/cases, without comments (#) and empty lines.
std::vector<std::string> g_CaseLines(const std::string& sFile);

/// Their columns, which stand between bars; ~ is the end of a line.
std::vector<std::vector<std::string>> g_CaseRows(const std::string& sFile);

/// Registers and their values: "94=8 194=8", both hexadecimal; "-": none.
std::map<uint32_t, uint64_t> g_HexPairs(const std::string& sText);

/// Numbers as such a column has them, with blanks between.
std::string g_JoinNumbers(std::initializer_list<double> Numbers);
template <class... TNumber> std::string g_Text(TNumber... Numbers) {
    return g_JoinNumbers({static_cast<double>(Numbers)...});
}

}  // namespace vxttest
