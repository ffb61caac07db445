#include "common/output.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "common/console.h"
#include "common/exit_code.h"
#include "common/file_replacement.h"
#include "common/text.h"

namespace vxttools {

void g_CannotWrite(const std::string& sWhat, const std::error_code& rReason) {
    const bool bTaken = rReason == std::errc::device_or_resource_busy;
    throw CFailure(EExit::kFailed,
                   "cannot write " + sWhat + ": " + (bTaken ? "another process is writing to it" : rReason.message()));
}

size_t g_OutputWidth(bool bToFile) {
    if (const auto oColumns = bToFile ? std::nullopt : g_StdoutColumns()) return *oColumns;
    const uint32_t uColumns = g_ParseUnsigned(g_Environment("COLUMNS")).value_or(0);
    return uColumns ? uColumns : kUnlimited;
}

void g_WriteFile(const std::filesystem::path& rPath, const std::string& sName, const std::string& sData) {
    g_OnFile(sName, [&] { CFileReplacement(rPath).Commit(sData); });
}

void g_Print(const std::string& sData) {
    const bool bWritten = std::fwrite(sData.data(), 1, sData.size(), stdout) == sData.size();
    if (bWritten && std::fflush(stdout) == 0) return;
    // Amid the write, or because the terminal is gone.
    if (g_WasInterrupted() && (errno == EINTR || errno == EIO)) throw CFailure(EExit::kInterrupted, "");
    if (errno == EPIPE) throw CFailure(EExit::kFailed, "");  // the reader has seen enough: nothing to complain about
    g_CannotWrite("to standard output", std::error_code(errno, std::generic_category()));
}

void g_TestLogFolder() {
    g_OnFile("the log below ./Logs", [] {
        std::filesystem::create_directories("Logs");
        const CFileReplacement Test("Logs/test");
    });
}

void g_PrintRemark(const std::string& sText) {
    std::fputs(g_WrapLines(sText + "\n", g_StderrColumns().value_or(kUnlimited)).c_str(), stderr);
}

void COutput::Open(EFormat eFormat, const std::optional<std::string>& oColor, const std::optional<std::string>& oFile,
                   bool bQuiet) {
    m_eFormat = eFormat;
    m_bQuiet = bQuiet;
    if (oFile != "-") m_oFile = oFile;
    m_uWidth = g_OutputWidth(m_oFile.has_value());
    const bool bAuto = !m_oFile && g_IsStdoutObedient() && g_Environment("NO_COLOR").empty();
    m_bColor = oColor.value_or("auto") == "auto" ? bAuto : oColor == "always";
    if (m_oFile) g_OnFile(*m_oFile, [&] { CFileReplacement Test(g_Path(*m_oFile)); });
}

void COutput::Emit(const CDocument& rDocument) {
    if (m_eFormat == EFormat::kJson) return _Write(rDocument.Json());
    if (m_eFormat == EFormat::kCsv) return _Write(rDocument.Csv());
    std::vector<std::string> LeftOut;
    _Write(rDocument.Text(m_bColor, m_uWidth, &LeftOut));
    std::string sNames;
    for (const std::string& rsName : LeftOut) sNames += (sNames.empty() ? "" : ", ") + rsName;
    if (!sNames.empty()) Note("columns not shown: " + sNames + " (--json has all, a wider terminal too)");
}

void COutput::EmitRaw(const std::string& sData) {
    if (m_eFormat != EFormat::kText)
        throw CFailure(EExit::kUsage, "this command answers in plain text: it takes neither --json nor --csv");
    _Write(sData);
}

void COutput::_Write(const std::string& sData) {
    if (m_oFile)
        g_WriteFile(g_Path(*m_oFile), *m_oFile, sData);
    else
        g_Print(sData);
}

void COutput::Note(const std::string& sText) const {
    if (!m_bQuiet) g_PrintRemark(sText);
}

}  // namespace vxttools
