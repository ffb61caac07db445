// What the tools need of the terminal and the process around them.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vxttools {

/// Makes the standard streams fit for UTF-8 with plain line feeds, and lets the first request to end (Ctrl-C, SIGTERM, a
/// closed terminal or console) only be remembered; a second one ends the process at once. Returns the arguments as UTF-8,
/// without the program's name.
std::vector<std::string> g_StartConsole(int nArguments, char** ppszArguments);

/// The terminal behind the standard streams.
struct CTerminal {
    bool bStdin;     ///< stdin is one
    bool bObedient;  ///< stdout is one that obeys control sequences
    std::optional<size_t> oStdoutColumns,
        oStderrColumns;  ///< nothing where the stream goes elsewhere, or it does not tell
};
/// Of this process.
CTerminal g_OwnTerminal();
/// For a process that only pipes connect with one: that it is to go by from now on.
void g_BorrowTerminal(const CTerminal& rTerminal);

bool g_IsStdinTerminal();

/// How many columns the terminal has that the stream writes to; nothing where it is none, or does not tell.
std::optional<size_t> g_StdoutColumns();
std::optional<size_t> g_StderrColumns();

struct CTerminalSize {
    size_t uColumns, uRows;
    bool operator==(const CTerminalSize&) const = default;
};
/// Of the terminal behind stdout, as it is now; nothing where it is none, or does not tell.
std::optional<CTerminalSize> g_StdoutSize();

/// Whether stdout is a terminal that obeys control sequences.
bool g_IsStdoutObedient();

/// What a terminal needs so that a program has it for itself, and so that it is as it was.
struct CScreenWords {
    const char *pszTake, *pszGiveBack;
};
/// As long as they are set, stdout gets the second ones also when a second request ends the process at once and when the
/// shell stops it (Ctrl-Z), and the first ones when it goes on. They live as long as the process; null: nothing.
void g_HoldScreen(const CScreenWords* pWords);
/// The process was stopped, and went on, since the last call: what was on the screen is gone.
bool g_WentOn();

/// Waits for a line on stdin, or for a request to end: false.
bool g_WaitForInput();
/// What there is on stdin; waits until there is something. Empty: its end. Nothing else may read it.
std::string g_ReadInput(size_t uMost = 4096);
/// A line of stdin without its end; false: there is none any more.
bool g_ReadLine(std::string& rsLine);

/// Waits so long, or until a request to end: false.
bool g_Pause(std::chrono::milliseconds Duration);

/// The process was asked to end; commands look between two steps and g_AskYes gives up.
bool g_WasInterrupted();

/// Empty when unset.
std::string g_Environment(const char* pszName);
/// For this process and the libraries it loads later.
void g_SetEnvironment(const char* pszName, const std::string& sValue);

/// Where programs of this user keep what has to outlive them (XDG_STATE_HOME or ~/.local/state; %LOCALAPPDATA%). It need not
/// be there yet; empty: there is no such place.
std::filesystem::path g_StateFolder();

/// Processors of this system that programs may use.
uint32_t g_ProcessorCount();

/// A path from UTF-8.
std::filesystem::path g_Path(const std::string& sUtf8);
/// The name of a path's file, without its folders; both UTF-8.
std::string g_FileName(const std::string& sUtf8);
std::filesystem::path g_Executable();
std::filesystem::path g_ExecutableFolder();

/// Prints the question on stderr and reads one line: true for "y" or "yes".
bool g_AskYes(const std::string& sQuestion);

}  // namespace vxttools
