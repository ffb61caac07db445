#include "common/completion.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <sstream>

#include "common/console.h"
#include "common/shell_line.h"
#include "common/text.h"

namespace vxttools {
namespace {

bool g_BeginsLike(const std::string& sWord, const std::string& sBegun) {
    return g_Lower(sWord.substr(0, sBegun.size())) == g_Lower(sBegun);
}

/// Takes a value over as the parser would; what does not fit is left out.
void g_Take(const CBoundOption& rOption, const std::string& sValue) {
    const auto Take = [&](auto* pTarget) {
        using CTarget = std::remove_pointer_t<decltype(pTarget)>;
        if constexpr (std::is_same_v<CTarget, bool>) {
            if (pTarget) *pTarget = true;  // the parser's own flags have no place
        } else if constexpr (std::is_same_v<CTarget, std::vector<std::string>>) {
            pTarget->push_back(sValue);
        } else if constexpr (std::is_same_v<CTarget, std::optional<double>>) {
            *pTarget = g_ParseNumber(sValue);
        } else if constexpr (std::is_same_v<CTarget, std::optional<uint32_t>>) {
            *pTarget = g_ParseUnsigned(sValue);
        } else {
            *pTarget = sValue;
        }
    };
    std::visit(Take, rOption.Target);
}

/// Walks along the words as the parser would, as far as the last one.
class CWalk {
public:
    CWalk(const CCommandTable& rTable, CGlobalOptions& rOptions)
        : m_rTable(rTable), m_rOptions(rOptions), m_pEntry(&rTable.Root()) {}

    void Pass(const std::string& sWord) {
        if (m_pAwaiting) {
            g_Take(*m_pAwaiting, sWord);
            m_pAwaiting = nullptr;
        } else if (_IsFlag(sWord)) {
            _PassFlag(sWord);
        } else if (const CTableEntry* const pBelow = _Below(sWord)) {
            m_pEntry = pBelow;
        } else {
            if (const CBoundOption* const pArgument = _NextArgument()) g_Take(*pArgument, sWord);
            m_Arguments.push_back(sWord);
        }
    }

    CCompletion Complete(const std::string& sWord) {
        CCompletion Answer;
        const size_t uSign = sWord.find('=');
        if (m_pAwaiting) {
            _AddValues(Answer, *m_pAwaiting, sWord);
        } else if (_IsFlag(sWord) && uSign != sWord.npos) {
            Answer.sPrefix = sWord.substr(0, uSign + 1);
            const CBoundOption* const pOption = _Find(sWord.substr(0, uSign));
            if (pOption && pOption->TakesValue()) _AddValues(Answer, *pOption, sWord.substr(uSign + 1));
        } else if (_IsFlag(sWord)) {
            _AddFlags(Answer, *m_pEntry);
            if (m_pEntry != &m_rTable.Root()) _AddFlags(Answer, m_rTable.Root());
        } else {
            _AddWords(Answer, sWord);
        }
        const std::string sBegun = sWord.substr(Answer.sPrefix.size());
        std::erase_if(Answer.Candidates, [&](const CCandidate& r) { return !g_BeginsLike(r.sWord, sBegun); });
        return Answer;
    }

private:
    bool _IsFlag(const std::string& sWord) const { return !m_bNoFlags && sWord.starts_with('-'); }

    void _PassFlag(const std::string& sWord) {
        const size_t uSign = sWord.find('=');
        const CBoundOption* const pOption = _Find(sWord.substr(0, uSign));
        m_bNoFlags = sWord == "--";
        if (!pOption) return;
        if (uSign != sWord.npos || !pOption->TakesValue())
            g_Take(*pOption, uSign == sWord.npos ? "" : sWord.substr(uSign + 1));
        else
            m_pAwaiting = pOption;
    }

    const CBoundOption* _Find(const std::string& sFlag) const {
        for (const CTableEntry* const pEntry : {m_pEntry, &m_rTable.Root()})
            for (const CBoundOption& rOption : pEntry->Options)
                if (std::ranges::count(g_Flags(rOption), sFlag)) return &rOption;
        return nullptr;
    }

    const CTableEntry* _Below(const std::string& sWord) const {
        if (!m_Arguments.empty()) return nullptr;
        for (const CTableEntry* const pBelow : m_rTable.Below(*m_pEntry))
            if (pBelow->Name() == sWord) return pBelow;
        return nullptr;
    }

    /// The last one may take many.
    const CBoundOption* _NextArgument() const {
        size_t uPlace = 0;
        for (const CBoundOption& rOption : m_pEntry->Options)
            if (rOption.IsArgument() &&
                (uPlace++ == m_Arguments.size() || std::holds_alternative<std::vector<std::string>*>(rOption.Target)))
                return &rOption;
        return nullptr;
    }

    void _AddWords(CCompletion& rAnswer, const std::string& sWord) const {
        if (m_Arguments.empty())
            for (const CTableEntry* const pBelow : m_rTable.Below(*m_pEntry))
                rAnswer.Candidates.push_back({pBelow->Name(), pBelow->pRow->pszSummary});
        if (const CBoundOption* const pArgument = _NextArgument()) {
            _AddValues(rAnswer, *pArgument, sWord);
            std::erase_if(rAnswer.Candidates, [&](const CCandidate& r) { return _IsNamed(r.sWord); });
        }
        if (rAnswer.Candidates.empty() && !rAnswer.bFiles && !m_bNoFlags)
            _AddFlags(rAnswer, *m_pEntry);  // nothing else
    }

