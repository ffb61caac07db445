// The step of bench/fft over FFTW: the same number, the same arithmetic around the transforms, in the best shape that a
// library of transforms leaves. For comparison only.
#pragma once

#include <fftw3.h>
#include <immintrin.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <numbers>
#include <span>
#include <vector>

#define VXT_BENCH_AVX2 __attribute__((target("avx2,fma")))

namespace vxtbench {

/// x -> x^2 + 1 modulo 2^(words * bits) + 1. Between steps the number's points are weighted already: a step is the transform,
/// the square, the transform back, and one pass that takes the weights off, rounds, checks the round-off, carries in
/// eight streams side by side and puts the weights on again.
class CFftwStep {
public:
    CFftwStep(uint32_t uWords, uint32_t uBits)
        : m_uPoints(uWords / 2), m_dBase(static_cast<double>(1U << uBits)), m_pPoints(fftw_alloc_complex(m_uPoints)) {
        m_Forward = fftw_plan_dft_1d(static_cast<int>(m_uPoints), m_pPoints, m_pPoints, FFTW_FORWARD, FFTW_MEASURE);
        m_Back = fftw_plan_dft_1d(static_cast<int>(m_uPoints), m_pPoints, m_pPoints, FFTW_BACKWARD, FFTW_MEASURE);
        // Large tables of weights would cost more to read than the product of two small ones.
        m_uFine = m_uPoints <= kLargestTable ? m_uPoints / 4 : kChunk;
        m_Fine.resize(2 * m_uFine), m_Coarse.resize(2 * (m_uPoints / m_uFine));
        for (uint32_t i = 0; i < m_uFine; ++i) _Weight(i, &m_Fine[2 * i]);
        for (uint32_t i = 0; i < m_uPoints / m_uFine; ++i) _Weight(i * m_uFine, &m_Coarse[2 * i]);
    }
    CFftwStep(const CFftwStep&) = delete;
    ~CFftwStep() {
        fftw_destroy_plan(m_Forward), fftw_destroy_plan(m_Back);
        fftw_free(m_pPoints);
    }

    void Load(std::span<const double> Digits) {
        for (uint32_t i = 0; i < m_uPoints; ++i) m_pPoints[i][0] = Digits[i], m_pPoints[i][1] = Digits[i + m_uPoints];
        for (uint32_t i = 0; i < m_uPoints; i += kChunk) _PutOn(i);
    }
    void Digits(std::span<double> Digits) const {
        for (uint32_t i = 0; i < m_uPoints; ++i) {
            double dWeight[2];
            _Weight(i, dWeight);
            const double dRe = m_pPoints[i][0], dIm = m_pPoints[i][1];
            Digits[i] = std::nearbyint(dRe * dWeight[0] + dIm * dWeight[1]);
            Digits[i + m_uPoints] = std::nearbyint(dIm * dWeight[0] - dRe * dWeight[1]);
        }
    }

    void Step() {
        fftw_execute(m_Forward);
        _Square();
        fftw_execute(m_Back);
        _Carry();
    }

    double m_dRoundOff = 0;

private:
    static constexpr uint32_t kLargestTable = 1 << 15, kChunk = 256;  // points
    static constexpr double kMagic = 6755399441055744.0;              // rounds

    double* _At(uint32_t uPoint) const { return &m_pPoints[uPoint][0]; }
    void _Weight(uint32_t uPoint, double* p) const {
        const long double dAngle = std::numbers::pi_v<long double> * uPoint / (2 * m_uPoints);
        p[0] = static_cast<double>(std::cos(dAngle)), p[1] = static_cast<double>(std::sin(dAngle));
    }

