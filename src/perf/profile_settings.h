// Stored tuning profiles.
#pragma once

#include <vxtapi/profile_settings.h>

namespace vxt {

/// Not built yet. The spelling is kept: hosts rely on it.
class CProfileSettgins final : public vxtapi::CProfileSettgins {};

CProfileSettgins& g_GetProfileSettings();

}  // namespace vxt
