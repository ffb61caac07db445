// A command line as it stands in a shell, cut off at the cursor.
#pragma once

#include <string>
#include <vector>

namespace vxttools {

struct CShellLine {
    std::vector<std::string> Words = {};  ///< without their quotes; the last one is being typed and may be empty
    /// So much of the last word the shell's line editor takes for settled: it replaces what stands behind.
    size_t uSettled = 0;
    char cQuote = 0;           ///< the quotes that the last word stands in; 0: none
    bool bRedirected = false;  ///< the last word is the file of a redirection
};

struct CShellRules {
    /// Characters that, unquoted, begin a new word for the shell's line editor, though not for its commands.
    std::string sBreaks = {};
    bool bEscapesInSingleQuotes = false;  ///< a backslash in single quotes stands for the quote or backslash behind it
};

/// Redirections before the last word are left out; variables stay as they are.
CShellLine g_ParseShellLine(const std::string& sLine, const CShellRules& rRules);

/// Text in such quotes (0: in none) that the shell takes literally.
std::string g_ShellQuoted(const std::string& sText, char cQuote);

}  // namespace vxttools
