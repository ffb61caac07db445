// The display adapters' drivers: what they answer to escapes.
#pragma once

#include <mutex>
#include <span>

#include "../machine.h"

namespace vxtsim {

/// Spells its own protocol: sharing the library's would share its mistakes.
class CDisplayDriver final : public CSimModel {
public:
    static constexpr int32_t kQuerySupport = 8, kEscape = 0x47545856;  // "VXTG"

    explicit CDisplayDriver(CSimMachine& rMachine)
        : m_rMachine(rMachine), m_Adapters(rMachine.Description().Displays) {}

    /// The adapter's number of display `uOutput`, counted from 0 over all adapters. Nothing beyond the last one.
    static std::optional<uint32_t> AdapterOf(const CMachineDescription& rMachine, uint32_t uOutput);
    /// Answers as an escape does: greater than 0 done, 0 unknown, less failed. Clocks that are set last.
    int32_t Escape(uint32_t uOutput, int32_t nEscape, std::span<const uint8_t> In, std::span<uint8_t> Out);

    void Describe(CMachineDescription& rDescription) const override {
        const std::lock_guard Lock(m_Lock);
        rDescription.Displays = m_Adapters;
    }

private:
    CSimMachine& m_rMachine;
    mutable std::mutex m_Lock;
    std::map<uint32_t, CDisplayAdapter> m_Adapters;  ///< with the clocks of now
};

}  // namespace vxtsim