    /// NAME= of something that an earlier NAME=VALUE sets.
    bool _IsNamed(const std::string& sWord) const {
        return sWord.ends_with('=') &&
               std::ranges::any_of(m_Arguments, [&](const std::string& s) { return g_BeginsLike(s, sWord); });
    }

    static void _AddFlags(CCompletion& rAnswer, const CTableEntry& rEntry) {
        for (const CBoundOption& rOption : rEntry.Options)
            for (const std::string& rsFlag : g_Flags(rOption))
                if (std::ranges::count(rAnswer.Candidates, rsFlag, &CCandidate::sWord) == 0)
                    rAnswer.Candidates.push_back({rsFlag, rOption.pszMeaning});
    }

    void _AddValues(CCompletion& rAnswer, const CBoundOption& rOption, const std::string& sBegun) const {
        rAnswer.bFiles = g_TakesFile(rOption);
        for (const std::string& rsChoice : g_Choices(rOption)) rAnswer.Candidates.push_back({rsChoice});
        if (!rOption.pComplete) return;
        try {
            // Of all that stands on the line only what chooses the PC counts: completion leaves no file behind.
            CGlobalOptions Options;
            Options.oMachine = m_rOptions.oMachine;
            Options.oLibrary = m_rOptions.oLibrary;
            std::error_code Ignored;
            if (m_rOptions.oState && std::filesystem::exists(g_Path(*m_rOptions.oState), Ignored))
                Options.oState = m_rOptions.oState;
            g_ChooseMachine(Options);
            const CTool Tool(m_rTable, m_pEntry->Path(), Options);
            for (CCandidate& rCandidate : rOption.pComplete(Tool, sBegun))
                rAnswer.Candidates.push_back(std::move(rCandidate));
        } catch (const std::exception&) {}  // nothing is known: people find out why when they run the command
    }

    const CCommandTable& m_rTable;
    CGlobalOptions& m_rOptions;
    const CTableEntry* m_pEntry;
    const CBoundOption* m_pAwaiting = nullptr;  ///< its value is the next word
    std::vector<std::string> m_Arguments;
    bool m_bNoFlags = false;
};

}  // namespace

CCompletion g_Complete(const CCommandTable& rTable, CGlobalOptions& rOptions, const std::vector<std::string>& rWords) {
    CWalk Walk(rTable, rOptions);
    for (size_t i = 0; i + 1 < rWords.size(); ++i) Walk.Pass(rWords[i]);
    return Walk.Complete(rWords.back());
}

bool g_IsShellAsking(const std::vector<std::string>& rArguments) {
    return rArguments.size() >= 5 && rArguments[0] == "complete" && rArguments[1] == "--shell" && rArguments[3] == "--";
}

void g_AnswerShell(const CCommandTable& rTable, CGlobalOptions& rOptions, const std::vector<std::string>& rArguments) {
    const bool bBash = rArguments[2] == "bash";  // it inserts what it is given; the others quote it themselves
    const CShellRules Rules{.sBreaks = bBash && rArguments.size() > 5 ? rArguments[5] : "",
                            .bEscapesInSingleQuotes = rArguments[2] == "fish"};
    CShellLine Line = g_ParseShellLine(rArguments[4], Rules);
    if (Line.Words.size() < 2) return;  // the tool's name itself
    Line.Words.erase(Line.Words.begin());
    CCompletion Found{.bFiles = Line.bRedirected};
    if (!Line.bRedirected) Found = g_Complete(rTable, rOptions, Line.Words);
    // Quotes would be closed behind a single word, also where more is to follow: then go on at once.
    if (Line.cQuote && Found.Candidates.size() == 1 && Found.Candidates[0].sWord.ends_with('=')) {
        Line.Words.back() = Found.Candidates[0].sWord;
        Found = g_Complete(rTable, rOptions, Line.Words);
    }
    std::string sAnswer;
    if (Found.bFiles) sAnswer += ":files\t" + Found.sPrefix + "\n";
    for (const auto& [sWord, sMeaning] : Found.Candidates) {
        const std::string sWhole = Found.sPrefix + sWord;
        if (bBash && sWord.ends_with('=')) sAnswer += ":open\n";
        sAnswer += bBash ? g_ShellQuoted(sWhole.substr(std::min(Line.uSettled, sWhole.size())), Line.cQuote)
                         : sWhole + "\t" + sMeaning;
        sAnswer += "\n";
    }
    std::fputs(sAnswer.c_str(), stdout);
}

std::vector<CCandidate> g_MachineCandidates(const CTool&, const std::string&) {
    std::vector<CCandidate> Machines;
    std::istringstream Names(VXT_MACHINE_NAMES);
    for (std::string sName; std::getline(Names, sName, ',');) Machines.push_back({sName, "built in"});
    return Machines;
}

}  // namespace vxttools
