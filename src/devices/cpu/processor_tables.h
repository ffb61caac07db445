// Revision and socket texts by processor signature (CPUID function 1 EAX).
#pragma once

#include <cstdint>

namespace vxt {

/// Fills the tables. Called by the engine's start-up; a second call changes nothing.
bool g_InitProcessorTables();

/// Revision, e.g. L"DA-C2"; empty for a signature the table lacks, and before the tables are filled.
const wchar_t* g_GetProcessorRevision(uint32_t uSignature);
/// Socket, e.g. L"AM2"; empty also where one signature exists for several sockets.
const wchar_t* g_GetProcessorSocket(uint32_t uSignature);

}  // namespace vxt
