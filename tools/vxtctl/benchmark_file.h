// Scores in a file, to be compared with later ones.
#pragma once

#include <filesystem>
#include <map>

#include "benchmark_scores.h"

namespace vxtctl {

/// Runs without which nobody knows how far a score spreads by itself.
inline constexpr size_t kFewestToCompare = 5;

struct CSavedScores {
    std::string sFile, sProcessor, sTime;
    std::map<std::string, CRuns> Scores;  ///< by name

    const CRuns* Find(const char* pszName) const;
};

/// Ends the command, and names the member that is wrong, when the file cannot be read or holds no such scores.
CSavedScores g_LoadScores(const std::string& sFile);

/// What goes into the file. Scores without runs are left out.
std::string g_ScoreFileText(const std::vector<CScore>& rScores, const std::string& sProcessor);

}  // namespace vxtctl
