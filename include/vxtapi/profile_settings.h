// Stored tuning profiles.
#pragma once

namespace vxtapi {

/// Applies stored profiles. Obtained from GetProfileSettings(). The spelling of the name is kept: hosts rely on it.
/// No operations in this version: profiles are not built yet.
class CProfileSettgins {
protected:
    ~CProfileSettgins() = default;
};

}  // namespace vxtapi
