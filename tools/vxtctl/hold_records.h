// What was in force before fans were held for a while, on disk: a process that is killed cannot put it back, the next can.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "common/append_file.h"
#include "host_library.h"

namespace vxtctl {

/// A fan's control before it was held.
struct CHoldRecord {
    std::string sFan;    ///< id, "/environment/0/fan/1"
    std::string sChip;   ///< the chip's model: what was saved is of its own form
    std::string sPc;     ///< which simulated PC, by the file that keeps its state; empty: the one that this is
    std::string sBegun;  ///< UTC, "2026-11-22T03:00:00.000Z"
    uint32_t uControl;   ///< as SaveFanControl gave it
    std::optional<uint32_t> oDuty;  ///< percent; nothing: the chip drove the fan
};

/// The records of this user, of all PCs. They are read when an object is made, which ends the command when they are no
/// such records; its changes are on disk when the call returns. A folder that cannot be written ends the command, too.
class CHoldRecords {
public:
    explicit CHoldRecords(const CHostLibrary& rLibrary);

    /// Without a place nothing is kept.
    bool HasPlace() const { return !m_File.empty(); }
    /// There should be one: the PC outlives the process.
    bool NeedsPlace() const { return m_bOutlives; }
    std::string FileName() const { return m_File.string(); }

    /// Another process holds fans. Asks once; if none does, this process has the lock from now on, and the records are
    /// read anew.
    bool IsHeldElsewhere();

    /// Of this PC.
    std::vector<CHoldRecord> OfThisPc() const;
    std::optional<CHoldRecord> Find(const std::string& sFan) const;

    /// What to say of a record whose process is gone.
    std::string LeftBehind(const std::string& sFan) const;

    // With the lock only.
    void Add(std::vector<CHoldRecord> Records);
    void Remove(const std::vector<std::string>& rFans);

private:
    void _Read();
    void _Write() const;

    std::filesystem::path m_File;
    std::string m_sPc;
    bool m_bOutlives = true;
    std::vector<CHoldRecord> m_Records;
    std::optional<bool> m_oElsewhere;
    std::optional<vxttools::CAppendFile> m_oLock;  ///< of an empty file: the records' own is replaced at each change
};

}  // namespace vxtctl
