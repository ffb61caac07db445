#include "common/child_process.h"

namespace vxttools {

CChildProcess::~CChildProcess() {
    CloseInput();
    for (const intptr_t nPipe : {m_nOutput, m_nErrors}) _Close(nPipe);
}

bool CChildProcess::Send(std::string_view sData) {
    const std::scoped_lock Lock(m_Mutex);
    return m_bInputOpen && _Write(sData);
}

void CChildProcess::CloseInput() {
    const std::scoped_lock Lock(m_Mutex);
    if (m_bInputOpen) _Close(m_nInput);
    m_bInputOpen = false;
}

}  // namespace vxttools
