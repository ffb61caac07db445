// A client of the simulated driver for tests: it spells the protocol's blocks and codes itself.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "sim/driver_server.h"

namespace vxtsim {

inline CMachineDescription g_Embedded(const std::string& sName) {
    CMachineDescription Machine;
    std::string sError;
    EXPECT_TRUE(g_LoadMachine(sName, Machine, sError)) << sError;
    return Machine;
}

inline CMachineDescription g_Parsed(std::string_view sText) {
    CMachineDescription Machine;
    std::string sError;
    EXPECT_TRUE(g_ParseMachine(sText, "test", Machine, sError)) << sError;
    return Machine;
}

inline std::string g_Replaced(std::string sText, char c, const std::string& sBy) {
    for (size_t u = 0; (u = sText.find(c, u)) != std::string::npos; u += sBy.size()) sText.replace(u, 1, sBy);
    return sText;
}

/// The text of a row: "<3*a@ >" is "a0 a1 a2 ", innermost first, and ~ the end of a line.
inline std::string g_Written(std::string sRow) {
    for (size_t uBegin; (uBegin = sRow.rfind('<')) != std::string::npos;) {
        const size_t uStar = sRow.find('*', uBegin), uEnd = sRow.find('>', uBegin);
        std::string sMany;
        for (int i = 0; i < std::stoi(sRow.substr(uBegin + 1)); ++i)
            sMany += g_Replaced(sRow.substr(uStar + 1, uEnd - uStar - 1), '@', std::to_string(i));
        sRow.replace(uBegin, uEnd + 1 - uBegin, sMany);
    }
    return g_Replaced(sRow, '~', "\n");
}

/// One running PC with one open driver.
class CSimClient {
public:
    explicit CSimClient(CMachineDescription Description) : m_Machine(std::move(Description)), m_Server(m_Machine) {}
    explicit CSimClient(const char* pszMachine) : CSimClient(g_Embedded(pszMachine)) {}

    /// Sends a block of packed words (any integer types) and leaves the answer in m_Block.
    template <class... TWords> CControlReply Send(uint32_t uCode, size_t uSize, bool bAnswers, TWords... Words) {
        m_Block.assign(uSize, 0);
        size_t uOffset = 0;
        [[maybe_unused]] const auto Put = [&](auto Word) {
            std::memcpy(&m_Block[uOffset], &Word, sizeof(Word)), uOffset += sizeof(Word);
        };
        (Put(Words), ...);
        return m_Server.Control(uCode, m_uCore, m_Block, bAnswers ? std::span(m_Block) : std::span<uint8_t>());
    }
    template <class TWord = uint32_t> TWord At(size_t uOffset) const {
        TWord Word;
        std::memcpy(&Word, &m_Block.at(uOffset), sizeof(Word));
        return Word;
    }

    std::optional<uint64_t> ReadMsr(uint32_t uIndex) {
        if (!Send(0x81112EE0, 12, true, uIndex).bSuccess) return std::nullopt;
        return At<uint64_t>(4);
    }
    bool WriteMsr(uint32_t uIndex, uint64_t ullValue) { return Send(0x81112EE4, 12, false, uIndex, ullValue).bSuccess; }
    uint32_t In(uint16_t usPort, uint16_t usWidth = 1) {
        return Send(0x81112EE8, 8, true, usPort, usWidth).bSuccess ? At(4) : 0xBAD;
    }
    bool Out(uint16_t usPort, uint32_t uValue, uint16_t usWidth = 1) {
        return Send(0x81112EEC, 8, false, usPort, usWidth, uValue).bSuccess;
    }
    uint32_t ReadPci(CPciAddress Address, uint32_t uOffset) {
        const CControlReply Reply = Send(0x81112F00, 24, true, uint32_t{Address.ucBus}, uint32_t{Address.ucDevice},
                                         uint32_t{Address.ucFunction}, uOffset, uint32_t{4});
        return Reply.uReturned == 24 ? At(20) : 0xBAD;
    }
    bool WritePci(CPciAddress Address, uint32_t uOffset, uint32_t uValue) {
        return Send(0x81112F04, 24, false, uint32_t{Address.ucBus}, uint32_t{Address.ucDevice},
                    uint32_t{Address.ucFunction}, uOffset, uint32_t{4}, uValue)
            .bSuccess;
    }
    uint32_t ReadMemory(uint64_t ullAddress) {
        return Send(0x81112F08, 16, true, ullAddress, uint32_t{4}).uReturned == 16 ? At(12) : 0xBAD;
    }
    bool WriteMemory(uint64_t ullAddress, uint32_t uValue) {
        return Send(0x81112F0C, 16, false, ullAddress, uint32_t{4}, uValue).bSuccess;
    }
    /// The local APIC's timer page; 0 when it cannot be mapped.
    uint64_t MapApicTimer() {
        return Send(0x81112EF0, 32, true, 0xFEE00300u, 0u, 0u, 256u).bSuccess ? At<uint64_t>(16) : 0;
    }

    CSimMachine m_Machine;
    CDriverServer m_Server;
    std::vector<uint8_t> m_Block;
    uint32_t m_uCore = 0;
};

}  // namespace vxtsim
