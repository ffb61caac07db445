// Two doubles of any processor with SSE2. Only kernel_sse2.cpp includes this.
#pragma once

#include <emmintrin.h>

#include "bench/fft/always_inline.h"

namespace {

struct CVector {
    static constexpr uint32_t kLanes = 2;
    __m128d m_v;

    VXT_ALWAYS_INLINE static CVector Load(const double* p) { return {_mm_load_pd(p)}; }
    VXT_ALWAYS_INLINE static CVector All(double d) { return {_mm_set1_pd(d)}; }
    VXT_ALWAYS_INLINE void Store(double* p) const { _mm_store_pd(p, m_v); }
    VXT_ALWAYS_INLINE friend CVector operator+(CVector A, CVector B) { return {_mm_add_pd(A.m_v, B.m_v)}; }
    VXT_ALWAYS_INLINE friend CVector operator-(CVector A, CVector B) { return {_mm_sub_pd(A.m_v, B.m_v)}; }
    VXT_ALWAYS_INLINE friend CVector operator*(CVector A, CVector B) { return {_mm_mul_pd(A.m_v, B.m_v)}; }
    /// A * B + C, A * B - C and C - A * B.
    VXT_ALWAYS_INLINE static CVector MulAdd(CVector A, CVector B, CVector C) { return A * B + C; }
    VXT_ALWAYS_INLINE static CVector MulSub(CVector A, CVector B, CVector C) { return A * B - C; }
    VXT_ALWAYS_INLINE static CVector SubMul(CVector C, CVector A, CVector B) { return C - A * B; }
    VXT_ALWAYS_INLINE static CVector Larger(CVector A, CVector B) { return {_mm_max_pd(A.m_v, B.m_v)}; }
    VXT_ALWAYS_INLINE bool IsZero() const { return _mm_movemask_pd(_mm_cmpneq_pd(m_v, _mm_setzero_pd())) == 0; }

    /// Lane i of vector j against lane j of vector i.
    VXT_ALWAYS_INLINE static void Transpose(CVector* p) {
        const __m128d v0 = _mm_unpacklo_pd(p[0].m_v, p[1].m_v);
        p[1].m_v = _mm_unpackhi_pd(p[0].m_v, p[1].m_v);
        p[0].m_v = v0;
    }
};

}  // namespace
