// The library as a host sees it: loaded at run time, started, and stopped again whatever happens in between.
#pragma once

#include <vxtapi/vxtapi.h>

#include <chrono>
#include <string>

#include "common/findings.h"
#include "common/library_loader.h"

namespace vxtctl {

/// One device and where the inventory has it.
struct CInventoryEntry {
    vxtapi::eDeviceType eType;
    uint32_t uIndex;
    vxtapi::CDevice* pDevice;
};

class CHostLibrary {
public:
    enum class EStart { kRequired, kIfPossible };

    /// Loads and starts the library: the one that is named, else the one beside this tool. Ends the command when that
    /// fails; with kIfPossible a library that does not start has no devices, and what needs none works.
    explicit CHostLibrary(const vxttools::CGlobalOptions& rOptions, EStart eStart = EStart::kRequired);
    CHostLibrary(const CHostLibrary&) = delete;
    ~CHostLibrary();

    /// Every device, types in ascending order, indices in ascending order within a type.
    std::vector<CInventoryEntry> Devices() const;
    std::vector<CInventoryEntry> Devices(vxtapi::eDeviceType eType) const;
    bool IsStarted() const { return m_bStarted; }
    vxtapi::CProfileSettgins& Profiles() const { return *m_pGetProfileSettings(); }
    vxtapi::CPerformanceControl& Performance() const { return *m_pGetPerformanceControl(); }

    /// Cores that the library lists when all goes well: it takes 16 of a kind at most.
    uint32_t ExpectedCores() const;
    /// Says so when the machine has more cores than the library lists.
    void RemarkOnCores(const vxttools::COutput& rOutput) const;
    /// What shows that something is missing, up to now. The library itself only logs what it could not read: missing
    /// parts of a processor that others of its parts show to be there tell, and what a simulated system counts.
    vxttools::CFindings Findings() const;
    /// A command's answer with its own findings and, behind them, those up to now. Returns how the command ends.
    vxttools::EExit Emit(vxttools::CTool& rTool, vxttools::CDocument& rDocument, vxttools::CFindings Found = {}) const;
    /// Lets so much time pass, on a simulated PC too. False: the user asked to end before.
    bool Pause(std::chrono::milliseconds Duration) const;
    /// The PC is a simulated one within this process, and gone with it unless its state is kept.
    bool IsSimulated() const { return m_pSimulatedProcessors; }
    /// After changes: how the command ends. A simulated PC that could not keep its state makes it a failure.
    vxttools::EExit Finish(vxttools::EExit eExit) const;
    /// "; DeviceList.cfg in this folder leaves device types out" where that may be why something is missing; else empty.
    static std::string FilterHint();
    /// Why there is no such thing, "processor": the machine lacks it, or, where anything could not be read, that.
    vxttools::CFailure Absent(const std::string& sWhat) const;

private:
    uint32_t _SystemCores() const;
    template <class TFunction> void _Find(TFunction*& rpFunction, const char* pszName);
    template <class TFunction> void _Bind(TFunction*& rpFunction, const char* pszName);

    vxttools::CLoadedLibrary m_Library;
    decltype(&InitVXTAPI) m_pInit = nullptr;
    decltype(&UnInitVXTAPI) m_pUnInit = nullptr;
    decltype(&GetDeviceManager) m_pGetDeviceManager = nullptr;
    decltype(&GetProfileSettings) m_pGetProfileSettings = nullptr;
    decltype(&GetPerformanceControl) m_pGetPerformanceControl = nullptr;
    const char* (*m_pSimulatedError)() = nullptr;    ///< of a simulated build only
    uint64_t (*m_pSimulatedFailures)() = nullptr;    ///< the same
    uint32_t (*m_pSimulatedProcessors)() = nullptr;  ///< the same
    void (*m_pSimulatedWait)(uint32_t) = nullptr;    ///< the same
    std::string m_sPath;
    bool m_bStarted = false;
};

}  // namespace vxtctl
