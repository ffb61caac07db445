// The commands that every tool has.
#pragma once

#include "common/command.h"

namespace vxttools {

extern const CCommand kCompletion, kManPage;

}  // namespace vxttools
