// The HyperTransport links of the processor.
#pragma once

#include "host_library.h"
#include "setting.h"

namespace vxtctl {

/// What "links" shows. Ends the command when the machine has no link device that the library knows.
void g_AddLinks(vxttools::CDocument& rDocument, const CHostLibrary& rLibrary, vxttools::CFindings& rFindings);
/// One write of the link for all values asked for.
vxttools::CChangePlan g_PlanLinkChanges(const CHostLibrary& rLibrary, uint32_t uLink,
                                        const std::vector<CAssignment>& rAssignments, bool bForce);

/// The clock of link 0; nothing where there is no link device, or nothing is connected to the link.
std::optional<CDeviceSetting> g_FirstLinkClock(const CHostLibrary& rLibrary);

}  // namespace vxtctl
