// Hostile driver requests: any code, any sizes, any content, in any order.
#include <algorithm>
#include <cstdlib>

#include "sim/driver_server.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t uSize) {
    using namespace vxtsim;
    static CSimMachine s_Machine([] {
        CMachineDescription Description;
        std::string sError;
        if (!g_LoadMachine("family10h-ddr3", Description, sError)) std::abort();
        return Description;
    }());
    CDriverServer Server(s_Machine);
    std::vector<std::string> Trace;
    Server.Record(&Trace);

    // Each request: function number, size of the block (the enumeration's for 255), kind of output buffer, core,
    // content.
    while (uSize >= 4) {
        const uint32_t uCode = 0x81112EE0 + 4u * (pData[0] % 17);
        std::vector<uint8_t> Block(pData[1] == 255 ? 3356 : pData[1]);
        const uint8_t ucOutput = pData[2];
        const uint32_t uCore = pData[3] % 5;
        pData += 4, uSize -= 4;
        const size_t uContent = std::min(Block.size(), uSize);
        std::copy_n(pData, uContent, Block.begin());
        pData += uContent, uSize -= uContent;
        std::vector<uint8_t> Other(ucOutput);
        const std::span<uint8_t> Out = ucOutput == 255 ? std::span<uint8_t>(Block)
                                       : ucOutput & 1  ? std::span<uint8_t>(Other)
                                                       : std::span<uint8_t>();
        const CControlReply Reply = Server.Control(uCode, uCore, Block, Out);
        if (Reply.uReturned > Out.size() || (!Reply.bSuccess && Reply.uReturned)) std::abort();
    }
    s_Machine.PowerCycle();
    return 0;
}
