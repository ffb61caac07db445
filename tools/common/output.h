// Where answers and remarks go: data to stdout or a file, everything else to stderr.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "common/document.h"

namespace vxttools {

enum class EFormat { kText, kJson, kCsv };

class COutput {
public:
    COutput() = default;
    COutput(const COutput&) = delete;
    ~COutput();

    /// No file: stdout. Refuses a file that cannot be written before anything has been done to the machine.
    void Open(EFormat eFormat, const std::optional<std::string>& oColor, const std::optional<std::string>& oFile,
              bool bQuiet);
    /// The command's answer; once per command.
    void Emit(const CDocument& rDocument);
    /// Bytes as they are, in place of a document.
    void EmitRaw(const std::string& sData);
    /// A remark on stderr; silent when quiet.
    void Note(const std::string& sText) const;
    EFormat Format() const { return m_eFormat; }

private:
    EFormat m_eFormat = EFormat::kText;
    bool m_bColor = false, m_bQuiet = false, m_bEmitted = false, m_bFileIsNew = false;
    std::optional<std::string> m_oFile;
    std::filesystem::path m_Path;
};

/// Replaces a file's contents; ends the command when that fails.
void g_WriteFile(const std::filesystem::path& rPath, const std::string& sName, const std::string& sData);

}  // namespace vxttools
