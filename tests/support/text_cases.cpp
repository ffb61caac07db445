#include "support/text_cases.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace vxttest {

std::string g_SourceText(const std::string& sPath) {
    std::ifstream File(std::filesystem::path(VXT_SOURCE_DIR) / sPath, std::ios::binary);
    EXPECT_TRUE(File) << sPath;
    return {std::istreambuf_iterator<char>(File), {}};
}

std::vector<std::string> g_CaseLines(const std::string& sFile) {
    std::istringstream File(g_SourceText("tests/cases/" + sFile));
    std::vector<std::string> Lines;
    for (std::string sLine; std::getline(File, sLine);)
        if (!sLine.empty() && sLine[0] != '#') Lines.push_back(sLine);
    return Lines;
}

std::vector<std::vector<std::string>> g_CaseRows(const std::string& sFile) {
    std::vector<std::vector<std::string>> Rows;
    for (const std::string& sLine : g_CaseLines(sFile)) {
        std::vector<std::string>& rColumns = Rows.emplace_back(1);
        for (size_t i = 0; i < sLine.size(); ++i)
            if (sLine.compare(i, 3, " | ") == 0)
                rColumns.emplace_back(), i += 2;
            else
                rColumns.back() += sLine[i] == '~' ? '\n' : sLine[i];
    }
    return Rows;
}

std::map<uint32_t, uint64_t> g_HexPairs(const std::string& sText) {
    std::map<uint32_t, uint64_t> Result;
    std::istringstream Words(sText);
    for (std::string sWord; Words >> sWord && sWord != "-";) {
        size_t uEqual = 0;
        const uint32_t uRegister = static_cast<uint32_t>(std::stoul(sWord, &uEqual, 16));
        Result[uRegister] = std::stoull(sWord.substr(uEqual + 1), nullptr, 16);
    }
    return Result;
}

std::string g_JoinNumbers(std::initializer_list<double> Numbers) {
    std::ostringstream Text;
    Text.precision(10);  // what a table has, without the noise of a calculation
    for (const double& rNumber : Numbers) Text << (&rNumber == Numbers.begin() ? "" : " ") << rNumber;
    return Text.str();
}

}  // namespace vxttest
