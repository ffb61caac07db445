// What test cases have reported, until the host fetches it.
#pragma once

#include <vxtapi/test_center.h>

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <tuple>

namespace vxt {

/// Records that wait and those that were handed out. Any thread may call.
template <class TRecord> class CTestRecords {
public:
    /// How many wait at most, and how many that were handed out are still there.
    static constexpr size_t kMost = 4096;

    /// The oldest record, valid until Clear or until kMost more were taken; null: none.
    const TRecord* TakeNext();
    void Clear();

protected:
    ~CTestRecords() = default;
    /// Throws when memory runs out; with m_Lock held.
    void _Append(const TRecord& rRecord) { m_Waiting.push_back(std::make_unique<TRecord>(rRecord)); }

    std::mutex m_Lock;
    std::deque<std::unique_ptr<TRecord>> m_Waiting, m_Lent;
};

class CTestErrors : public CTestRecords<vxtapi::TestError> {
public:
    /// Fills in how often its place has failed alike before, since Clear. Later errors are dropped while kMost wait. False:
    /// no memory.
    bool Add(vxtapi::TestError Error);
    void Clear();

private:
    /// What makes two errors the same: code, size, iteration, place and what was found there.
    using CSpot = std::tuple<uint32_t, uint32_t, uint64_t, uint32_t, uint64_t, double>;
    std::map<CSpot, uint32_t> m_Spots;  ///< kMost at most
};

class CTestResults : public CTestRecords<vxtapi::TestResult> {
public:
    /// In place of the test case's waiting one, if there is one. False: no memory.
    bool Set(const vxtapi::TestResult& rResult);
};

}  // namespace vxt
