#include "common/own_file.h"

#include <filesystem>
#include <fstream>

#include "common/console.h"
#include "common/exit_code.h"
#include "common/file_replacement.h"
#include "common/output.h"

namespace vxttools {

void g_CheckOwnFile(const std::string& sFile, std::string_view sMark, const std::string& sKind) {
    namespace fs = std::filesystem;
    const fs::path Path = g_Path(sFile);
    g_OnFile(sFile, [&] { const CFileReplacement Test(Path); });
    std::error_code Ignored;
    if (!fs::is_regular_file(Path, Ignored) || fs::file_size(Path, Ignored) == 0) return;
    constexpr size_t kLooked = 1024;  // bytes; a comment or a document type may stand in front
    std::string sBegin(kLooked, '\0');
    std::ifstream File(Path, std::ios::binary);
    File.read(sBegin.data(), kLooked);
    sBegin.resize(static_cast<size_t>(File.gcount()));
    if (sBegin.find(sMark) == sBegin.npos)
        throw CFailure(EExit::kFailed, sFile + " is no " + sKind + " and stays as it is; nothing was done");
}

}  // namespace vxttools
