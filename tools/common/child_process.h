// This program once more, as a process of its own that outlives the terminal and the process that started it.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vxttools {

/// It has no terminal or console: Ctrl-C and a closed terminal do not reach it, and it inherits nothing but the other ends
/// of three pipes. What it writes on stderr while nobody reads is lost, so that it never waits for that. Failures to start
/// it are thrown as std::system_error.
class CChildProcess {
public:
    explicit CChildProcess(const std::vector<std::string>& rArguments);
    CChildProcess(const CChildProcess&) = delete;
    /// Lets it run on; what it reads has ended.
    ~CChildProcess();

    /// To its stdin. False: nobody reads there any more. Any thread.
    bool Send(std::string_view sData);
    /// Its stdin has ended from now on. Any thread.
    void CloseInput();

    /// What it wrote meanwhile; waits until there is something. Empty: it has ended. One thread each.
    std::string ReadOutput() { return _Read(m_nOutput); }
    std::string ReadErrors() { return _Read(m_nErrors); }

    /// Waits for its end. Returns its exit code; nothing: it was killed.
    std::optional<int> Wait();

private:
    std::string _Read(intptr_t nPipe) const;
    bool _Write(std::string_view sData) const;
    static void _Close(intptr_t nPipe);

    std::mutex m_Mutex;  ///< of the input
    bool m_bInputOpen = true;
    // Descriptors or handles.
    intptr_t m_nInput = 0, m_nOutput = 0, m_nErrors = 0, m_nProcess = 0;
};

}  // namespace vxttools
