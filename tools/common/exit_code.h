// How a tool ends: the exit code and, for everything but success, one line that says why.
#pragma once

#include <stdexcept>
#include <string>

namespace vxttools {

/// Exit codes of both tools; scripts rely on the numbers.
enum class EExit : int {
    kDone = 0,
    kFailed = 1,
    kUsage = 2,
    kNoSuchDevice = 3,
    kNoLibrary = 4,
    kNotTaken = 5,
    kFindings = 6,
    kInterrupted = 130,
};

struct CExitMeaning {
    EExit eExit;
    const char* pszMeaning;
};
/// As help and manual pages tell it.
inline constexpr CExitMeaning kExitMeanings[] = {
    {EExit::kDone, "done"},
    {EExit::kFailed, "failed"},
    {EExit::kUsage, "wrong usage"},
    {EExit::kNoSuchDevice, "no such device or setting"},
    {EExit::kNoLibrary, "library or driver not available"},
    {EExit::kNotTaken, "the hardware did not take the value"},
    {EExit::kFindings,
     "done, with findings: something that belongs to the answer could not be read, a limit is exceeded, a profile "
     "differs, the stability test found errors, or a score became worse"},
    {EExit::kInterrupted, "interrupted"},
};

/// Ends the command: the message goes to stderr (an empty one nowhere), the code becomes the tool's.
class CFailure : public std::runtime_error {
public:
    CFailure(EExit eExit, const std::string& sMessage) : std::runtime_error(sMessage), m_eExit(eExit) {}
    EExit Exit() const { return m_eExit; }

private:
    EExit m_eExit;
};

}  // namespace vxttools
