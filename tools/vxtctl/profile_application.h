// Writing a profile to the hardware so that the state before comes back on every way out that does not keep the new one.
#pragma once

#include "common/change_plan.h"
#include "profile_plan.h"
#include "profile_records.h"

namespace vxtctl {

/// A folder of this process alone, gone with everything in it when this goes.
class CScratchFolder {
public:
    /// Beside the records, of which this process has the lock; without a place for them among the system's temporary
    /// files. Ends the command when it cannot be made.
    explicit CScratchFolder(const CProfileRecords& rRecords);
    CScratchFolder(const CScratchFolder&) = delete;
    ~CScratchFolder();
    const std::filesystem::path& Path() const { return m_Path; }

private:
    std::filesystem::path m_Path;
};

class CProfileApplication {
public:
    /// `rTargets` and the settings they name must outlive it. `bAsks`: the user is there to say what is to become of
    /// changes that went wrong.
    CProfileApplication(const CHostLibrary& rLibrary, const CProfileDocument& rProfile,
                        const std::vector<CProfileSetting>& rMachine, const std::vector<CProfileTarget>& rTargets,
                        CProfileRecords& rRecords, bool bAsks);

    /// Notes what is in force on disk, and makes ready what the library is to apply. Ends the command when that fails.
    void Begin();
    /// Returns why the rest was left; an empty text: nothing was.
    std::string Write() const;
    bool WantsUndone();
    /// Behind the changes, and what was undone of them. Returns how the command ends.
    vxttools::EExit Finish(vxttools::EExit eExit);

private:
    /// What holds just what differs: the library writes whatever it is given.
    void _MakeProfile();
    void _WriteOwn() const;
    /// What changes brought along that nobody asked for. False: something is not as it was.
    bool _PutBackRest() const;
    /// The same where the changes stay: two settings may be one to the hardware.
    void _TellRest() const;

    const CHostLibrary& m_rLibrary;
    const CProfileDocument& m_rProfile;
    const std::vector<CProfileSetting>& m_rMachine;
    const std::vector<CProfileTarget>& m_rTargets;
    CProfileRecords& m_rRecords;
    const bool m_bAsks;
    std::optional<CAppliedProfile> m_oEarlier;  ///< what could be rolled back before
    CAppliedProfile m_Applied;
    std::optional<CScratchFolder> m_oFolder;
    std::optional<CProfileDocument> m_oDifference;
    bool m_bBegun = false, m_bUndone = false;
};

}  // namespace vxtctl
