#include "benchmark_file.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <iterator>
#include <system_error>

#include "common/console.h"
#include "common/exit_code.h"
#include "common/text.h"

namespace vxtctl {

using vxttools::CFailure;
using vxttools::CJson;
using vxttools::EExit;

namespace {

constexpr const char* kFormat = "vxtctl bench";
constexpr int kVersion = 1;
constexpr std::streamsize kLongest = 1 << 20;  ///< bytes; a hundred runs of all scores take some ten thousand

constexpr double kSmallest = 1e-6, kLargest = 1e12;  ///< of any score, far beyond what computers do

/// A file as it is taken apart: every complaint names it and the member.
class CReader {
public:
    explicit CReader(const std::string& sFile) : m_sFile(sFile) {}

    [[noreturn]] void Refuse(const std::string& sWhat) const {
        throw CFailure(EExit::kFailed, m_sFile + " holds no scores to compare with: " + sWhat);
    }
    CJson Parse() const {
        std::ifstream File(vxttools::g_Path(m_sFile), std::ios::binary);
        std::string sText(static_cast<size_t>(kLongest) + 1, '\0');
        File.read(sText.data(), static_cast<std::streamsize>(sText.size()));
        if (!File.is_open() || File.bad() || (File.fail() && !File.eof()))
            throw CFailure(EExit::kFailed,
                           m_sFile + " cannot be read: " + std::generic_category().message(errno ? errno : EIO));
        sText.resize(static_cast<size_t>(File.gcount()));
        if (File.gcount() > kLongest) Refuse("it is longer than any of them");
        const std::optional<CJson> oJson = CJson::Parse(sText);
        if (!oJson || !oJson->IsObject()) Refuse("it is no JSON object, or not all of one");
        return *oJson;
    }
    const CJson& Member(const CJson& rObject, const char* pszKey, const std::string& sWhere = "") const {
        if (!rObject.Has(pszKey)) Refuse(sWhere + pszKey + " is missing");
        return rObject[pszKey];
    }
    std::string Text(const CJson& rObject, const char* pszKey, const std::string& sWhere = "") const {
        const CJson& rMember = Member(rObject, pszKey, sWhere);
        if (!rMember.IsText()) Refuse(sWhere + pszKey + " is no text");
        return rMember.Text();
    }
    const std::vector<CJson>& Items(const CJson& rObject, const char* pszKey, const std::string& sWhere = "") const {
        const CJson& rMember = Member(rObject, pszKey, sWhere);
        if (!rMember.IsArray()) Refuse(sWhere + pszKey + " is no list");
        return rMember.Items();
    }

private:
    const std::string m_sFile;
};

CRuns g_Runs(const CReader& rReader, const CJson& rScore, const std::string& sWhere) {
    CRuns Runs;
    for (const CJson& rValue : rReader.Items(rScore, "runs", sWhere)) {
        const std::optional<double> oValue = rValue.Number();
        if (!oValue || !(*oValue >= kSmallest && *oValue <= kLargest))
            rReader.Refuse(sWhere + "runs/" + std::to_string(Runs.Values.size()) +
                           " is no number that a benchmark gives");
        Runs.Values.push_back(*oValue);
    }
    if (Runs.Values.size() < kFewestToCompare)
        rReader.Refuse(sWhere + "runs has less than " + std::to_string(kFewestToCompare) + " numbers");
    return Runs;
}

}  // namespace

const CRuns* CSavedScores::Find(const char* pszName) const {
    const auto it = Scores.find(pszName);
    return it == Scores.end() ? nullptr : &it->second;
}

CSavedScores g_LoadScores(const std::string& sFile) {
    const CReader Reader(sFile);
    const CJson Json = Reader.Parse();
    if (Reader.Text(Json, "format") != kFormat) Reader.Refuse("format is not '" + std::string(kFormat) + "'");
    if (Reader.Member(Json, "version").Number() != kVersion)
        Reader.Refuse("version is not " + std::to_string(kVersion) + ", the one that is known here");
    CSavedScores Saved{sFile, Reader.Text(Json, "processor"), Reader.Text(Json, "ts"), {}};
    size_t uScore = 0;
    for (const CJson& rScore : Reader.Items(Json, "scores")) {
        const std::string sWhere = "scores/" + std::to_string(uScore++) + "/";
        const std::string sName = Reader.Text(rScore, "name", sWhere);
        const CScoreRow* const pRow = g_FindScore(sName);
        if (!pRow) Reader.Refuse(sWhere + "name is no score that is known here");
        if (Reader.Text(rScore, "unit", sWhere) != pRow->pszUnit)
            Reader.Refuse(sWhere + "unit is not " + pRow->pszUnit);
        if (!Saved.Scores.emplace(sName, g_Runs(Reader, rScore, sWhere)).second)
            Reader.Refuse(sWhere + "name is there twice");
    }
    return Saved;
}

std::string g_ScoreFileText(const std::vector<CScore>& rScores, const std::string& sProcessor) {
    CJson Scores = CJson::Array();
    for (const CScore& rScore : rScores)
        if (!rScore.Runs.Values.empty())
            Scores.Push(
                {{"name", rScore.pRow->pszName}, {"unit", rScore.pRow->pszUnit}, {"runs", rScore.Runs.ToJson()}});
    const CJson File{{"format", kFormat},           {"version", kVersion},
                     {"tool_version", VXT_VERSION}, {"ts", vxttools::g_IsoTime(std::chrono::system_clock::now())},
                     {"processor", sProcessor},     {"scores", std::move(Scores)}};
    return File.Dump(2) + "\n";
}

}  // namespace vxtctl
