#include "hold_records.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <limits>
#include <system_error>

#include "common/console.h"
#include "common/exit_code.h"
#include "common/file_replacement.h"
#include "common/json.h"

namespace vxtctl {

using vxttools::CFailure;
using vxttools::CJson;
using vxttools::EExit;

namespace fs = std::filesystem;

namespace {

constexpr int kVersion = 1;
constexpr std::uintmax_t kLongest = 1u << 20;  ///< bytes; a record has some hundred

/// The state file that the simulated PC lives on in; empty: it lives in none.
std::string g_SimulatedPc() {
    const std::string sState = vxttools::g_Environment("VXT_STATE");
    return sState.empty() ? "" : fs::absolute(vxttools::g_Path(sState)).lexically_normal().string();
}

CJson g_ToJson(const CHoldRecord& rRecord) {
    return {{"fan", rRecord.sFan},     {"chip", rRecord.sChip},       {"pc", rRecord.sPc},
            {"begun", rRecord.sBegun}, {"control", rRecord.uControl}, {"duty", rRecord.oDuty}};
}

/// A whole number below the limit; nothing otherwise.
std::optional<uint32_t> g_Whole(const CJson& rValue, double dMost) {
    const std::optional<double> oNumber = rValue.Number();
    if (!oNumber || !(*oNumber >= 0 && *oNumber <= dMost) || *oNumber != static_cast<uint32_t>(*oNumber))
        return std::nullopt;
    return static_cast<uint32_t>(*oNumber);
}

/// Nothing where it is no record.
std::optional<CHoldRecord> g_FromJson(const CJson& rValue) {
    CHoldRecord Record;
    for (const auto& [pszKey, pText] : {std::pair("fan", &Record.sFan), std::pair("chip", &Record.sChip),
                                        std::pair("pc", &Record.sPc), std::pair("begun", &Record.sBegun)}) {
        if (!rValue.Has(pszKey) || !rValue[pszKey].IsText()) return std::nullopt;
        *pText = rValue[pszKey].Text();
    }
    if (!rValue.Has("control") || !rValue.Has("duty")) return std::nullopt;
    const auto oControl = g_Whole(rValue["control"], std::numeric_limits<uint32_t>::max());
    Record.oDuty = g_Whole(rValue["duty"], 100);
    if (!oControl || (!Record.oDuty && !rValue["duty"].IsNull())) return std::nullopt;
    Record.uControl = *oControl;
    return Record;
}

std::optional<std::vector<CHoldRecord>> g_Parse(const std::string& sText) {
    const std::optional<CJson> oFile = CJson::Parse(sText);
    if (!oFile || !oFile->Has("version") || (*oFile)["version"].Number() != kVersion || !oFile->Has("holds") ||
        !(*oFile)["holds"].IsArray())
        return std::nullopt;
    std::vector<CHoldRecord> Records;
    for (const CJson& rItem : std::as_const(*oFile)["holds"].Items()) {
        std::optional<CHoldRecord> oRecord = g_FromJson(rItem);
        if (!oRecord) return std::nullopt;
        Records.push_back(std::move(*oRecord));
    }
    return Records;
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

CHoldRecords::CHoldRecords(const CHostLibrary& rLibrary) {
    if (rLibrary.IsSimulated()) {
        m_sPc = g_SimulatedPc();
        m_bOutlives = !m_sPc.empty();
        if (!m_bOutlives) return;
    }
    const fs::path Folder = vxttools::g_StateFolder();
    if (Folder.empty()) return;
    m_File = Folder / "vxt" / "held-fans.json";
    _Read();
}

void CHoldRecords::_Read() {
    m_Records.clear();
    g_OnFile(m_File, "cannot be read", [&] {
        if (!fs::exists(m_File)) return;
        std::ifstream File(m_File, std::ios::binary);
        if (!File) throw std::system_error(errno, std::generic_category());
        const bool bShort = fs::is_regular_file(m_File) && fs::file_size(m_File) <= kLongest;
        const std::string sText = bShort ? std::string(std::istreambuf_iterator<char>(File), {}) : "";
        std::optional<std::vector<CHoldRecord>> oRecords = g_Parse(sText);
        if (!oRecords)
            throw CFailure(EExit::kFailed, m_File.string() +
                                               ": not what vxtctl keeps there of fans that it holds; nothing was done. "
                                               "Without the file it begins anew, and fans stay as they are");
        m_Records = std::move(*oRecords);
    });
}

bool CHoldRecords::IsHeldElsewhere() {
    if (m_oElsewhere || !HasPlace()) return m_oElsewhere.value_or(false);
    g_OnFile(m_File, "cannot be written", [&] {
        const fs::path Folder = m_File.parent_path();
        if (fs::create_directories(Folder)) fs::permissions(Folder, fs::perms::owner_all);
        try {
            m_oLock.emplace(Folder / "held-fans.lock");
        } catch (const std::system_error& rError) {
            if (rError.code() != std::errc::device_or_resource_busy) throw;
        }
        m_oElsewhere = !m_oLock;
    });
    _Read();  // nobody else changes them from here on
    return *m_oElsewhere;
}

std::vector<CHoldRecord> CHoldRecords::OfThisPc() const {
    std::vector<CHoldRecord> Records = m_Records;
    std::erase_if(Records, [&](const CHoldRecord& r) { return r.sPc != m_sPc; });
    return Records;
}

std::optional<CHoldRecord> CHoldRecords::Find(const std::string& sFan) const {
    for (const CHoldRecord& rRecord : OfThisPc())
        if (rRecord.sFan == sFan) return rRecord;
    return std::nullopt;
}

std::string CHoldRecords::LeftBehind(const std::string& sFan) const {
    const std::optional<CHoldRecord> oRecord = Find(sFan);
    return sFan.substr(1) + ": a hold" + (oRecord ? " of " + oRecord->sBegun : "") +
           " ended without putting back what was in force; 'vxtctl fan restore' does";
}

void CHoldRecords::Add(std::vector<CHoldRecord> Records) {
    for (CHoldRecord& rRecord : Records) {
        rRecord.sPc = m_sPc;
        m_Records.push_back(std::move(rRecord));
    }
    _Write();
}

void CHoldRecords::Remove(const std::vector<std::string>& rFans) {
    const auto IsMeant = [&](const CHoldRecord& r) { return r.sPc == m_sPc && std::ranges::count(rFans, r.sFan); };
    if (std::erase_if(m_Records, IsMeant) != 0) _Write();
}

void CHoldRecords::_Write() const {
    if (!HasPlace()) return;
    CJson File{{"version", kVersion}, {"holds", CJson::Array()}};
    for (const CHoldRecord& rRecord : m_Records) File["holds"].Push(g_ToJson(rRecord));
    g_OnFile(m_File, "cannot be written", [&] {
        if (m_Records.empty())
            fs::remove(m_File);
        else
            vxttools::CFileReplacement(m_File).Commit(File.Dump(2) + "\n");
    });
}

}  // namespace vxtctl
