// What the stability test came to, for people and for programs.
#pragma once

#include "common/document.h"
#include "stress_readings.h"
#include "stress_run.h"
#include "timed_run.h"

namespace vxtctl {

/// A kind of test by its word on the command line, "int" or "fp"; nothing: there is no such.
std::optional<uint32_t> g_StressKind(std::string_view sWord);
/// All of them.
std::vector<uint32_t> g_StressKinds();

/// "3 errors", "no errors"
std::string g_ErrorCount(uint64_t ullErrors);

/// An error in one line: where, which check, what was wrong.
std::string g_StressErrorLine(const vxtapi::TestError& rError);
vxttools::CJson g_ToJson(const vxtapi::TestError& rError);

/// "event", "ts", passes and errors up to now, clocks and temperatures by core. What could not be read is added to the
/// findings.
void g_AddStressSample(vxttools::CDocument& rDocument, const CStressRun& rStress, const CStressReadings& rReadings,
                       const char* pszEvent, vxttools::CFindings& rFindings);
/// The same as one line.
std::string g_StressSampleLine(const CStressRun& rStress, const CStressReadings& rReadings);

/// The answer, JSON and tables; what speaks against the cores, or leaves them unknown, is added to the findings.
void g_AddStress(vxttools::CDocument& rDocument, const CTimedRun& rRun, const CStressRun& rStress,
                 const CStressReadings& rReadings, vxttools::CFindings& rFindings);

}  // namespace vxtctl
