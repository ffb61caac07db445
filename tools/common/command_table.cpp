#include "common/command_table.h"

#include <algorithm>
#include <sstream>
#include <string_view>

namespace vxttools {

std::vector<const CTableEntry*> CCommandTable::Below(const CTableEntry& rEntry) const {
    std::vector<const CTableEntry*> Found;
    for (const CTableEntry& rOther : Entries)
        if (&rOther != &Root() && &Parent(rOther) == &rEntry) Found.push_back(&rOther);
    return Found;
}

const CTableEntry& CCommandTable::Parent(const CTableEntry& rEntry) const {
    const std::string sPath = rEntry.Path();
    const size_t uLast = sPath.rfind(' ');
    return *std::ranges::find(Entries, uLast == sPath.npos ? "" : sPath.substr(0, uLast), &CTableEntry::Path);
}

std::vector<std::string> g_Flags(const CBoundOption& rOption) {
    std::vector<std::string> Flags;
    std::istringstream Names(rOption.IsArgument() ? "" : rOption.pszName);
    for (std::string sName; std::getline(Names, sName, ',');) Flags.push_back(sName);
    return Flags;
}

std::vector<std::string> g_Choices(const CBoundOption& rOption) {
    std::vector<std::string> Choices;
    std::istringstream Words(rOption.pszType);
    const char cFirst = rOption.pszType[0];
    if (cFirst < 'a' || cFirst > 'z') return Choices;  // the kind of value
    for (std::string sWord; std::getline(Words, sWord, '|');) Choices.push_back(sWord);
    return Choices;
}

bool g_TakesFile(const CBoundOption& rOption) {
    return std::string_view(rOption.IsArgument() ? rOption.pszName : rOption.pszType).ends_with("FILE");
}

const CBoundOption& g_Option(const CCommandTable& rTable, const std::string& sPath, std::string_view sOption) {
    const CTableEntry& rEntry = *std::ranges::find(rTable.Entries, sPath, &CTableEntry::Path);
    return *std::ranges::find(rEntry.Options, sOption, &CBoundOption::pszName);
}

}  // namespace vxttools
