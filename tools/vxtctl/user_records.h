// What has to outlive the process that noted it: records of this user on disk, in one file for each kind, of all PCs.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "common/append_file.h"
#include "common/json.h"
#include "host_library.h"

namespace vxtctl {

/// One kind of records.
struct CRecordKind {
    const char* pszFile;    ///< without ".json"; a lock of that name lies beside it
    const char* pszMember;  ///< of the file, which holds them
    const char* pszWhat;    ///< "not what vxtctl keeps there of ..."; what comes of it when the file is taken away
    int nVersion;
    bool (*pIsRecord)(const vxttools::CJson& rRecord);
};

/// They are read when an object is made, which ends the command when they are no such records; changes are on disk when
/// the call returns, whole. A folder that cannot be written ends the command, too.
class CUserRecords {
public:
    CUserRecords(const CHostLibrary& rLibrary, const CRecordKind& rKind);

    /// Without a place nothing is kept.
    bool HasPlace() const { return !m_File.empty(); }
    /// There should be one: the PC outlives the process.
    bool NeedsPlace() const { return m_bOutlives; }
    std::string FileName() const { return m_File.string(); }
    std::filesystem::path Folder() const { return m_File.parent_path(); }

    /// Another process works with what they are about. Asks once; if none does, this process has the lock from now on,
    /// and the records are read anew.
    bool IsBusyElsewhere();

    /// Of this PC: which simulated PC it is tells the file that keeps its state, in the member "pc"; empty: the real one.
    std::vector<vxttools::CJson> OfThisPc() const;
    /// In the place of those. With the lock only.
    void Replace(std::vector<vxttools::CJson> Records);

private:
    void _Read();
    bool _IsOfThisPc(const vxttools::CJson& rRecord) const;

    const CRecordKind& m_rKind;
    std::filesystem::path m_File;
    std::string m_sPc;
    bool m_bOutlives = true;
    std::vector<vxttools::CJson> m_Records;
    std::optional<bool> m_oElsewhere;
    std::optional<vxttools::CAppendFile> m_oLock;  ///< of an empty file: the records' own is replaced at each change
};

}  // namespace vxtctl
