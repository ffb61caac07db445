// A table that grows by whole lines, whatever happens.
#pragma once

#include <chrono>
#include <string>

#include "common/append_file.h"

namespace vxttools {

/// Lines below a heading, added by one process at a time; who is killed leaves whole ones. Each failure ends the command
/// with the file's name and the reason.
class CLineFile {
public:
    /// An empty or new file gets the heading; one with another first line is refused. An incomplete line at the end, which
    /// a system that crashed may leave, is taken away.
    CLineFile(const std::string& sName, const std::string& sHeading);

    /// A line was taken away.
    bool WasTorn() const { return m_bTorn; }
    /// One line, in one write; what a full disk took of it is taken back. Every ten seconds the disk has all up to then.
    void Append(const std::string& sLine);
    /// The disk has all.
    void Sync();

private:
    std::string m_sName;
    CAppendFile m_File;
    bool m_bTorn = false;
    std::chrono::steady_clock::time_point m_LastSync = std::chrono::steady_clock::now();
};

}  // namespace vxttools
