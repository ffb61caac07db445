// What was in force before a profile was applied, on disk: a process that is killed cannot put it back, the next can.
#pragma once

#include "user_records.h"

namespace vxtctl {

struct CSettingThen {
    std::string sId;
    double dValue;
};

/// A profile that was applied, and every setting as it was before.
struct CAppliedProfile {
    std::string sProfile;  ///< its file
    std::string sBegun;    ///< UTC, "2026-11-22T03:00:00.000Z"
    bool bFinished;        ///< false: it was killed, or could not be put back
    std::vector<CSettingThen> Before;
};

/// The last one that was applied to each PC. One process at a time applies profiles.
class CProfileRecords : public CUserRecords {
public:
    explicit CProfileRecords(const CHostLibrary& rLibrary);

    /// To this PC.
    std::optional<CAppliedProfile> Last() const;
    /// Nothing: there is none. With the lock only.
    void SetLast(const std::optional<CAppliedProfile>& rApplied);
    /// The same behind changes to the hardware, whose answer a full disk must not hide. False: the record is as before, and
    /// a remark has told so.
    bool TrySetLast(const std::optional<CAppliedProfile>& rApplied);

    /// Takes the lock, or ends the command when another process has it.
    void CheckIdle();
    /// What to say of one that has not ended though its process is gone; empty: there is none.
    std::string LeftBehind();
};

/// For commands that only look.
void g_RemarkOnLeftProfile(const CHostLibrary& rLibrary, const vxttools::COutput& rOutput);

}  // namespace vxtctl
