// Where answers and remarks go: data to stdout or a file, everything else to stderr.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include "common/document.h"

namespace vxttools {

enum class EFormat { kText, kJson, kCsv };

class COutput {
public:
    COutput() = default;
    COutput(const COutput&) = delete;

    /// No file, or "-": stdout. Refuses a file that cannot be written before anything has been done to the machine.
    void Open(EFormat eFormat, const std::optional<std::string>& oColor, const std::optional<std::string>& oFile,
              bool bQuiet);
    /// The command's answer; once per command. Text that goes to a terminal fits it.
    void Emit(const CDocument& rDocument);
    /// Bytes as they are, in place of a document. Ends the command when another format than text was asked for.
    void EmitRaw(const std::string& sData);
    /// A remark on stderr; silent when quiet.
    void Note(const std::string& sText) const;
    EFormat Format() const { return m_eFormat; }
    bool IsColored() const { return m_bColor; }

private:
    void _Write(const std::string& sData);

    EFormat m_eFormat = EFormat::kText;
    size_t m_uWidth = kUnlimited;  ///< of a line of text
    bool m_bColor = false, m_bQuiet = false;
    std::optional<std::string> m_oFile;
};

/// Ends the command.
[[noreturn]] void g_CannotWrite(const std::string& sWhat, const std::error_code& rReason);

/// Work on a file, whose failure ends the command. `sName` is what the message calls the file.
template <class TWork> auto g_OnFile(const std::string& sName, TWork Work) {
    try {
        return Work();
    } catch (const std::system_error& rError) { g_CannotWrite(sName, rError.code()); }
}

/// Replaces a file's contents, whole or not at all; ends the command when that fails. `sName` is what messages call it.
void g_WriteFile(const std::filesystem::path& rPath, const std::string& sName, const std::string& sData);

/// Of a line of text on stdout: the terminal's, else the one that COLUMNS asks for.
size_t g_OutputWidth(bool bToFile = false);

/// Writes to stdout and waits until it is gone; ends the command when that fails.
void g_Print(const std::string& sData);

/// Makes the folder of the library's log; ends the command when no file can be made in it.
void g_TestLogFolder();

/// A line on stderr, wrapped on a terminal.
void g_PrintRemark(const std::string& sText);

}  // namespace vxttools
