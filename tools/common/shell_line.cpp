#include "common/shell_line.h"

#include <cstdint>

#include "common/console.h"

namespace vxttools {
namespace {

bool g_IsOneOf(char c, const std::string& sSet) { return sSet.find(c) != sSet.npos; }

/// What a backslash may stand in front of: outside quotes anything, inside them what would have a meaning there.
bool g_Escapes(char cQuote, char cNext) { return cQuote == 0 || (cQuote == '"' && g_IsOneOf(cNext, "\"\\$`")); }

class CLineParser {
public:
    explicit CLineParser(const CShellRules& rRules) : m_rRules(rRules) {}

    CShellLine Parse(const std::string& sLine) {
        for (size_t i = 0; i < sLine.size(); ++i) {
            if (sLine[i] == '\\' && i + 1 < sLine.size() && _IsEscape(sLine[i + 1]))
                _Append(sLine[++i]);
            else if (m_Line.cQuote)
                _Quoted(sLine[i]);
            else
                _Plain(sLine[i]);
        }
        m_Line.Words.push_back(m_sWord);
        return m_Line;
    }

private:
    bool _IsEscape(char cNext) const {
        return g_Escapes(m_Line.cQuote, cNext) || (m_rRules.bEscapesInSingleQuotes && g_IsOneOf(cNext, "'\\"));
    }
    void _Append(char c) {
        m_sWord += c;
        m_bIsWord = true;
    }
    void _Quoted(char c) {
        if (c != m_Line.cQuote) return _Append(c);
        m_Line.cQuote = 0;
        m_Line.uSettled = m_uBreak;
    }
    void _Plain(char c) {
        if (c == '"' || c == '\'') {
            m_Line.cQuote = c;
            m_Line.uSettled = m_sWord.size();
            m_bIsWord = true;
        } else if (g_IsOneOf(c, " \t\n")) {
            _EndWord();
        } else if (g_IsOneOf(c, "<>")) {
            if (m_sWord.find_first_not_of("0123456789&") == m_sWord.npos) m_sWord.clear(), m_bIsWord = false;  // "2>"
            _EndWord();
            m_Line.bRedirected = true;
        } else {
            m_bTilde = m_bTilde || (c == '~' && m_sWord.empty());
            _Append(c);
            if (g_IsOneOf(c, m_rRules.sBreaks)) m_Line.uSettled = m_uBreak = m_sWord.size();
        }
    }
    void _EndWord() {
        if (m_bTilde && (m_sWord == "~" || m_sWord.starts_with("~/"))) m_sWord.replace(0, 1, g_Environment("HOME"));
        if (m_bIsWord && !m_Line.bRedirected) m_Line.Words.push_back(m_sWord);
        if (m_bIsWord) m_Line.bRedirected = false;
        m_sWord.clear();
        m_bIsWord = m_bTilde = false;
        m_Line.uSettled = m_uBreak = 0;
    }

    const CShellRules& m_rRules;
    CShellLine m_Line;
    std::string m_sWord;
    size_t m_uBreak = 0;  ///< as uSettled, but for quotes
    bool m_bIsWord = false, m_bTilde = false;
};

}  // namespace

CShellLine g_ParseShellLine(const std::string& sLine, const CShellRules& rRules) {
    return CLineParser(rRules).Parse(sLine);
}

std::string g_ShellQuoted(const std::string& sText, char cQuote) {
    std::string sQuoted;
    for (const char c : sText) {
        const bool bLetter = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        const bool bPlain = bLetter || static_cast<uint8_t>(c) >= 0x80 || g_IsOneOf(c, "_./,:=+@%-");
        if (cQuote == '\'')
            sQuoted += c == '\'' ? "'\\''" : std::string(1, c);
        else if (cQuote && c == '!')
            sQuoted += "\"\\!\"";  // history expansion heeds no backslash inside quotes
        else
            sQuoted += (cQuote ? g_Escapes(cQuote, c) : !bPlain) ? std::string{'\\', c} : std::string(1, c);
    }
    return sQuoted;
}

}  // namespace vxttools
