#include "devices/cpu/processor_tables.h"

#include <map>

#include "registers/no_throw.h"

namespace vxt {

namespace {

struct CProcessorRow {
    uint32_t uSignature;
    const wchar_t* pszRevision;
    const wchar_t* pszSocket;  ///< empty: the signature does not tell
};

// Source: the public revision guides of families 0Fh (both), 10h and 11h.
constexpr CProcessorRow kProcessors[] = {
    // Family 0Fh, first generations
    {0x00000F48, L"SH-C0", L"754"},
    {0x00000F4A, L"SH-CG", L"754"},
    {0x00000F5A, L"SH-CG", L"940"},
    {0x00000F7A, L"SH-CG", L"939"},
    {0x00000FC0, L"DH-CG", L"754"},
    {0x00000FF0, L"DH-CG", L"939"},
    {0x00010FC0, L"DH-D0", L"754"},
    {0x00010FF0, L"DH-D0", L"939"},
    {0x00020FC0, L"DH-E3", L"754"},
    {0x00020FC2, L"DH-E6", L"754"},
    {0x00020FF0, L"DH-E3", L"939"},
    {0x00020FF2, L"DH-E6", L"939"},
    {0x00020F12, L"JH-E6", L"940"},
    {0x00020F32, L"JH-E6", L"939"},
    {0x00020F42, L"SH-E5", L"754"},
    {0x00020F71, L"SH-E4", L"939"},
    {0x00020FB1, L"BH-E4", L"939"},
    // Family 0Fh, revision F and later
    {0x00040F12, L"JH-F2", L"F (1207)"},
    {0x00040F13, L"JH-F3", L"F (1207)"},
    {0x00040F32, L"JH-F2", L"AM2"},
    {0x00040F33, L"JH-F3", L"AM2"},
    {0x00040F82, L"BH-F2", L"S1g1"},
    {0x00040FB2, L"BH-F2", L"AM2"},
    {0x00040FF2, L"DH-F2", L"AM2"},
    {0x00060F81, L"BH-G1", L"S1g1"},
    {0x00060F82, L"BH-G2", L"S1g1"},
    {0x00060FB1, L"BH-G1", L"AM2"},
    {0x00060FB2, L"BH-G2", L"AM2"},
    {0x00070FF1, L"DH-G1", L"AM2"},
    {0x00070FF2, L"DH-G2", L"AM2"},
    // Family 10h: most fit two sockets
    {0x00100F21, L"DR-B1", L""},
    {0x00100F22, L"DR-B2", L""},
    {0x00100F23, L"DR-B3", L""},
    {0x00100F2A, L"DR-BA", L""},
    {0x00100F42, L"RB-C2", L""},
    {0x00100F43, L"RB-C3", L""},
    {0x00100F52, L"BL-C2", L""},
    {0x00100F53, L"BL-C3", L""},
    {0x00100F62, L"DA-C2", L""},
    {0x00100F63, L"DA-C3", L""},
    {0x00100F80, L"HY-D0", L""},
    {0x00100F81, L"HY-D1", L""},
    {0x00100F91, L"HY-D1", L"G34"},
    {0x00100FA0, L"PH-E0", L"AM3"},
    // Family 11h
    {0x00200F31, L"LG-B1", L"S1g2"},
};

using CTexts = std::map<uint32_t, const wchar_t*>;
CTexts s_Revisions, s_Sockets;

const wchar_t* g_Find(const CTexts& rTexts, uint32_t uSignature) {
    const auto it = rTexts.find(uSignature);
    return it == rTexts.end() ? L"" : it->second;
}

}  // namespace

bool g_InitProcessorTables() {
    const bool bFilled = g_NoThrow([] {
        for (const CProcessorRow& rRow : kProcessors) {
            s_Revisions.emplace(rRow.uSignature, rRow.pszRevision);
            s_Sockets.emplace(rRow.uSignature, rRow.pszSocket);
        }
    });
    return bFilled && s_Revisions.size() == std::size(kProcessors);  // a signature twice would hide one of its rows
}

const wchar_t* g_GetProcessorRevision(uint32_t uSignature) { return g_Find(s_Revisions, uSignature); }
const wchar_t* g_GetProcessorSocket(uint32_t uSignature) { return g_Find(s_Sockets, uSignature); }

}  // namespace vxt
