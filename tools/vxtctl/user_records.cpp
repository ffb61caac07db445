#include "user_records.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>

#include "common/console.h"
#include "common/exit_code.h"
#include "common/file_replacement.h"

namespace vxtctl {

using vxttools::CFailure;
using vxttools::CJson;
using vxttools::EExit;

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLongest = 1u << 20;  ///< bytes; a record has some hundred, one of all settings some thousand

/// The state file that the simulated PC lives on in; empty: it lives in none.
std::string g_SimulatedPc() {
    const std::string sState = vxttools::g_Environment("VXT_STATE");
    return sState.empty() ? "" : fs::absolute(vxttools::g_Path(sState)).lexically_normal().string();
}

std::optional<std::vector<CJson>> g_Parse(const std::string& sText, const CRecordKind& rKind) {
    const std::optional<CJson> oFile = CJson::Parse(sText);
    if (!oFile || !oFile->Has("version") || (*oFile)["version"].Number() != rKind.nVersion ||
        !oFile->Has(rKind.pszMember) || !(*oFile)[rKind.pszMember].IsArray())
        return std::nullopt;
    const std::vector<CJson>& rItems = std::as_const(*oFile)[rKind.pszMember].Items();
    const auto IsRecord = [&](const CJson& r) { return r.Has("pc") && r["pc"].IsText() && rKind.pIsRecord(r); };
    return std::ranges::all_of(rItems, IsRecord) ? std::optional(rItems) : std::nullopt;
}

/// Work on the file, whose failure ends the command.
void g_OnFile(const fs::path& rFile, const std::string& sWhat, auto Work) {
    try {
        Work();
    } catch (const std::system_error& rError) {
        throw CFailure(EExit::kFailed, rFile.string() + ": " + sWhat + ": " + rError.code().message());
    }
}

}  // namespace

CUserRecords::CUserRecords(const CHostLibrary& rLibrary, const CRecordKind& rKind) : m_rKind(rKind) {
    if (rLibrary.IsSimulated()) {
        m_sPc = g_SimulatedPc();
        m_bOutlives = !m_sPc.empty();
        if (!m_bOutlives) return;
    }
    const fs::path Folder = vxttools::g_StateFolder();
    if (Folder.empty()) return;
    m_File = Folder / "vxt" / (std::string(rKind.pszFile) + ".json");
    _Read();
}

void CUserRecords::_Read() {
    m_Records.clear();
    g_OnFile(m_File, "cannot be read", [&] {
        if (!fs::exists(m_File)) return;
        std::ifstream File(m_File, std::ios::binary);
        if (!File) throw std::system_error(errno, std::generic_category());
        const bool bShort = fs::is_regular_file(m_File) && fs::file_size(m_File) <= kLongest;
        const std::string sText = bShort ? std::string(std::istreambuf_iterator<char>(File), {}) : "";
        std::optional<std::vector<CJson>> oRecords = g_Parse(sText, m_rKind);
        if (!oRecords)
            throw CFailure(EExit::kFailed, m_File.string() + ": not what vxtctl keeps there of " + m_rKind.pszWhat);
        m_Records = std::move(*oRecords);
    });
}

bool CUserRecords::IsBusyElsewhere() {
    if (m_oElsewhere || !HasPlace()) return m_oElsewhere.value_or(false);
    g_OnFile(m_File, "cannot be written", [&] {
        if (fs::create_directories(Folder())) fs::permissions(Folder(), fs::perms::owner_all);
        try {
            m_oLock.emplace(Folder() / (std::string(m_rKind.pszFile) + ".lock"));
        } catch (const std::system_error& rError) {
            if (rError.code() != std::errc::device_or_resource_busy) throw;
        }
        m_oElsewhere = !m_oLock;
    });
    _Read();  // nobody else changes them from here on
    return *m_oElsewhere;
}

bool CUserRecords::_IsOfThisPc(const CJson& rRecord) const { return rRecord["pc"].Text() == m_sPc; }

std::vector<CJson> CUserRecords::OfThisPc() const {
    std::vector<CJson> Records = m_Records;
    std::erase_if(Records, [&](const CJson& r) { return !_IsOfThisPc(r); });
    return Records;
}

void CUserRecords::Replace(std::vector<CJson> Records) {
    std::erase_if(m_Records, [&](const CJson& r) { return _IsOfThisPc(r); });
    for (CJson& rRecord : Records) {
        rRecord["pc"] = m_sPc;
        m_Records.push_back(std::move(rRecord));
    }
    if (!HasPlace()) return;
    const CJson File{{"version", m_rKind.nVersion}, {m_rKind.pszMember, m_Records}};
    const std::string sText = File.Dump(2) + "\n";
    if (sText.size() > kLongest)  // which nobody would read again
        throw CFailure(EExit::kFailed, m_File.string() + ": cannot be written: the records of all PCs are too many");
    g_OnFile(m_File, "cannot be written", [&] {
        if (m_Records.empty())
            fs::remove(m_File);
        else
            vxttools::CFileReplacement(m_File).Commit(sText);
    });
}

}  // namespace vxtctl
