#include "profile_document.h"

#include <algorithm>
#include <filesystem>

#include "common/console.h"
#include "common/text.h"

namespace vxtctl {

using vxttools::CFailure;
using vxttools::EExit;
using vxttools::g_Utf8;

namespace {

constexpr size_t kLongestPath = 259;      ///< that the library takes
constexpr uint32_t kMostEntries = 5'000;  ///< no machine has so many, and each is looked up among all

/// A path without "/" would be a name in the library's own folder. Of a link its target: the library replaces what it
/// writes.
std::wstring g_LibraryPath(const std::string& sFile) {
    try {
        const std::filesystem::path Path =
            std::filesystem::weakly_canonical(std::filesystem::absolute(vxttools::g_Path(sFile)));
        if constexpr (sizeof(wchar_t) == sizeof(char16_t)) return Path.generic_wstring();
        const std::u32string sPath = Path.generic_u32string();  // the wide form would go by the locale there
        return {sPath.begin(), sPath.end()};
    } catch (const std::exception&) { return {}; }  // no UTF-8, or no present folder
}

}  // namespace

bool CProfileNames::IsSame(const CProfileNames& rOther) const {
    const auto IsSameName = [](const std::wstring& a, const std::wstring& b) {
        return std::ranges::equal(a, b, {}, vxtapi::ProfileCharacter, vxtapi::ProfileCharacter);
    };
    return IsSameName(sSection, rOther.sSection) && IsSameName(sElement, rOther.sElement) &&
           IsSameName(sKey, rOther.sKey);
}

CProfileDocument::CProfileDocument(const CHostLibrary& rLibrary, const std::string& sFile) : m_sFile(sFile) {
    const std::wstring sPath = g_LibraryPath(sFile);
    if (sPath.empty()) throw CFailure(EExit::kFailed, sFile + " is no path that can be used");
    if (sPath.size() > kLongestPath)
        throw CFailure(EExit::kFailed, sFile + ": the whole path has more than " + std::to_string(kLongestPath) +
                                           " characters, which the library does not take");
    m_pProfile.reset(rLibrary.Profiles().OpenProfile(sPath.c_str()));
    if (!m_pProfile) throw CFailure(EExit::kFailed, sFile + ": the library cannot read profiles here; --log tells why");
    m_sProblem = _FindProblem();
}

std::string CProfileDocument::_FindProblem() const {
    if (m_pProfile->GetProblem()[0] == 0 && m_pProfile->GetEntryCount() > kMostEntries)
        return "it has more than " + std::to_string(kMostEntries) + " settings";
    return g_Utf8(m_pProfile->GetProblem());
}

void CProfileDocument::CheckReadable() const {
    if (!FileExists()) throw CFailure(EExit::kFailed, m_sFile + ": there is no such file");
    if (!m_sProblem.empty()) throw CFailure(EExit::kFailed, m_sFile + " is no profile: " + m_sProblem);
}

std::vector<CProfileEntry> CProfileDocument::Entries() const {
    std::vector<CProfileEntry> Entries;
    vxtapi::ProfileEntry Entry{};
    for (uint32_t i = 0; m_pProfile->GetEntry(i, &Entry); ++i)
        Entries.push_back({{Entry.pszSection, Entry.pszElement, Entry.pszKey},
                           g_Utf8(Entry.pszText),
                           Entry.bIsNumber ? std::optional(Entry.dValue) : std::nullopt});
    return Entries;
}

std::optional<double> CProfileDocument::Value(const CProfileNames& rNames) const {
    const auto& [sSection, sElement, sKey] = rNames;
    double dValue = 0;
    const bool bHas = m_pProfile->GetValue(sSection.c_str(), sElement.c_str(), sKey.c_str(), &dValue);
    return bHas ? std::optional(dValue) : std::nullopt;
}

bool CProfileDocument::SetValue(const CProfileNames& rNames, double dValue) {
    const auto& [sSection, sElement, sKey] = rNames;
    return m_pProfile->SetValue(sSection.c_str(), sElement.c_str(), sKey.c_str(), dValue);
}

void CProfileDocument::Clear() {
    if (!m_pProfile->Clear()) throw CFailure(EExit::kFailed, m_sFile + ": no profile could be begun; --log tells why");
}

void CProfileDocument::Save() {
    if (!m_pProfile->Save())
        throw CFailure(EExit::kFailed,
                       m_sFile + " could not be written" + (FileExists() ? "; what stood there stands" : ""));
}

}  // namespace vxtctl
