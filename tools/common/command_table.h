// A tool's commands with their options.
#pragma once

#include <string_view>

#include "common/command_line.h"

namespace vxttools {

struct CTableEntry {
    const CCommand* pRow;
    std::unique_ptr<CCall> pCall;
    std::vector<CBoundOption> Options;  ///< of the tool's own entry: those that every command understands, too

    std::string Path() const { return pRow->pszPath; }
    std::string Name() const { return Path().substr(Path().rfind(' ') + 1); }
};

/// The tool's own entry comes first.
struct CCommandTable {
    std::string sTool;
    std::vector<CTableEntry> Entries;

    const CTableEntry& Root() const { return Entries.front(); }
    /// Those directly below the command.
    std::vector<const CTableEntry*> Below(const CTableEntry& rEntry) const;
    const CTableEntry& Parent(const CTableEntry& rEntry) const;
};

/// "-o", "--output" of an option; nothing for an argument.
std::vector<std::string> g_Flags(const CBoundOption& rOption);
/// The words that the option's value may be; empty: anything.
std::vector<std::string> g_Choices(const CBoundOption& rOption);
/// Its value is a file, or may be one.
bool g_TakesFile(const CBoundOption& rOption);
/// The option of a command, both of which have to be there.
const CBoundOption& g_Option(const CCommandTable& rTable, const std::string& sPath, std::string_view sOption);
/// What it has been given; nothing: none. For completion, where no command is run with its record.
template <class TValue>
std::optional<TValue> g_Given(const CCommandTable& rTable, const std::string& sPath, std::string_view sOption) {
    return *std::get<std::optional<TValue>*>(g_Option(rTable, sPath, sOption).Target);
}

}  // namespace vxttools
