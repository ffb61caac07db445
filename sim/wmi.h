// Management data of the simulated PC: plain instances out of the machine file, and the firmware behind its WMI class.
#pragma once

#include <string_view>

#include "firmware.h"

namespace vxtsim {

/// Everything a management query reaches. Any thread may call. The plain instances never change; drives come and go with
/// virtual time; the firmware guards what changes there.
class CSimWmi {
public:
    explicit CSimWmi(CSimMachine& rMachine);
    ~CSimWmi();

    /// "root\cimv2" and "root\wmi", in any letter case; others do not exist.
    static bool HasNamespace(std::string_view sNamespace) { return !NamespaceName(sNamespace).empty(); }
    /// Its name in small letters; empty when it does not exist.
    static std::string NamespaceName(std::string_view sNamespace);
    /// A copy of the class definition or instance at this path, which is what its "__PATH" says: the class's name, for
    /// an instance followed by a key.
    std::optional<CWmiObject> GetObject(std::string_view sNamespace, std::string_view sPath) const;
    /// Copies of the class's instances. Nothing for a class that does not exist.
    std::optional<std::vector<CWmiObject>> GetInstances(std::string_view sNamespace, std::string_view sClass) const;
    std::optional<CWmiMethod> GetMethod(std::string_view sNamespace, std::string_view sClass,
                                        std::string_view sMethod) const;
    /// Runs a method on a class (static ones) or an instance path. False when that fails as a whole; a method without
    /// output leaves `rOutput` empty. Virtual time passes as the machine file says.
    bool Execute(std::string_view sNamespace, std::string_view sPath, std::string_view sMethod,
                 const CWmiObject* pInput, std::optional<CWmiObject>& rOutput);

    /// How a client asked for instances.
    struct CEnumeration {
        std::string sClass;
        uint32_t uFlags;
        std::vector<uint32_t> Timeouts;  ///< ms, of each instance asked for
        bool operator==(const CEnumeration&) const = default;
    };
    /// Those so far.
    std::vector<CEnumeration> Enumerations() const;
    /// Records one and what is asked of it; its number is for the second.
    size_t RecordEnumeration(std::string_view sClass, uint32_t uFlags);
    void RecordNext(size_t uEnumeration, uint32_t uTimeout);

    /// Null when the machine file describes none: then its classes do not exist.
    CSimFirmware* Firmware() { return m_pFirmware.get(); }

private:
    /// The firmware, when this is its namespace.
    const CSimFirmware* _FirmwareIn(std::string_view sNamespace) const;

    const CSimMachine& m_rMachine;
    const CMachineDescription& m_rDescription;
    std::unique_ptr<CSimFirmware> m_pFirmware;
    mutable std::mutex m_Lock;  ///< the enumerations
    std::vector<CEnumeration> m_Enumerations;
};

}  // namespace vxtsim