    VXT_BENCH_AVX2 void _Square() {
        for (uint32_t i = 0; i < m_uPoints; i += 4) {
            const __m256d a = _mm256_load_pd(_At(i)), b = _mm256_load_pd(_At(i) + 4);
            const __m256d Re = _mm256_unpacklo_pd(a, b), Im = _mm256_unpackhi_pd(a, b);
            const __m256d OutRe = _mm256_fmsub_pd(Re, Re, _mm256_mul_pd(Im, Im));
            const __m256d OutIm = _mm256_mul_pd(_mm256_add_pd(Re, Re), Im);
            _mm256_store_pd(_At(i), _mm256_unpacklo_pd(OutRe, OutIm));
            _mm256_store_pd(_At(i) + 4, _mm256_unpackhi_pd(OutRe, OutIm));
        }
    }

    /// (re im re im) times (re im re im).
    VXT_BENCH_AVX2 static __m256d _Times(__m256d a, __m256d b) {
        const __m256d Turned = _mm256_mul_pd(_mm256_permute_pd(a, 5), _mm256_permute_pd(b, 15));
        return _mm256_fmaddsub_pd(a, _mm256_movedup_pd(b), Turned);
    }
    VXT_BENCH_AVX2 static __m256d _TimesConjugate(__m256d a, __m256d b) {
        const __m256d Turned = _mm256_mul_pd(_mm256_permute_pd(a, 5), _mm256_permute_pd(b, 15));
        return _mm256_fmsubadd_pd(a, _mm256_movedup_pd(b), Turned);
    }
    VXT_BENCH_AVX2 static __m256d _Both(const double* p) {
        return _mm256_broadcast_pd(reinterpret_cast<const __m128d*>(p));
    }

    /// The weights of kChunk points.
    VXT_BENCH_AVX2 void _PutOn(uint32_t uPoint) {
        const uint32_t uCount = m_uPoints / 4 < kChunk ? m_uPoints / 4 : kChunk;
        const double* const pFine = &m_Fine[2 * (uPoint % m_uFine)];
        const __m256d Coarse = _Both(&m_Coarse[2 * (uPoint / m_uFine)]);
        for (uint32_t i = 0; i < uCount; i += 2) {
            const __m256d Weight = _Times(_mm256_loadu_pd(pFine + 2 * i), Coarse);
            _mm256_store_pd(_At(uPoint + i), _Times(_mm256_load_pd(_At(uPoint + i)), Weight));
        }
    }

