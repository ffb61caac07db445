#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

namespace vxt {

/// A request's header and the data behind it in one block, on the stack when it is as small as most requests are.
template <class THeader> class CRequestBuffer {
public:
    explicit CRequestBuffer(uint32_t uDataSize) {
        if (uDataSize > std::numeric_limits<uint32_t>::max() - sizeof(THeader)) return;
        m_uSize = static_cast<uint32_t>(sizeof(THeader) + uDataSize);
        if (m_uSize > m_Small.size()) m_pLarge.reset(new (std::nothrow) uint8_t[m_uSize]);
        m_pBlock = m_uSize <= m_Small.size() ? m_Small.data() : m_pLarge.get();
    }
    /// Null when there is no memory for the block.
    THeader* Header() { return reinterpret_cast<THeader*>(m_pBlock); }
    uint8_t* Data() { return m_pBlock + sizeof(THeader); }
    uint32_t Size() const { return m_uSize; }

private:
    static_assert(alignof(THeader) == 1);               // packed blocks lie anywhere
    std::array<uint8_t, sizeof(THeader) + 64> m_Small;  // deliberately not cleared: filled by the caller
    std::unique_ptr<uint8_t[]> m_pLarge;
    uint8_t* m_pBlock = nullptr;
    uint32_t m_uSize = 0;
};

}  // namespace vxt
