// The board firmware behind the WMI class QOR_ACPI: tunable objects, setup items, raw commands.
//
// It answers as the machine file says and is strict about what it is asked: a parameter that is missing, of another
// type or another size fails the call. An answer may be replaced by a wrong one, in the file or at run time.
#pragma once

#include <array>
#include <atomic>
#include <mutex>
#include <string_view>

#include "machine_file.h"

namespace vxtsim {

class CSimMachine;

/// Any thread may call. Methods of several threads run at the same time here: to keep them apart is the library's task,
/// and MostAtOnce tells whether it did.
class CSimFirmware {
public:
    static constexpr uint32_t kReferenceClock = 0x01010000;  ///< this object drives the machine's clock, in kHz
    /// Where it is found, its class, and the packages that two methods take.
    static constexpr std::string_view kNamespace = "root\\wmi";
    static constexpr std::string_view kClass = "QOR_ACPI", kSetValuePackage = "SetValuePackage",
                                      kBiosRequestPackage = "BiosRequestPackage";
    static constexpr size_t kCommandBytes = 256, kResultBytes = 512;
    static constexpr size_t kRequestWords = 9;

    /// The machine's description must have a firmware.
    explicit CSimFirmware(CSimMachine& rMachine);

    static bool HasMethod(std::string_view sMethod);
    /// Whether the answer of a method has this property: its output parameter, or a property of the pack in that.
    static bool HasAnswer(std::string_view sMethod, std::string_view sProperty);
    static bool HasClass(std::string_view sClass);

    CWmiObject ClassObject(std::string_view sClass) const;  ///< of one of the three
    CWmiObject Instance() const;                            ///< the one instance of kClass
    /// Where methods are executed: the instance, or the class of static ones.
    std::string_view ExecutionPath() const;
    std::optional<CWmiMethod> Method(std::string_view sMethod) const;
    /// False when the execution fails as a whole. An answer that was replaced changes what is told, not what is done.
    bool Execute(std::string_view sMethod, const CWmiObject* pInput, std::optional<CWmiObject>& rOutput);

    // --- the workbench
    bool m_bYields = true;  ///< lets other threads run amid a method, where those who do not wait for each other show
    /// From now on; an answer without anything in it takes the replacement back.
    void SetAnswer(const std::string& sMethod, CFirmwareAnswer Answer);
    std::optional<int32_t> Value(uint32_t uId) const;         ///< nothing: no such object
    std::optional<uint16_t> ItemValue(uint32_t uItem) const;  ///< counted from 1
    std::array<int32_t, kRequestWords> LastRequest() const;   ///< of "BiosRequest"; zeros before the first
    std::vector<uint8_t> LastCommand() const;                 ///< of "RunCMD", as it came; empty before the first
    uint32_t Executions(std::string_view sMethod) const;      ///< so far, failed ones too
    uint32_t MostAtOnce() const { return m_uMostAtOnce; }     ///< methods that ever ran at the same time

private:
    struct CMethod;
    static const CMethod s_aMethods[10];
    static const CMethod* _Find(std::string_view sMethod);

    CFirmwareObject* _FindObject(const CWmiValue& rId);

    // What the methods do, each with its checked input; called with the lock held.
    CWmiValue _GetObjectID(const CWmiValue&);
    CWmiValue _GetValue(const CWmiValue& rId);
    CWmiValue _SetValue(const CWmiValue& rPackage);
    CWmiValue _GetInfo(const CWmiValue& rId);
    CWmiValue _GetDValues(const CWmiValue& rId);
    CWmiValue _BiosRequest(const CWmiValue& rPackage);
    CWmiValue _Init(const CWmiValue&);
    CWmiValue _RunCMD(const CWmiValue& rCommand);
    CWmiValue _QueryVersion(const CWmiValue&);
    CWmiValue _QueryCommandList(const CWmiValue&);
    uint32_t _RunCommand(const std::vector<uint8_t>& rCommand, std::vector<uint8_t>& rResult);

    CSimMachine& m_rMachine;
    mutable std::mutex m_Lock;  ///< the state below; never held while virtual time passes
    CFirmwareDescription m_State;
    std::array<int32_t, kRequestWords> m_Request{};
    std::vector<uint8_t> m_Command;
    std::map<std::string, uint32_t, std::less<>> m_Executions;
    std::atomic<uint32_t> m_uRunning = 0, m_uMostAtOnce = 0;
};

}  // namespace vxtsim
