#include "profile_application.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <system_error>

#include "common/console.h"
#include "common/text.h"

namespace vxtctl {

using vxttools::CFailure;
using vxttools::EExit;

namespace fs = std::filesystem;

namespace {

std::string g_Utf8Path(const fs::path& rPath) {
    const std::u8string sPath = rPath.u8string();
    return {sPath.begin(), sPath.end()};
}

}  // namespace

CScratchFolder::CScratchFolder(const CProfileRecords& rRecords) {
    const std::string sNumber = vxttools::g_Hex(std::random_device()(), 8);
    m_Path = rRecords.HasPlace() ? rRecords.Folder() / "applying" : fs::temp_directory_path() / ("vxt-" + sNumber);
    vxttools::g_OnFile(g_Utf8Path(m_Path), [&] {
        if (rRecords.HasPlace()) fs::remove_all(m_Path);  // left by a process that was killed
        if (!fs::create_directory(m_Path)) throw std::system_error(std::make_error_code(std::errc::file_exists));
        fs::permissions(m_Path, fs::perms::owner_all);
    });
}

CScratchFolder::~CScratchFolder() {
    std::error_code Ignored;  // nobody is left to act on it
    fs::remove_all(m_Path, Ignored);
}

CProfileApplication::CProfileApplication(const CHostLibrary& rLibrary, const CProfileDocument& rProfile,
                                         const std::vector<CProfileSetting>& rMachine,
                                         const std::vector<CProfileTarget>& rTargets, CProfileRecords& rRecords,
                                         bool bAsks)
    : m_rLibrary(rLibrary),
      m_rProfile(rProfile),
      m_rMachine(rMachine),
      m_rTargets(rTargets),
      m_rRecords(rRecords),
      m_bAsks(bAsks),
      m_oEarlier(rRecords.Last()),
      m_Applied{g_Utf8Path(fs::absolute(vxttools::g_Path(rProfile.File()))),
                vxttools::g_IsoTime(std::chrono::system_clock::now()),
                false,
                {}} {
    for (const CProfileSetting& rSetting : rMachine)
        if (rSetting.Setting.oValue) m_Applied.Before.push_back({rSetting.Id(), *rSetting.Setting.oValue});
}

void CProfileApplication::Begin() {
    _MakeProfile();
    m_rRecords.SetLast(m_Applied);
    m_bBegun = true;
}

void CProfileApplication::_MakeProfile() {
    m_oFolder.emplace(m_rRecords);
    CProfileDocument& rDifference = m_oDifference.emplace(m_rLibrary, g_Utf8Path(m_oFolder->Path() / "applied.xml"));
    const auto Add = [&](const CProfileNames& rNames, double dValue) {
        if (!rDifference.SetValue(rNames, dValue))
            throw CFailure(EExit::kFailed, "the settings to apply could not be put together; nothing was written");
    };
    for (const auto& [pSetting, dWanted] : m_rTargets) {
        CProfileNames Names = *pSetting;
        if (pSetting->eApplied == EApplied::kByTool) {
            if (m_rProfile.Value(Names)) continue;  // the library has no such key
            Names.sKey = pSetting->sSharedKey;
        }
        Add(Names, dWanted);
        if (pSetting->sPairKey.empty()) continue;
        Names.sKey = pSetting->sPairKey;
        Add(Names, m_rProfile.Value(Names) == 1.0);
    }
    rDifference.Save();
}

std::string CProfileApplication::Write() const {
    for (size_t i = 0; i < g_CountFirst(m_rTargets); ++i) {
        const auto& [pSetting, dWanted] = m_rTargets[i];
        if (!g_WriteAlone(*pSetting, dWanted))
            return pSetting->sOwner + ": " + pSetting->Setting.sLabel + " had to change first, and did not";
    }
    m_rLibrary.Profiles().ApplySettings(m_oDifference->Path());  // what came of it is read back
    _WriteOwn();
    return "";
}

/// The library's walk writes another setting's value there, too.
void CProfileApplication::_WriteOwn() const {
    for (const CProfileSetting& rSetting : m_rMachine) {
        if (rSetting.eApplied != EApplied::kByTool || !rSetting.Setting.oValue) continue;
        CProfileNames Shared = rSetting;
        Shared.sKey = rSetting.sSharedKey;
        const std::optional<double> oOwn = m_rProfile.Value(rSetting);
        const double dWanted = oOwn ? *oOwn : m_rProfile.Value(Shared).value_or(*rSetting.Setting.oValue);
        if (g_ReadsOtherwise(rSetting, dWanted)) rSetting.Write(dWanted);
    }
}

bool CProfileApplication::WantsUndone() {
    m_bUndone = !m_bAsks || vxttools::g_WasInterrupted() ||
                vxttools::g_AskYes("Not everything was taken. Put back what was in force before?") ||
                vxttools::g_WasInterrupted();
    return m_bUndone;
}

bool CProfileApplication::_PutBackRest() const {
    bool bAll = true;
    for (const CProfileSetting& rSetting : m_rMachine) {
        const std::optional<double>& roBefore = rSetting.Setting.oValue;
        if (!roBefore || !g_ReadsOtherwise(rSetting, *roBefore) || g_WriteAlone(rSetting, *roBefore)) continue;
        bAll = false;
        vxttools::g_PrintRemark(rSetting.sOwner + ": " + rSetting.Setting.sLabel + ": it could not be put back");
    }
    return bAll;
}

void CProfileApplication::_TellRest() const {
    for (const CProfileSetting& rSetting : m_rMachine) {
        const CSetting& rBefore = rSetting.Setting;
        const bool bAsked = std::ranges::count(m_rTargets, &rSetting, &CProfileTarget::pSetting) != 0;
        if (bAsked || !rBefore.oValue) continue;
        const std::optional<double> oNow = rSetting.Read();
        if (vxttools::g_ReadsAs(oNow, *rBefore.oValue, rBefore.dTolerance)) continue;
        vxttools::g_PrintRemark(rSetting.sOwner + ": " + rBefore.sLabel + ": changed along, from " +
                                rBefore.Text(*rBefore.oValue) + " to " +
                                (oNow ? rBefore.Text(*oNow) : "what cannot be read") + " " + rBefore.sUnit);
    }
}

EExit CProfileApplication::Finish(EExit eExit) {
    if (!m_bBegun) return eExit;
    if (!m_bUndone) _TellRest();
    if (m_bUndone && !_PutBackRest()) eExit = EExit::kFailed;
    const bool bBack = m_bUndone && eExit != EExit::kFailed;
    m_Applied.bFinished = !m_bUndone;
    if (!m_rRecords.TrySetLast(bBack ? m_oEarlier : std::optional(m_Applied))) eExit = EExit::kFailed;
    if (m_bUndone && !bBack)
        vxttools::g_PrintRemark("not everything could be put back: 'vxtctl profile rollback' tries again");
    return eExit;
}

}  // namespace vxtctl
