// What a profile changes on this machine, and in which order that is safe.
#pragma once

#include "profile_comparison.h"

namespace vxtctl {

/// Orders them so that at no step a clock runs at a voltage that is lower than both before and behind: clocks that fall,
/// voltages that rise, everything else, clocks that rise, voltages that fall.
void g_SortSafely(std::vector<CProfileTarget>& rTargets);
/// Of targets in that order: those which have to be written in front of the library's walk, which writes clocks before
/// voltages. The others follow.
size_t g_CountFirst(const std::vector<CProfileTarget>& rTargets);

/// Why the targets are not known to be harmless, a text for each; none: they are.
std::vector<std::string> g_WhyHarmful(const CHostLibrary& rLibrary, const std::vector<CProfileTarget>& rTargets);

/// The change of a setting, with the ways to it.
vxttools::CChange g_NewChange(const CProfileTarget& rTarget);

/// The setting, read anew, has not the value, or cannot be read.
bool g_ReadsOtherwise(const CProfileSetting& rSetting, double dValue);
/// Writes the setting alone. True: it reads so.
bool g_WriteAlone(const CProfileSetting& rSetting, double dValue);

}  // namespace vxtctl
