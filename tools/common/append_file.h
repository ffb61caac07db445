// A file that one process at a time adds to.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace vxttools {

/// Open and locked as long as it lives. Failures are thrown as std::system_error with the system's reason; where another
/// process has the file open to write, that is std::errc::device_or_resource_busy.
class CAppendFile {
public:
    /// Makes the file where there is none. Refuses folders, pipes and sockets.
    explicit CAppendFile(const std::filesystem::path& rPath);
    CAppendFile(const CAppendFile&) = delete;
    ~CAppendFile();

    /// A device has no contents, and nothing in it can be taken back.
    bool IsPlain() const { return m_bPlain; }
    uint64_t Size() const;
    /// May be shorter than `uSize`: at the end of the file.
    std::string Read(uint64_t ullOffset, size_t uSize) const;
    void Truncate(uint64_t ullSize);
    /// At the end, in one write where the system takes it as a whole. What a failure leaves there is up to the caller.
    void Append(std::string_view sData);
    /// Until the disk has it.
    void Sync();

private:
    intptr_t m_nFile;  ///< descriptor or handle
    bool m_bPlain = false;
};

}  // namespace vxttools
