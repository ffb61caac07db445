#include "common/output.h"

#include <cstdio>
#include <fstream>

#include "common/console.h"
#include "common/exit_code.h"

namespace vxttools {

void g_WriteFile(const std::filesystem::path& rPath, const std::string& sName, const std::string& sData) {
    std::ofstream File(rPath, std::ios::binary | std::ios::trunc);
    File.write(sData.data(), static_cast<std::streamsize>(sData.size()));
    File.close();
    if (!File) throw CFailure(EExit::kFailed, "cannot write " + sName);
}

void COutput::Open(EFormat eFormat, const std::optional<std::string>& oColor, const std::optional<std::string>& oFile,
                   bool bQuiet) {
    m_eFormat = eFormat;
    m_bQuiet = bQuiet;
    m_oFile = oFile;
    const bool bAuto = !oFile && g_IsStdoutTerminal() && g_Environment("NO_COLOR").empty();
    m_bColor = oColor.value_or("auto") == "auto" ? bAuto : oColor == "always";
    if (!oFile) return;
    m_Path = g_Path(*oFile);
    m_bFileIsNew = !std::filesystem::exists(m_Path);
    if (!std::ofstream(m_Path, std::ios::app)) throw CFailure(EExit::kFailed, "cannot write " + *oFile);
}

COutput::~COutput() {
    std::error_code Ignored;
    if (m_bFileIsNew && !m_bEmitted) std::filesystem::remove(m_Path, Ignored);
}

void COutput::Emit(const CDocument& rDocument) {
    EmitRaw(m_eFormat == EFormat::kJson  ? rDocument.Json()
            : m_eFormat == EFormat::kCsv ? rDocument.Csv()
                                         : rDocument.Text(m_bColor));
}

void COutput::EmitRaw(const std::string& sData) {
    m_bEmitted = true;
    if (m_oFile) return g_WriteFile(m_Path, *m_oFile, sData);
    const bool bWritten = std::fwrite(sData.data(), 1, sData.size(), stdout) == sData.size();
    if (!bWritten || std::fflush(stdout) != 0) throw CFailure(EExit::kFailed, "cannot write to standard output");
}

void COutput::Note(const std::string& sText) const {
    if (!m_bQuiet) std::fputs((sText + "\n").c_str(), stderr);
}

}  // namespace vxttools
