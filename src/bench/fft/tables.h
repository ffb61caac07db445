// What squaring numbers of one size and path takes beside the number: roots of unity, and the checksum's weights.
#pragma once

#include <memory>
#include <span>

#include "bench/fft/kernel.h"
#include "bench/fft/squaring.h"

namespace vxt::fft {

/// Room for doubles on a cache line's border. Null when there is no memory.
struct CAlignedMemory {
    bool Allocate(size_t uDoubles);

    std::unique_ptr<double[]> m_pMemory;
    std::span<double> m_Doubles;
};

/// Arithmetic modulo the checksum's prime.
struct CResidues {
    uint64_t m_ullPrime;

    uint64_t Add(uint64_t ullA, uint64_t ullB) const { return (ullA + ullB) % m_ullPrime; }
    uint64_t Multiply(uint64_t ullA, uint64_t ullB) const { return ullA * ullB % m_ullPrime; }
    uint64_t Power(uint64_t ullBase, uint64_t ullExponent) const;
    /// The residue of an integer, and its representative between -prime/2 and prime/2.
    uint64_t Of(int64_t llValue) const;
    double Balanced(uint64_t ullValue) const;
};

/// Filled once, then read only.
class CTables {
public:
    static std::shared_ptr<const CTables> Make(uint32_t uWords, EPath ePath);

    /// Doubles of one number's work: the rows, then the carries, then the twiddles of the row in work.
    static size_t WorkDoubles(uint32_t uWords);
    /// Where the rows of a number keep a digit.
    size_t Place(uint32_t uDigit) const;

    CSize m_Size{};
    EPath m_ePath{};
    CShape m_Shape{};
    uint32_t m_uLanes = 0, m_uColumnBits = 0, m_uBlockColumns = 0, m_uSumColumns = 0;
    size_t m_uRowDoubles = 0;
    double m_dRoundOffLimit = 0;
    CResidues m_Residues{};
    uint64_t m_ullRoot = 0;                     ///< of order 2 * words: its power of words is -1
    bool m_bCarriesCount = true;                ///< the checksum's root is not 2^bits: a carry changes the sum
    uint64_t m_ullImaginary = 0;                ///< its power of words / 2
    double m_dBlockRoot = 0, m_dDigitRoot = 0;  ///< its powers of the blocks' columns
    CAlignedMemory m_Memory;
    // Parts of m_Memory; kernel.h tells their order.
    double *m_pColumnTwiddles = nullptr, *m_pRootTwiddles = nullptr, *m_pRowBases = nullptr, *m_pNodeTwiddles = nullptr,
           *m_pRowWeights = nullptr, *m_pColumnWeights = nullptr, *m_pDigitWeights = nullptr;

private:
    void _FillTwiddles();
    void _FindRoot();
    void _FillWeights();
};

}  // namespace vxt::fft