    /// Four streams of real parts and four of imaginary ones; point j of each is a quarter of the points further.
    VXT_BENCH_AVX2 void _Carry() {
        const uint32_t uQuarter = m_uPoints / 4;
        const __m256d Scale = _mm256_set1_pd(1.0 / m_uPoints), Magic = _mm256_set1_pd(kMagic);
        const __m256d Base = _mm256_set1_pd(m_dBase), BaseInverse = _mm256_set1_pd(1 / m_dBase);
        const __m256d NoSign = _mm256_set1_pd(-0.0);
        __m256d CarryRe = _mm256_setr_pd(1, 0, 0, 0), CarryIm = _mm256_setzero_pd(), RoundOff = _mm256_setzero_pd();
        for (uint32_t uBegin = 0; uBegin < uQuarter; uBegin += kChunk) {
            const __m256d Coarse0 = _mm256_mul_pd(_Both(&m_Coarse[2 * (uBegin / m_uFine)]), Scale);
            const __m256d Coarse1 = _mm256_mul_pd(_Both(&m_Coarse[2 * ((uBegin + uQuarter) / m_uFine)]), Scale);
            const __m256d Coarse2 = _mm256_mul_pd(_Both(&m_Coarse[2 * ((uBegin + 2 * uQuarter) / m_uFine)]), Scale);
            const __m256d Coarse3 = _mm256_mul_pd(_Both(&m_Coarse[2 * ((uBegin + 3 * uQuarter) / m_uFine)]), Scale);
            const uint32_t uEnd = uBegin + kChunk < uQuarter ? uBegin + kChunk : uQuarter;
            for (uint32_t j = uBegin; j < uEnd; j += 2) {
                const __m256d Fine = _mm256_loadu_pd(&m_Fine[2 * (j % m_uFine)]);
                const __m256d a = _TimesConjugate(_mm256_load_pd(_At(j)), _Times(Fine, Coarse0));
                const __m256d b = _TimesConjugate(_mm256_load_pd(_At(j + uQuarter)), _Times(Fine, Coarse1));
                const __m256d c = _TimesConjugate(_mm256_load_pd(_At(j + 2 * uQuarter)), _Times(Fine, Coarse2));
                const __m256d d = _TimesConjugate(_mm256_load_pd(_At(j + 3 * uQuarter)), _Times(Fine, Coarse3));
                const __m256d ab0 = _mm256_unpacklo_pd(a, b), ab1 = _mm256_unpackhi_pd(a, b);
                const __m256d cd0 = _mm256_unpacklo_pd(c, d), cd1 = _mm256_unpackhi_pd(c, d);
                __m256d Values[4] = {_mm256_permute2f128_pd(ab0, cd0, 0x20), _mm256_permute2f128_pd(ab1, cd1, 0x20),
                                     _mm256_permute2f128_pd(ab0, cd0, 0x31), _mm256_permute2f128_pd(ab1, cd1, 0x31)};
#pragma GCC unroll 4
                for (int k = 0; k < 4; ++k) {
                    __m256d& rCarry = k % 2 ? CarryIm : CarryRe;
                    const __m256d Whole = _mm256_sub_pd(_mm256_add_pd(Values[k], Magic), Magic);
                    RoundOff = _mm256_max_pd(RoundOff, _mm256_andnot_pd(NoSign, _mm256_sub_pd(Values[k], Whole)));
                    const __m256d Sum = _mm256_add_pd(Whole, rCarry);
                    rCarry = _mm256_sub_pd(_mm256_fmadd_pd(Sum, BaseInverse, Magic), Magic);
                    Values[k] = _mm256_fnmadd_pd(rCarry, Base, Sum);
                }
                const __m256d re01 = _mm256_unpacklo_pd(Values[0], Values[1]),
                              re23 = _mm256_unpackhi_pd(Values[0], Values[1]);
                const __m256d im01 = _mm256_unpacklo_pd(Values[2], Values[3]),
                              im23 = _mm256_unpackhi_pd(Values[2], Values[3]);
                _mm256_store_pd(_At(j), _mm256_permute2f128_pd(re01, im01, 0x20));
                _mm256_store_pd(_At(j + uQuarter), _mm256_permute2f128_pd(re23, im23, 0x20));
                _mm256_store_pd(_At(j + 2 * uQuarter), _mm256_permute2f128_pd(re01, im01, 0x31));
                _mm256_store_pd(_At(j + 3 * uQuarter), _mm256_permute2f128_pd(re23, im23, 0x31));
            }
            if (uBegin > 0)  // still in the cache; the first chunk waits for the streams' last carries
                for (uint32_t k = 0; k < 4; ++k) _PutOn(uBegin + k * uQuarter);
        }
        alignas(32) double dCarry[2][4], dMax[4];
        _mm256_store_pd(dCarry[0], CarryRe), _mm256_store_pd(dCarry[1], CarryIm), _mm256_store_pd(dMax, RoundOff);
        m_dRoundOff = std::max(std::max(dMax[0], dMax[1]), std::max(dMax[2], dMax[3]));
        for (uint32_t uStream = 0; uStream < 8; ++uStream) {
            const uint32_t uFrom = (uStream + 7) % 8;
            double dIn = dCarry[uFrom / 4][uFrom % 4] * (uStream == 0 ? -1 : 1);
            for (uint32_t i = uStream % 4 * uQuarter; dIn != 0; ++i) {
                double& rdDigit = m_pPoints[i][uStream / 4];
                const double dSum = rdDigit + dIn;
                dIn = std::nearbyint(dSum / m_dBase);
                rdDigit = dSum - dIn * m_dBase;
            }
        }
        for (uint32_t k = 0; k < 4; ++k) _PutOn(k * uQuarter);
    }

    uint32_t m_uPoints, m_uFine = 0;
    double m_dBase;
    fftw_complex* m_pPoints;
    fftw_plan m_Forward, m_Back;
    std::vector<double> m_Fine, m_Coarse;
};

}  // namespace vxtbench
