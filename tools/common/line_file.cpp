#include "common/line_file.h"

#include <algorithm>

#include "common/console.h"
#include "common/exit_code.h"
#include "common/output.h"

namespace vxttools {
namespace {

/// Where the last whole line ends.
uint64_t g_EndOfLines(const CAppendFile& rFile) {
    constexpr uint64_t kBlock = 4096;
    for (uint64_t ullEnd = rFile.Size(); ullEnd > 0;) {
        const uint64_t ullBegin = ullEnd - std::min(ullEnd, kBlock);
        const size_t uFeed = rFile.Read(ullBegin, static_cast<size_t>(ullEnd - ullBegin)).rfind('\n');
        if (uFeed != std::string::npos) return ullBegin + uFeed + 1;
        ullEnd = ullBegin;
    }
    return 0;
}

}  // namespace

CLineFile::CLineFile(const std::string& sName, const std::string& sHeading)
    : m_sName(sName), m_File(g_OnFile(sName, [&] { return CAppendFile(g_Path(sName)); })) {
    const std::string sFirst = sHeading + "\n";
    uint64_t ullLines = 0;  // up to where there are whole ones
    g_OnFile(m_sName, [&] {
        const std::string sBegin = m_File.IsPlain() ? m_File.Read(0, sFirst.size()) : "";
        if (!sFirst.starts_with(sBegin))  // of a torn heading there is less, and no line yet
            throw CFailure(EExit::kFailed,
                           "cannot add to " + m_sName +
                               ": its first line is not the heading of these columns; it was left as it is");
        if (!m_File.IsPlain()) return;
        ullLines = g_EndOfLines(m_File);
        m_bTorn = ullLines < m_File.Size();
        if (m_bTorn) m_File.Truncate(ullLines);
    });
    if (ullLines == 0) Append(sHeading);
}

void CLineFile::Append(const std::string& sLine) {
    constexpr std::chrono::seconds kSyncInterval{10};
    g_OnFile(m_sName, [&] {
        const uint64_t ullBefore = m_File.Size();
        try {
            m_File.Append(sLine + "\n");
        } catch (const std::system_error&) {
            if (m_File.IsPlain()) m_File.Truncate(ullBefore);
            throw;
        }
    });
    if (std::chrono::steady_clock::now() - m_LastSync >= kSyncInterval) Sync();
}

void CLineFile::Sync() {
    g_OnFile(m_sName, [&] { m_File.Sync(); });
    m_LastSync = std::chrono::steady_clock::now();
}

}  // namespace vxttools
