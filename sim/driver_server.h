// The driver protocol, answered for a simulated PC exactly as the kernel driver answers it on a real one.
#pragma once

#include <functional>
#include <set>

#include "faults.h"
#include "machine.h"

namespace vxtsim {

/// Answer to one device-control call: the call's own success and the count of bytes returned.
struct CControlReply {
    bool bSuccess = false;
    uint32_t uReturned = 0;
};

/// One opened device. Both the native build and the simulated kernel driver serve their requests through it.
class CDriverServer {
public:
    /// Virtual time that one request costs a real PC: the call into the kernel and the access itself.
    static constexpr uint64_t kRequestNanoseconds = 5'000;

    explicit CDriverServer(CSimMachine& rMachine) : m_rMachine(rMachine) {}

    /// Serves one request for a thread that runs on `uCore`. `In` and `Out` may overlap wholly (buffered method).
    /// Strict: unknown codes, sizes other than the protocol's, widths other than 1, 2, 4 and lengths that disagree with
    /// the buffer fail the call; so does a refused MSR access. A read of memory or configuration space that the
    /// hardware refuses (no such bus number, address beyond the processor's reach) succeeds with 0 bytes returned.
    CControlReply Control(uint32_t uCode, uint32_t uCore, std::span<const uint8_t> In, std::span<uint8_t> Out);

    /// Older drivers know only the old configuration codes.
    bool m_bKnowsNewPciRequests = true;

    /// Fault layer in front of the hardware; none injects nothing.
    void SetFaults(CFaultPlan* pFaults) { m_pFaults = pFaults; }
    /// Called with every request that the plan made go otherwise and how, in words: "read of MSR C0010071 on core 2
    /// answered all ones", "write of port 0CD6h, 01, was dropped".
    void ReportFaults(std::function<void(const std::string& sRemark)> Report) { m_Report = std::move(Report); }
    /// Requests that the plan let go wrong: they failed or gave no data, a wrong count or all ones.
    uint64_t FailureCount() const;

    /// Every well-formed request so far as one line of text, when recording: "rdmsr 0 C0010071",
    /// "wrmsr 0 C0010070 low high", "in 1 0B00", "out 1 0B00 FF", "pcird 0:18.3 D4 4", "pciwr 0:18.3 D4 4 <hex bytes>",
    /// "memrd E0000 1FFFF", "memwr <address> <size> <hex bytes>", "map <address> <size>", "unmap <size of block>",
    /// "enumpci", "alloc", "free". Numbers are hexadecimal without prefix; register values have all their digits, ports
    /// four, bytes two each without blanks in address order, other numbers as few as they need. The first number of
    /// rdmsr and wrmsr is the core, of in and out the width. ECAM accesses read as memrd and memwr: that is what the
    /// driver sees.
    void Record(std::vector<std::string>* pTrace) { m_pTrace = pTrace; }
    uint64_t RequestCount() const;
    /// Blocks that were allocated and not given back.
    size_t AllocationCount() const;

private:
    struct CRequest;
    struct CRow;
    static const CRow s_aRows[];

    const CRow* _FindRow(uint32_t uCode, std::span<const uint8_t> In, std::span<uint8_t> Out) const;
    static std::string _InWords(const CRow* pRow, uint32_t uCode, uint32_t uCore, std::span<const uint8_t> In);
    CControlReply _ReadMsr(CRequest& rRequest);
    CControlReply _WriteMsr(CRequest& rRequest);
    CControlReply _ReadPort(CRequest& rRequest);
    CControlReply _WritePort(CRequest& rRequest);
    CControlReply _Map(CRequest& rRequest);
    CControlReply _Unmap(CRequest& rRequest);
    CControlReply _ReadPci(CRequest& rRequest);
    CControlReply _WritePci(CRequest& rRequest);
    CControlReply _ReadMemory(CRequest& rRequest);
    CControlReply _WriteMemory(CRequest& rRequest);
    CControlReply _Allocate(CRequest& rRequest);
    CControlReply _Free(CRequest& rRequest);
    CControlReply _Enumerate(CRequest& rRequest);
    void _Trace(const char* pszFormat, ...) __attribute__((format(printf, 2, 3)));
    void _TraceBytes(std::span<const uint8_t> Bytes);

    CSimMachine& m_rMachine;
    mutable std::mutex m_Lock;         ///< requests of several threads are served one at a time
    std::set<uint64_t> m_Allocations;  ///< handles
    uint64_t m_ullLastAllocation = 0;
    CFaultPlan* m_pFaults = nullptr;
    std::vector<std::string>* m_pTrace = nullptr;
    std::function<void(const std::string&)> m_Report;
    uint64_t m_ullRequests = 0, m_ullFailures = 0;
};

}  // namespace vxtsim
