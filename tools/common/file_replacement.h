// Writing a file so that its readers find either all of the old contents or all of the new ones.
#pragma once

#include <filesystem>
#include <string_view>

namespace vxttools {

/// A new file beside the old one, whose place it takes once it is complete and on the disk. The old one's permissions
/// are kept, a symbolic link stays and its target is replaced. What is no plain file (a device, a FIFO) is written as
/// it is. Failures are thrown as std::system_error with the system's reason.
class CFileReplacement {
public:
    /// Makes the new file, still empty: fails where Commit would. A special file is only asked for permission.
    explicit CFileReplacement(const std::filesystem::path& rPath);
    CFileReplacement(const CFileReplacement&) = delete;
    /// Without a Commit nothing is left behind.
    ~CFileReplacement();

    /// Writes the contents and puts the file into its place. Once at most.
    void Commit(std::string_view sData);

private:
    std::filesystem::path m_Target, m_New;  ///< no new one: the target is a special file
};

}  // namespace vxttools
