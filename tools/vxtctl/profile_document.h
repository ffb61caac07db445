// A profile file as commands use it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host_library.h"

namespace vxtctl {

/// Where a setting stands in a profile: as the SDK takes it, or as element names have it.
struct CProfileNames {
    std::wstring sSection, sElement, sKey;

    /// The same place in a file.
    bool IsSame(const CProfileNames& rOther) const;
};

/// One setting as the file holds it.
struct CProfileEntry : CProfileNames {
    std::string sText;
    std::optional<double> oNumber;  ///< nothing: the text is no number
};

/// Works on the library's own profile object, on the thread that made it. It lives no longer than the library.
class CProfileDocument {
public:
    /// Opens the file, a UTF-8 path; where there is none the profile is empty. Ends the command where the path is not one
    /// for the library.
    CProfileDocument(const CHostLibrary& rLibrary, const std::string& sFile);

    const std::string& File() const { return m_sFile; }  ///< as it was given
    /// As the library takes it as a path.
    const wchar_t* Path() const { return m_pProfile->GetPath(); }
    bool FileExists() const { return m_pProfile->FileExists(); }
    /// Why the file is no profile; empty: it is one, or there is none.
    const std::string& Problem() const { return m_sProblem; }
    /// Ends the command when there is no such file, or it is no profile.
    void CheckReadable() const;

    /// In the file's order, those that never count among them.
    std::vector<CProfileEntry> Entries() const;
    /// What the library would apply.
    std::optional<double> Value(const CProfileNames& rNames) const;
    /// False when profiles can hold no setting of such a name.
    bool SetValue(const CProfileNames& rNames, double dValue);
    /// Begins anew. Ends the command when that fails.
    void Clear();
    /// Writes the file, whole or not at all. Ends the command when that fails.
    void Save();

private:
    struct CRelease {
        void operator()(vxtapi::CProfile* pProfile) const { pProfile->Release(); }
    };
    using COwned = std::unique_ptr<vxtapi::CProfile, CRelease>;
    std::string _FindProblem() const;

    std::string m_sFile, m_sProblem;
    COwned m_pProfile;
};

}  // namespace vxtctl
