// The machine's fans: how fast they turn, what drives them, and the way to another duty and back.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "sensors.h"

namespace vxtctl {

enum class EFanMode { kUnknown, kManual, kAutomatic };

/// A fan's control as it was saved.
struct CFanState {
    uint32_t uControl;              ///< in the chip's own form
    std::optional<uint32_t> oDuty;  ///< percent; nothing: the chip drove the fan
};

/// What a kind of device lets hosts do with a fan.
struct CFanOperations {
    std::function<bool(uint32_t)> SetDuty;          ///< percent
    std::function<std::optional<uint32_t>()> Duty;  ///< percent, as last written; nothing: no reading
    std::function<bool(uint32_t&)> Save;
    std::function<bool(uint32_t)> Restore;
    std::function<EFanMode()> Mode;  ///< when the library started, or now
    std::function<vxttools::CQuantity()> StartTemperature;
};

/// One fan, which can be worked on as long as the library runs.
class CFan {
public:
    /// The sensors that its chip has for it. Reads what drives it.
    CFan(const CInventoryEntry& rDevice, uint32_t uFan, std::optional<CSensor> oSpeed, std::optional<CSensor> oDuty);

    const std::string& Id() const { return m_sId; }       ///< "/environment/0/fan/1"
    std::string Name() const { return m_sId.substr(1); }  ///< as people give it
    std::string Label() const { return "Fan " + std::to_string(m_uFan); }
    const std::string& Chip() const { return m_sChip; }  ///< model

    const std::optional<CSensor>& SpeedSensor() const { return m_oSpeed; }
    const std::optional<CSensor>& DutySensor() const { return m_oDuty; }
    /// Its duty can be set.
    bool IsControlled() const { return m_oDuty.has_value(); }

    EFanMode Mode() const { return m_eMode; }
    /// Percent; nothing while the chip drives the fan itself, and where it cannot be read.
    std::optional<double> Duty() const;
    vxttools::CQuantity StartTemperature() const { return m_Operations.StartTemperature(); }
    /// RPM; nothing: it stands still, or nobody can tell.
    std::optional<double> Speed() const;

    bool SetDuty(uint32_t uPercent);
    /// Mode and duty as they are now; nothing: they could not be read.
    std::optional<CFanState> Save() const;
    /// They are in force again, as far as can be read. Tries more than once: a fan that nobody drives is the worst end.
    bool Restore(const CFanState& rState);

private:
    std::string m_sId, m_sChip;
    uint32_t m_uFan;
    std::optional<CSensor> m_oSpeed, m_oDuty;
    CFanOperations m_Operations;
    EFanMode m_eMode;
};

/// In the order of the sensors.
std::vector<CFan> g_FindFans(const CHostLibrary& rLibrary);
/// The one that is meant by an id, by its end ("1", "fan/1"), or by an id without the device's number
/// ("environment/fan/1"). Ends the command when none is, or more than one.
CFan& g_FindFan(const CHostLibrary& rLibrary, std::vector<CFan>& rFans, const std::string& sName);

}  // namespace vxtctl
