// Everything that is known of a PC as one page.
#pragma once

#include "common/findings.h"
#include "host_library.h"
#include "recording.h"

namespace vxtctl {

struct CHtmlReport {
    std::string sMachine;                    ///< which PC, in a few words
    std::string sLibrary;                    ///< its file's name
    const CRecording* pRecording = nullptr;  ///< to be drawn; null: none
    bool bSerials = false;                   ///< with what tells one specimen from another
};

/// Reads all there is. What looks wrong is added to the findings, and stands at the top of the page.
std::string g_HtmlReport(const CHostLibrary& rLibrary, const CHtmlReport& rReport, vxttools::CFindings& rFindings);

/// Near the beginning of each such page, and of no other.
extern const char* const kReportMark;

}  // namespace vxtctl
