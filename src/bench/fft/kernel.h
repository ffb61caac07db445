// What a step is made of, between the number (squaring.cpp) and the two paths that do the work. Plain data: the paths are
// compiled for processors of their own, so nothing inline is shared with them.
#pragma once

#include <cstdint>

namespace vxt::fft {

/// The points z[j] = x[j] + i x[j + words/2] as a matrix of rows, each transformed on its own in the first-level cache
/// once the columns have been. Both are powers of two, columns one of four.
struct CShape {
    uint32_t uRows, uColumns;
    uint32_t uLevels;  ///< of a row, each by four: the nodes of four points that are left are squared as they are
};

inline constexpr uint32_t kRowPadding = 8;  ///< doubles behind a row: else all rows would meet in the same cache sets
inline constexpr uint32_t kDigitWeights = 64;  ///< columns whose digits the checksum adds up before it reduces
inline constexpr uint32_t kMaxLanes = 4;
inline constexpr uint32_t kTwiddleDoubles = 6;  ///< c, c^2, c^3

/// Sums of the checksum, to be added up.
struct CLaneSums {
    alignas(32) double dDigits[2][kMaxLanes];  ///< real parts, imaginary parts
    alignas(32) double dCarries[2][kMaxLanes];
};

/// One step: what it works on, reads and answers.
struct CStepFrame {
    CShape Shape;
    uint32_t uBlockColumns;         ///< worked on together
    uint32_t uSumColumns;           ///< whose carries the checksum adds up before it reduces: their sum is below 2^53
    double* pWork;                  ///< rows of (re lanes, im lanes) groups, each followed by kRowPadding
    double* pCarries;               ///< out of each row, in the order of the groups: re 4, im 4
    double* pRowTwiddles;           ///< of the row in work, by level and node
    const double* pColumnTwiddles;  ///< by node, kTwiddleDoubles each
    const double* pRootTwiddles;    ///< of column nodes 2, 4 and 5: each number as often as there are lanes
    const double* pRowBases;        ///< by row and level, re im
    const double* pNodeTwiddles;    ///< by node of any row, in groups of (re lanes, im lanes)
    const double* pRowWeights;      ///< of the checksum, by group of four rows: 4
    const double* pColumnWeights;   ///< of the checksum, uBlockColumns times as many as lanes
    const double* pDigitWeights;    ///< of the checksum: kDigitWeights
    double dScale;                  ///< what a step has multiplied by too much
    double dBase, dBaseInverse;     ///< 2^bits
    double dPrime, dPrimeInverse, dBlockRoot, dDigitRoot;  ///< of the checksum; the root's powers of blocks
    bool bReduceOften;                                     ///< a product of two residues leaves no room for sums
    void* pOwner;
    bool (*pGoesOn)(void* pOwner);  ///< asked between blocks: no stop request?
    void (*pTouch)(void* pOwner);   ///< the fault hook; null: none

    double dRoundOff;   ///< answer: the largest distance of four coefficients from whole numbers, squared
    CLaneSums Sums;     ///< answer
    bool bCarriesLeft;  ///< answer: pCarries are still to be added behind the fourth column of each row
};

enum class EChecks : uint8_t {
    kNone,
    kDigits,  ///< round-off, and the digits' share of the checksum: where carries leave that as it is
    kAll,
};

/// One step of a path. False: stopped, the work is void.
bool g_StepSse2(CStepFrame& rFrame, EChecks eChecks);
bool g_StepAvx2(CStepFrame& rFrame, EChecks eChecks);

}  // namespace vxt::fft
