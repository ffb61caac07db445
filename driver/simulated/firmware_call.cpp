#include "firmware_call.h"

#include <cstring>

#include "sim/drive_answers.h"

namespace vxtdriver {

namespace {

using vxtsim::CWmiObject;
using vxtsim::CWmiValue;

class CPacker {
public:
    static constexpr bool kReads = false;
    void Raw(void* pData, size_t uSize) {
        const auto* const pBytes = static_cast<const uint8_t*>(pData);
        m_Bytes.insert(m_Bytes.end(), pBytes, pBytes + uSize);
    }
    std::vector<uint8_t> m_Bytes;
};

class CUnpacker {
public:
    static constexpr bool kReads = true;
    explicit CUnpacker(std::span<const uint8_t> Bytes) : m_Bytes(Bytes) {}
    /// Zeros from the first byte on that is not there.
    void Raw(void* pData, size_t uSize) {
        m_bGood = m_bGood && uSize <= m_Bytes.size();
        if (m_bGood && uSize) std::memcpy(pData, m_Bytes.data(), uSize);
        if (!m_bGood && uSize) std::memset(pData, 0, uSize);
        m_Bytes = m_Bytes.subspan(m_bGood ? uSize : m_Bytes.size());
    }
    bool m_bGood = true;
    std::span<const uint8_t> m_Bytes;
};

// One function for both ways: what is written in this order is read in it.
template <class TArchive, class TNumber>
requires std::is_arithmetic_v<TNumber>
void g_Pass(TArchive& rArchive, TNumber& rNumber) { rArchive.Raw(&rNumber, sizeof(rNumber)); }
template <class TArchive> void g_Pass(TArchive& rArchive, CWmiObject& rObject);
template <class TArchive> void g_Pass(TArchive& rArchive, CWmiValue& rValue);

/// Calls `PassElement` for each of a list, which grows with what is really there.
template <class TArchive, class TList> void g_PassList(TArchive& rArchive, TList& rList) {
    auto uCount = static_cast<uint32_t>(rList.size());
    g_Pass(rArchive, uCount);
    if constexpr (TArchive::kReads) {
        rList.clear();
        for (uint32_t i = 0; i < uCount && rArchive.m_bGood; ++i) g_Pass(rArchive, rList.emplace_back());
    } else {
        for (auto& rElement : rList) g_Pass(rArchive, rElement);
    }
}
template <class TArchive> void g_Pass(TArchive& rArchive, std::string& rsText) {
    std::vector<char> Characters(rsText.begin(), rsText.end());
    g_PassList(rArchive, Characters);
    rsText.assign(Characters.begin(), Characters.end());
}
template <class TArchive> void g_Pass(TArchive& rArchive, std::optional<CWmiObject>& roObject) {
    bool bIsThere = roObject.has_value();
    g_Pass(rArchive, bIsThere);
    if constexpr (TArchive::kReads) roObject = bIsThere ? std::optional(CWmiObject()) : std::nullopt;
    if (bIsThere) g_Pass(rArchive, *roObject);
}
template <class TArchive> void g_Pass(TArchive& rArchive, CWmiValue& rValue) {
    g_Pass(rArchive, rValue.usType), g_Pass(rArchive, rValue.nNumber), g_Pass(rArchive, rValue.sText);
    std::optional<CWmiObject> oObject;
    if (rValue.pObject) oObject = *rValue.pObject;
    g_Pass(rArchive, oObject);
    rValue.pObject = oObject ? std::make_shared<CWmiObject>(*oObject) : nullptr;
    g_PassList(rArchive, rValue.Integers), g_PassList(rArchive, rValue.Bytes), g_PassList(rArchive, rValue.Texts);
    g_Pass(rArchive, rValue.bNullArray), g_Pass(rArchive, rValue.bNoData);
}
template <class TArchive> void g_Pass(TArchive& rArchive, CWmiObject& rObject) {
    std::vector<std::string> Names;
    for (const auto& [sName, rValue] : rObject.Properties) Names.push_back(sName);
    g_Pass(rArchive, rObject.sClass), g_PassList(rArchive, Names);
    for (const std::string& rsName : Names) g_Pass(rArchive, rObject.Properties[rsName]);
}
template <class TArchive> void g_Pass(TArchive& rArchive, CFirmwareCall& rCall) {
    g_Pass(rArchive, rCall.sNamespace), g_Pass(rArchive, rCall.sPath), g_Pass(rArchive, rCall.sMethod);
    g_Pass(rArchive, rCall.oInput);
}
template <class TArchive> void g_Pass(TArchive& rArchive, CFirmwareReply& rReply) {
    g_Pass(rArchive, rReply.bDone), g_Pass(rArchive, rReply.ullNanoseconds), g_Pass(rArchive, rReply.oOutput);
    g_PassList(rArchive, rReply.Instances);
}

template <class TRecord> std::vector<uint8_t> g_Packed(TRecord& rRecord) {
    CPacker Packer;
    g_Pass(Packer, rRecord);
    return std::move(Packer.m_Bytes);
}
template <class TRecord> bool g_Unpacked(std::span<const uint8_t> Bytes, TRecord& rRecord) {
    CUnpacker Unpacker(Bytes);
    g_Pass(Unpacker, rRecord);
    return Unpacker.m_bGood && Unpacker.m_Bytes.empty();
}

/// Nothing for a class that the machine file does not tell of: the system has its own then.
std::optional<std::vector<CWmiObject>> g_Instances(const vxtsim::CSimWmi& rWmi, const vxtsim::CSimMachine& rMachine,
                                                   const CFirmwareCall& rCall) {
    auto oInstances = rWmi.GetInstances(rCall.sNamespace, rCall.sPath);
    const bool bTold = (oInstances && !oInstances->empty()) || vxtsim::g_TellsDrives(rMachine.Description().Devices);
    return bTold ? std::move(oInstances) : std::nullopt;
}

}  // namespace

CFirmwareReply g_Answer(vxtsim::CSimWmi& rWmi, const vxtsim::CSimMachine& rMachine, const CFirmwareCall& rCall) {
    CFirmwareReply Reply;
    const uint64_t ullBegin = rMachine.Now();
    if (!rCall.sMethod.empty()) {
        Reply.bDone = rWmi.Execute(rCall.sNamespace, rCall.sPath, rCall.sMethod,
                                   rCall.oInput ? &*rCall.oInput : nullptr, Reply.oOutput);
    } else if (auto oInstances = g_Instances(rWmi, rMachine, rCall)) {
        Reply.bDone = true;
        Reply.Instances = std::move(*oInstances);
    }
    Reply.ullNanoseconds = rMachine.Now() - ullBegin;
    return Reply;
}

std::vector<uint8_t> g_Pack(CFirmwareCall Call) { return g_Packed(Call); }
std::vector<uint8_t> g_Pack(CFirmwareReply Reply) { return g_Packed(Reply); }
bool g_Unpack(std::span<const uint8_t> Bytes, CFirmwareCall& rCall) { return g_Unpacked(Bytes, rCall); }
bool g_Unpack(std::span<const uint8_t> Bytes, CFirmwareReply& rReply) { return g_Unpacked(Bytes, rReply); }

}  // namespace vxtdriver
