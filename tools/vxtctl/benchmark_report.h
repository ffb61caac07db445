// Scores beside earlier ones, for people and for programs.
#pragma once

#include "benchmark_file.h"
#include "common/document.h"
#include "common/findings.h"

namespace vxtctl {

/// The array "scores" and its table. What went wrong, or became worse beyond the spread, is added to the findings.
/// `pSaved`: null when there is nothing to compare with.
void g_AddScores(vxttools::CDocument& rDocument, const std::vector<CScore>& rScores, const CSavedScores* pSaved,
                 vxttools::CFindings& rFindings);

}  // namespace vxtctl
