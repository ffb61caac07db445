// Four doubles of a processor with AVX2 and FMA. Only kernel_avx2.cpp includes this.
#pragma once

#include <immintrin.h>

#include "bench/fft/always_inline.h"

namespace {

struct CVector {
    static constexpr uint32_t kLanes = 4;
    __m256d m_v;

    VXT_ALWAYS_INLINE static CVector Load(const double* p) { return {_mm256_load_pd(p)}; }
    VXT_ALWAYS_INLINE static CVector All(double d) { return {_mm256_set1_pd(d)}; }
    VXT_ALWAYS_INLINE void Store(double* p) const { _mm256_store_pd(p, m_v); }
    VXT_ALWAYS_INLINE friend CVector operator+(CVector A, CVector B) { return {_mm256_add_pd(A.m_v, B.m_v)}; }
    VXT_ALWAYS_INLINE friend CVector operator-(CVector A, CVector B) { return {_mm256_sub_pd(A.m_v, B.m_v)}; }
    VXT_ALWAYS_INLINE friend CVector operator*(CVector A, CVector B) { return {_mm256_mul_pd(A.m_v, B.m_v)}; }
    /// A * B + C, A * B - C and C - A * B.
    VXT_ALWAYS_INLINE static CVector MulAdd(CVector A, CVector B, CVector C) {
        return {_mm256_fmadd_pd(A.m_v, B.m_v, C.m_v)};
    }
    VXT_ALWAYS_INLINE static CVector MulSub(CVector A, CVector B, CVector C) {
        return {_mm256_fmsub_pd(A.m_v, B.m_v, C.m_v)};
    }
    VXT_ALWAYS_INLINE static CVector SubMul(CVector C, CVector A, CVector B) {
        return {_mm256_fnmadd_pd(A.m_v, B.m_v, C.m_v)};
    }
    VXT_ALWAYS_INLINE static CVector Larger(CVector A, CVector B) { return {_mm256_max_pd(A.m_v, B.m_v)}; }
    VXT_ALWAYS_INLINE bool IsZero() const {
        return _mm256_movemask_pd(_mm256_cmp_pd(m_v, _mm256_setzero_pd(), _CMP_NEQ_UQ)) == 0;
    }

    /// Lane i of vector j against lane j of vector i.
    VXT_ALWAYS_INLINE static void Transpose(CVector* p) {
        const __m256d v0 = _mm256_unpacklo_pd(p[0].m_v, p[1].m_v), v1 = _mm256_unpackhi_pd(p[0].m_v, p[1].m_v);
        const __m256d v2 = _mm256_unpacklo_pd(p[2].m_v, p[3].m_v), v3 = _mm256_unpackhi_pd(p[2].m_v, p[3].m_v);
        p[0].m_v = _mm256_permute2f128_pd(v0, v2, 0x20);
        p[1].m_v = _mm256_permute2f128_pd(v1, v3, 0x20);
        p[2].m_v = _mm256_permute2f128_pd(v0, v2, 0x31);
        p[3].m_v = _mm256_permute2f128_pd(v1, v3, 0x31);
    }
};

}  // namespace
