// What was in force before fans were held for a while, on disk: a process that is killed cannot put it back, the next can.
#pragma once

#include "user_records.h"

namespace vxtctl {

/// A fan's control before it was held.
struct CHoldRecord {
    std::string sFan;               ///< id, "/environment/0/fan/1"
    std::string sChip;              ///< the chip's model: what was saved is of its own form
    std::string sBegun;             ///< UTC, "2026-11-22T03:00:00.000Z"
    uint32_t uControl;              ///< as SaveFanControl gave it
    std::optional<uint32_t> oDuty;  ///< percent; nothing: the chip drove the fan
};

/// The records of fans. One process at a time holds fans.
class CHoldRecords : public CUserRecords {
public:
    explicit CHoldRecords(const CHostLibrary& rLibrary);

    /// Of this PC.
    std::vector<CHoldRecord> Left() const;
    std::optional<CHoldRecord> Find(const std::string& sFan) const;

    /// What to say of a record whose process is gone.
    std::string LeftBehind(const std::string& sFan) const;

    // With the lock only.
    void Add(const std::vector<CHoldRecord>& rRecords);
    void Remove(const std::vector<std::string>& rFans);
};

}  // namespace vxtctl
