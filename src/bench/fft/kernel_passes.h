// One step over vectors of any width; each path includes this with a CVector of its own.
//
// A node stands for the ring C[x]/(x^L - e(a)), e(a) a root of unity. x^L - e(a) falls into four factors
// x^(L/4) - e((a + k)/4), so a number's remainders there come from a multiplication by constants of the node and four
// additions; k is stored in the order 0, 2, 1, 3, which makes the number of a node's children 4 * node + 0, 1, 2, 3. At the
// bottom, L = 1, squaring is pointwise; the way back adds up the same way. Nothing is reordered, and the right angle that
// makes the product negacyclic is the root's: a = 1/4.
#pragma once

#include "bench/fft/always_inline.h"
#include "bench/fft/kernel.h"

namespace {

using vxt::fft::CStepFrame;
using vxt::fft::EChecks;
using vxt::fft::kTwiddleDoubles;

inline constexpr uint32_t kLanes = CVector::kLanes;
inline constexpr uint32_t kLine = 2 * kLanes;           ///< doubles of kLanes points
inline constexpr uint32_t kRowGroup = 4;                ///< rows whose carries run side by side
inline constexpr uint32_t kParts = kRowGroup / kLanes;  ///< vectors that a number for each of them takes
inline constexpr int kUnrolled = kLanes / 2;            ///< lines of a level at a time: measured
inline constexpr double kMagic = 6755399441055744.0;    ///< 1.5 * 2^52: added and taken away again, it rounds

struct CPoint {
    CVector Re, Im;
};

VXT_ALWAYS_INLINE CPoint LoadPoint(const double* p) { return {CVector::Load(p), CVector::Load(p + kLanes)}; }
VXT_ALWAYS_INLINE void StorePoint(double* p, CPoint z) { z.Re.Store(p), z.Im.Store(p + kLanes); }
VXT_ALWAYS_INLINE CPoint AllPoint(double dRe, double dIm) { return {CVector::All(dRe), CVector::All(dIm)}; }
VXT_ALWAYS_INLINE CPoint operator+(CPoint A, CPoint B) { return {A.Re + B.Re, A.Im + B.Im}; }
VXT_ALWAYS_INLINE CPoint operator-(CPoint A, CPoint B) { return {A.Re - B.Re, A.Im - B.Im}; }
VXT_ALWAYS_INLINE CPoint AddTurned(CPoint A, CPoint B) { return {A.Re - B.Im, A.Im + B.Re}; }  // A + iB
VXT_ALWAYS_INLINE CPoint SubTurned(CPoint A, CPoint B) { return {A.Re + B.Im, A.Im - B.Re}; }  // A - iB

VXT_ALWAYS_INLINE CPoint operator*(CPoint A, CPoint B) {
    return {CVector::MulSub(A.Re, B.Re, A.Im * B.Im), CVector::MulAdd(A.Re, B.Im, A.Im * B.Re)};
}
VXT_ALWAYS_INLINE CPoint TimesConjugate(CPoint A, CPoint B) {
    return {CVector::MulAdd(A.Re, B.Re, A.Im * B.Im), CVector::MulSub(A.Im, B.Re, A.Re * B.Im)};
}
VXT_ALWAYS_INLINE CPoint Square(CPoint A) { return {CVector::MulSub(A.Re, A.Re, A.Im * A.Im), (A.Re + A.Re) * A.Im}; }

/// Half of the square: what is left of it for a doubled product is the product.
VXT_ALWAYS_INLINE CPoint HalfSquare(CPoint A) {
    return {CVector::MulSub(A.Re, A.Re, A.Im * A.Im) * CVector::All(0.5), A.Re * A.Im};
}

struct CTwiddles {
    CPoint c1, c2, c3;
};

/// Of one node. uStep: from one of the six numbers to the next.
VXT_ALWAYS_INLINE CTwiddles LoadTwiddles(const double* p, uint32_t uStep) {
    return {AllPoint(p[0], p[uStep]), AllPoint(p[2 * uStep], p[3 * uStep]), AllPoint(p[4 * uStep], p[5 * uStep])};
}
/// Of kLanes nodes, from the row's factor and those of the nodes.
VXT_ALWAYS_INLINE CTwiddles MakeTwiddles(CPoint Base, const double* pNodes) {
    const CPoint c1 = Base * LoadPoint(pNodes), c2 = Square(c1);
    return {c1, c2, c1 * c2};
}

VXT_ALWAYS_INLINE void Forward4(CPoint* z, const CTwiddles& rTwiddles) {
    const CPoint b2 = z[2] * rTwiddles.c2, b1 = z[1] * rTwiddles.c1, b3 = z[3] * rTwiddles.c3;
    const CPoint s0 = z[0] + b2, d0 = z[0] - b2, s1 = b1 + b3, d1 = b1 - b3;
    z[0] = s0 + s1, z[1] = s0 - s1, z[2] = AddTurned(d0, d1), z[3] = SubTurned(d0, d1);
}
VXT_ALWAYS_INLINE void Inverse4(CPoint* z, const CTwiddles& rTwiddles) {
    const CPoint s0 = z[0] + z[1], s1 = z[0] - z[1], d0 = z[2] + z[3], d1 = z[2] - z[3];
    z[0] = s0 + d0, z[2] = TimesConjugate(s0 - d0, rTwiddles.c2);
    z[1] = TimesConjugate(SubTurned(s1, d1), rTwiddles.c1), z[3] = TimesConjugate(AddTurned(s1, d1), rTwiddles.c3);
}

/// Four lines of points one after the other, against kLanes nodes of four points, and back.
VXT_ALWAYS_INLINE void LinesToNodes(CPoint* z) {
    CVector Re[4], Im[4];
    for (uint32_t i = 0; i < 4; ++i) {  // with two lanes a node is two lines: transpose 0 with 2, 1 with 3
        const uint32_t uLine = kLanes == 4 ? i : (i % 2) * 2 + i / 2;
        Re[i] = z[uLine].Re, Im[i] = z[uLine].Im;
    }
    for (uint32_t i = 0; i < 4; i += kLanes) CVector::Transpose(Re + i), CVector::Transpose(Im + i);
    for (uint32_t i = 0; i < 4; ++i) z[i] = {Re[i], Im[i]};
}
VXT_ALWAYS_INLINE void NodesToLines(CPoint* z) {
    CVector Re[4], Im[4];
    for (uint32_t i = 0; i < 4; ++i) Re[i] = z[i].Re, Im[i] = z[i].Im;
    for (uint32_t i = 0; i < 4; i += kLanes) CVector::Transpose(Re + i), CVector::Transpose(Im + i);
    for (uint32_t i = 0; i < 4; ++i) {
        const uint32_t uLine = kLanes == 4 ? i : (i % 2) * 2 + i / 2;
        z[uLine] = {Re[i], Im[i]};
    }
}

VXT_ALWAYS_INLINE void Touch(const CStepFrame& rFrame) {
    if (rFrame.pTouch) rFrame.pTouch(rFrame.pOwner);
}
VXT_ALWAYS_INLINE uint32_t RowDoubles(const CStepFrame& rFrame) {
    return 2 * rFrame.Shape.uColumns + vxt::fft::kRowPadding;
}

// ---- Rows -------------------------------------------------------------------------------------------------------------

/// The twiddles of a row, into rFrame.pRowTwiddles.
inline void PrepareRow(const CStepFrame& rFrame, const double* pBases) {
    double* p = rFrame.pRowTwiddles;
    for (uint32_t uLevel = 0, uNodes = 1; uLevel < rFrame.Shape.uLevels; ++uLevel, uNodes *= 4) {
        const CPoint Base = AllPoint(pBases[2 * uLevel], pBases[2 * uLevel + 1]);
        for (uint32_t i = 0; i < uNodes; i += kLanes, p += kTwiddleDoubles * kLanes) {
            const CTwiddles Twiddles = MakeTwiddles(Base, rFrame.pNodeTwiddles + 2 * i);
            StorePoint(p, Twiddles.c1), StorePoint(p + kLine, Twiddles.c2), StorePoint(p + 2 * kLine, Twiddles.c3);
        }
    }
}

VXT_ALWAYS_INLINE CTwiddles LoadRowTwiddles(const double* pLevel, uint32_t uNode) {
    return LoadTwiddles(pLevel + uNode / kLanes * kTwiddleDoubles * kLanes + uNode % kLanes, kLanes);
}

/// One level of a row, forward or back.
template <auto Butterfly>
VXT_ALWAYS_INLINE void RowLevel(double* pRow, const double* pLevel, uint32_t uNodes, uint32_t uPoints) {
    const uint32_t uQuarter = uPoints / 2;  // doubles of a quarter of a node
    for (uint32_t uNode = 0; uNode < uNodes; ++uNode, pRow += 4 * uQuarter) {
        const CTwiddles Twiddles = LoadRowTwiddles(pLevel, uNode);
#pragma GCC unroll kUnrolled
        for (uint32_t i = 0; i < uQuarter; i += kLine) {
            CPoint z[4];
            for (uint32_t k = 0; k < 4; ++k) z[k] = LoadPoint(pRow + i + k * uQuarter);
            Butterfly(z, Twiddles);
            for (uint32_t k = 0; k < 4; ++k) StorePoint(pRow + i + k * uQuarter, z[k]);
        }
    }
}

/// A * B + C.
VXT_ALWAYS_INLINE CPoint MulAdd(CPoint A, CPoint B, CPoint C) {
    return {CVector::SubMul(CVector::MulAdd(A.Re, B.Re, C.Re), A.Im, B.Im),
            CVector::MulAdd(A.Im, B.Re, CVector::MulAdd(A.Re, B.Im, C.Im))};
}

/// g of the children from i: c^1 of their parent times 1, -1, i, -i.
VXT_ALWAYS_INLINE CPoint ChildRoots(CPoint Parent, uint32_t i) {
    alignas(32) static constexpr double kTurns[] = {1, -1, 0, 0, 0, 0, 1, -1};
    const CVector Re = CVector::Load(kTurns + i), Im = CVector::Load(kTurns + 4 + i);
    if constexpr (kLanes == 4) return Parent * CPoint{Re, Im};
    if (i == 0) return {Parent.Re * Re, Parent.Im * Re};  // two children lie on one line
    return {CVector::All(0) - Parent.Im * Im, Parent.Re * Im};
}

/// Squares a row's nodes of four points, kLanes of them at a time, modulo x^4 - g: cheaper than another level down and up.
/// Half of each square: the step's scale makes up for it. pLevel: the twiddles of the level above.
inline void SquareRow(const CStepFrame& rFrame, double* pRow, const double* pLevel) {
    for (uint32_t uNode = 0; uNode < rFrame.Shape.uColumns / 16; ++uNode) {
        const double* const pNode = pLevel + uNode / kLanes * kTwiddleDoubles * kLanes + uNode % kLanes;
        const CPoint Parent = AllPoint(pNode[0], pNode[kLanes]);
        for (uint32_t i = 0; i < 4; i += kLanes, pRow += 4 * kLine) {
            const CPoint Root = ChildRoots(Parent, i);
            CPoint z[4];
            for (uint32_t k = 0; k < 4; ++k) z[k] = LoadPoint(pRow + k * kLine);
            LinesToNodes(z);
            const CPoint Half0 = HalfSquare(z[0]), Half1 = HalfSquare(z[1]);
            const CPoint Half2 = HalfSquare(z[2]), Half3 = HalfSquare(z[3]);
            const CPoint High0 = MulAdd(z[1], z[3], Half2), High1 = z[2] * z[3];
            const CPoint Low2 = MulAdd(z[0], z[2], Half1), Low3 = MulAdd(z[1], z[2], z[0] * z[3]);
            const CPoint Low1 = z[0] * z[1];
            z[0] = MulAdd(Root, High0, Half0), z[1] = MulAdd(Root, High1, Low1);
            z[2] = MulAdd(Root, Half3, Low2), z[3] = Low3;
            NodesToLines(z);
            for (uint32_t k = 0; k < 4; ++k) StorePoint(pRow + k * kLine, z[k]);
        }
    }
}

inline void RowForward(double* pRow, const double* pLevel, uint32_t uNodes, uint32_t uPoints) {
    RowLevel<Forward4>(pRow, pLevel, uNodes, uPoints);
}
inline void RowInverse(double* pRow, const double* pLevel, uint32_t uNodes, uint32_t uPoints) {
    RowLevel<Inverse4>(pRow, pLevel, uNodes, uPoints);
}

inline bool Rows(const CStepFrame& rFrame) {
    const auto& [uRows, uColumns, uLevels] = rFrame.Shape;
    const auto Twiddles = [&](uint32_t uLevel) {
        uint32_t uNodes = 0;  // of the levels above
        for (uint32_t i = 0; i < uLevel; ++i) uNodes += i == 0 ? kLanes : 1U << (2 * i);
        return rFrame.pRowTwiddles + kTwiddleDoubles * uNodes;
    };
    for (uint32_t uRow = 0; uRow < uRows; ++uRow) {
        if (!rFrame.pGoesOn(rFrame.pOwner)) return false;
        double* const pRow = rFrame.pWork + uRow * RowDoubles(rFrame);
        const double* const pBases = rFrame.pRowBases + 2 * uLevels * uRow;
        PrepareRow(rFrame, pBases);
        Touch(rFrame);
        for (uint32_t i = 0; i < uLevels; ++i) {
            RowForward(pRow, Twiddles(i), 1U << (2 * i), uColumns >> (2 * i));
            Touch(rFrame);
        }
        SquareRow(rFrame, pRow, Twiddles(uLevels - 1));
        Touch(rFrame);
        for (uint32_t i = uLevels; i-- > 0;) {
            RowInverse(pRow, Twiddles(i), 1U << (2 * i), uColumns >> (2 * i));
            Touch(rFrame);
        }
    }
    return true;
}

// ---- Columns ----------------------------------------------------------------------------------------------------------

/// One node of a block of columns: p is its first row's line.
template <auto Butterfly>
VXT_ALWAYS_INLINE void ColumnNode(const CStepFrame& rFrame, double* p, uint32_t uRows, uint32_t uNode) {
    const CTwiddles Twiddles = LoadTwiddles(rFrame.pColumnTwiddles + kTwiddleDoubles * uNode, 1);
    const uint32_t uRow = RowDoubles(rFrame), uQuarter = uRows / 4 * uRow;
    for (uint32_t i = 0; i < uRows / 4; ++i, p += uRow)
#pragma GCC unroll kUnrolled
        for (uint32_t j = 0; j < 2 * rFrame.uBlockColumns; j += kLine) {
            CPoint z[4];
            for (uint32_t k = 0; k < 4; ++k) z[k] = LoadPoint(p + j + k * uQuarter);
            Butterfly(z, Twiddles);
            for (uint32_t k = 0; k < 4; ++k) StorePoint(p + j + k * uQuarter, z[k]);
        }
}

inline void ColumnsForward(const CStepFrame& rFrame, double* p, uint32_t uRows, uint32_t uNode) {
    if (uRows == 1) return;
    ColumnNode<Forward4>(rFrame, p, uRows, uNode);
    if (uRows == 4) return;
    for (uint32_t k = 0; k < 4; ++k)
        ColumnsForward(rFrame, p + k * (uRows / 4) * RowDoubles(rFrame), uRows / 4, 4 * uNode + k);
}

inline void ColumnsInverse(const CStepFrame& rFrame, double* p, uint32_t uRows, uint32_t uNode) {
    if (uRows == 1) return;
    if (uRows > 4)
        for (uint32_t k = 0; k < 4; ++k)
            ColumnsInverse(rFrame, p + k * (uRows / 4) * RowDoubles(rFrame), uRows / 4, 4 * uNode + k);
    ColumnNode<Inverse4>(rFrame, p, uRows, uNode);
}

/// The root, x^L - i, of four or, where the number of rows is no power of four, eight children.
inline constexpr uint32_t kRoot = 2;

/// The root's twiddles, and those of the two nodes that its c^2 halves it into: as vectors, for they are more than registers
/// hold, and a multiplication reads them where they are kept.
struct CRootTwiddles {
    explicit CRootTwiddles(const CStepFrame& rFrame) {
        for (uint32_t i = 0; i < 3; ++i) {
            const double* const p = rFrame.pRootTwiddles + kTwiddleDoubles * kLanes * i;
            Nodes[i] = {LoadPoint(p), LoadPoint(p + kLine), LoadPoint(p + 2 * kLine)};
        }
    }
    CTwiddles Nodes[3];
};

template <uint32_t kRadix> VXT_ALWAYS_INLINE void RootForward(const CRootTwiddles& rRoot, CPoint* z) {
    if constexpr (kRadix == 8) {
        for (uint32_t k = 0; k < 4; ++k) {
            const CPoint b = z[k + 4] * rRoot.Nodes[0].c2;
            z[k + 4] = z[k] - b, z[k] = z[k] + b;
        }
        Forward4(z, rRoot.Nodes[1]);
        Forward4(z + 4, rRoot.Nodes[2]);
    } else {
        Forward4(z, rRoot.Nodes[0]);
    }
}
template <uint32_t kRadix> VXT_ALWAYS_INLINE void RootInverse(const CRootTwiddles& rRoot, CPoint* z) {
    if constexpr (kRadix == 8) {
        Inverse4(z, rRoot.Nodes[1]);
        Inverse4(z + 4, rRoot.Nodes[2]);
        for (uint32_t k = 0; k < 4; ++k) {
            const CPoint d = z[k] - z[k + 4];
            z[k] = z[k] + z[k + 4], z[k + 4] = TimesConjugate(d, rRoot.Nodes[0].c2);
        }
    } else {
        Inverse4(z, rRoot.Nodes[0]);
    }
}

template <uint32_t kRadix> bool BeginColumns(const CStepFrame& rFrame) {
    const CRootTwiddles Root(rFrame);
    const uint32_t uRow = RowDoubles(rFrame), uChild = rFrame.Shape.uRows / kRadix;
    for (uint32_t uColumn = 0; uColumn < rFrame.Shape.uColumns; uColumn += rFrame.uBlockColumns) {
        if (!rFrame.pGoesOn(rFrame.pOwner)) return false;
        double* const pBlock = rFrame.pWork + 2 * uColumn;
        for (uint32_t i = 0; i < uChild; ++i)
            for (uint32_t j = 0; j < 2 * rFrame.uBlockColumns; j += kLine) {
                double* const p = pBlock + i * uRow + j;
                CPoint z[kRadix];
                for (uint32_t k = 0; k < kRadix; ++k) z[k] = LoadPoint(p + k * uChild * uRow);
                RootForward<kRadix>(Root, z);
                for (uint32_t k = 0; k < kRadix; ++k) StorePoint(p + k * uChild * uRow, z[k]);
            }
        for (uint32_t k = 0; k < kRadix; ++k)
            ColumnsForward(rFrame, pBlock + k * uChild * uRow, uChild, kRadix * kRoot + k);
        Touch(rFrame);
    }
    return true;
}

// ---- Back to digits -----------------------------------------------------------------------------------------------------

/// Constants of rounding, carrying and the checksum.
struct CCarrying {
    explicit CCarrying(const CStepFrame& rFrame)
        : Scale(CVector::All(rFrame.dScale)),
          BaseInverse(CVector::All(rFrame.dBaseInverse)),
          Lift(CVector::All(kMagic * rFrame.dBase - kMagic)),
          Prime(CVector::All(rFrame.dPrime)),
          PrimeInverse(CVector::All(rFrame.dPrimeInverse)),
          Magic(CVector::All(kMagic)) {}
    CVector Scale, BaseInverse, Lift, Prime, PrimeInverse, Magic;

    /// An integer below 2^53 to one of its kind between -prime/2 and prime/2.
    VXT_ALWAYS_INLINE CVector Reduce(CVector A) const {
        return CVector::SubMul(A, CVector::MulAdd(A, PrimeInverse, Magic) - Magic, Prime);
    }
    /// The residue of A * B + C: two residues of up to 30 bits, whose product would not be exact, and an integer below 2^51.
    VXT_ALWAYS_INLINE CVector ReducedMulAdd(CVector A, CVector B, CVector C) const {
        const CVector Half = CVector::All(0x1p15);
        const CVector High = CVector::MulAdd(B, CVector::All(0x1p-15), Magic) - Magic;
        return Reduce(CVector::MulAdd(A, CVector::SubMul(B, High, Half), CVector::MulAdd(Reduce(A * High), Half, C)));
    }
};

/// What the carries of kRowGroup rows add to the checksum.
struct CCarrySums {
    CVector Parts[kParts];
};

/// Turns one line of kRowGroup rows into digits: kLanes columns after one another, the rows side by side. A carry is kept
/// with kMagic added, so that adding it rounds; the sum with kMagic * base added instead is a whole multiple of the base, and
/// divided by it, the next carry with kMagic added.
/// pRoundOff: takes the largest distance of four coefficients from whole numbers, squared; null: not looked at.
template <EChecks kChecks>
VXT_ALWAYS_INLINE void CarryLine(const CCarrying& rCarrying, CVector Scale, CVector* pRows, CVector* pCarry,
                                 const double* pWeights, CCarrySums& rSums, CVector* pRoundOff) {
    CVector Distance = CVector::All(0);
    for (uint32_t uPart = 0; uPart < kParts; ++uPart) {
        CVector* const p = pRows + uPart * kLanes;
        CVector& rCarry = pCarry[uPart];
        CVector::Transpose(p);
        for (uint32_t i = 0; i < kLanes; ++i) {
            const CVector Sum = CVector::MulAdd(p[i], Scale, rCarry);
            if (kChecks != EChecks::kNone && pRoundOff) {
                const CVector Off = CVector::MulAdd(p[i], Scale, rCarry - Sum);
                Distance = CVector::MulAdd(Off, Off, Distance);
            }
            const CVector Lifted = Sum + rCarrying.Lift;
            rCarry = Lifted * rCarrying.BaseInverse;
            p[i] = Sum - (Lifted - rCarrying.Lift);
            if constexpr (kChecks == EChecks::kAll)
                rSums.Parts[uPart] =
                    CVector::MulAdd(rCarry - rCarrying.Magic, CVector::Load(pWeights + i * kLanes), rSums.Parts[uPart]);
        }
        CVector::Transpose(p);
    }
    if (kChecks != EChecks::kNone && pRoundOff) *pRoundOff = CVector::Larger(*pRoundOff, Distance);
}

/// Adds a group's sums, weighted by row, to those of a block.
VXT_ALWAYS_INLINE void AddSums(const CStepFrame& rFrame, const CCarrying& rCarrying, const CCarrySums& rSums,
                               const double* pRowWeights, CCarrySums& rBlock) {
    for (uint32_t uPart = 0; uPart < kParts; ++uPart) {
        const CVector Weight = CVector::Load(pRowWeights + uPart * kLanes);
        const CVector Sum = CVector::MulAdd(rCarrying.Reduce(rSums.Parts[uPart]), Weight, rBlock.Parts[uPart]);
        rBlock.Parts[uPart] = rFrame.bReduceOften ? rCarrying.Reduce(Sum) : Sum;
    }
}

/// Adds a block's sums, real and imaginary parts, to the step's, weighted by the power of the root that the block begins with.
VXT_ALWAYS_INLINE void AddBlock(const CCarrying& rCarrying, const CCarrySums* pBlock, double dRoot,
                                vxt::fft::CLaneSums& rSums) {
    for (uint32_t uHalf = 0; uHalf < 2; ++uHalf)
        for (uint32_t uPart = 0; uPart < kParts; ++uPart) {
            double* const pSum = rSums.dCarries[uHalf] + uPart * kLanes;
            const CVector Product = rCarrying.Reduce(pBlock[uHalf].Parts[uPart]) * CVector::All(dRoot);
            rCarrying.Reduce(rCarrying.Reduce(Product) + CVector::Load(pSum)).Store(pSum);
        }
}

/// The last inverse level of a block of columns.
template <uint32_t kRadix> void RootBlock(const CStepFrame& rFrame, double* pBlock) {
    const CRootTwiddles Root(rFrame);
    const uint32_t uRow = RowDoubles(rFrame), uChild = rFrame.Shape.uRows / kRadix;
    for (uint32_t i = 0; i < uChild; ++i)
        for (uint32_t j = 0; j < 2 * rFrame.uBlockColumns; j += kLine) {
            double* const p = pBlock + i * uRow + j;
            CPoint z[kRadix];
            for (uint32_t k = 0; k < kRadix; ++k) z[k] = LoadPoint(p + k * uChild * uRow);
            RootInverse<kRadix>(Root, z);
            for (uint32_t k = 0; k < kRadix; ++k) StorePoint(p + k * uChild * uRow, z[k]);
        }
}

/// Rounds a block of columns and carries through it, all groups of rows, and adds what they carry to the checksum's sums.
template <uint32_t kRadix, EChecks kChecks>
void CarryBlock(const CStepFrame& rFrame, const CCarrying& rCarrying, double* pBlock, CCarrySums* pSums,
                CVector& rRoundOff) {
    constexpr uint32_t kGroups = kRadix / kRowGroup;
    constexpr uint32_t kStreams = 2 * (kLanes == 4 ? kGroups : 1);  // as many as registers hold the carries of
    const uint32_t uRow = RowDoubles(rFrame), uChild = rFrame.Shape.uRows / kRadix, uSum = rFrame.uSumColumns;
    const CCarrying Carrying = rCarrying;  // in registers
    CVector RoundOff = rRoundOff;
    for (uint32_t uGroup = 0; uGroup < uChild * kGroups; uGroup += kStreams / 2) {
        double* const pCarries = rFrame.pCarries + uGroup * 2 * kRowGroup;
        double* const pFirst = pBlock + (kRowGroup * (uGroup % kGroups) * uChild + uGroup / kGroups) * uRow;
        CVector Carries[kStreams][kParts];
        for (uint32_t s = 0; s < kStreams; ++s)
            for (uint32_t uPart = 0; uPart < kParts; ++uPart)
                Carries[s][uPart] = CVector::Load(pCarries + s * kRowGroup + uPart * kLanes);
        for (uint32_t uBegin = 0; uBegin < rFrame.uBlockColumns; uBegin += uSum) {
            CCarrySums Sums[kStreams] = {};
            const double* pWeights = rFrame.pColumnWeights + uBegin * kLanes;
            double* const pEnd = pFirst + 2 * (uBegin + uSum);
            for (double* p = pFirst + 2 * uBegin; p != pEnd; p += kLine, pWeights += kLanes * kLanes)
#pragma GCC unroll 4
                for (uint32_t s = 0; s < kStreams; ++s) {
                    double* const pLine = p + s / 2 * kRowGroup * uChild * uRow + s % 2 * kLanes;
                    CVector Rows[kRowGroup];
                    for (uint32_t k = 0; k < kRowGroup; ++k) Rows[k] = CVector::Load(pLine + k * uChild * uRow);
                    // The real parts' round-off will do: a wrong point of the spectrum is in both.
                    CarryLine<kChecks>(Carrying, Carrying.Scale, Rows, Carries[s], pWeights, Sums[s],
                                       s % 2 == 0 ? &RoundOff : nullptr);
                    for (uint32_t k = 0; k < kRowGroup; ++k) Rows[k].Store(pLine + k * uChild * uRow);
                }
            if constexpr (kChecks == EChecks::kAll)
                for (uint32_t s = 0; s < kStreams; ++s)
                    AddSums(rFrame, rCarrying, Sums[s], rFrame.pRowWeights + (uGroup + s / 2) * kRowGroup,
                            pSums[s % 2]);
        }
        for (uint32_t s = 0; s < kStreams; ++s)
            for (uint32_t uPart = 0; uPart < kParts; ++uPart)
                Carries[s][uPart].Store(pCarries + s * kRowGroup + uPart * kLanes);
    }
    rRoundOff = RoundOff;
}

template <uint32_t kRadix, EChecks kChecks> bool EndColumns(CStepFrame& rFrame) {
    const uint32_t uChild = rFrame.Shape.uRows / kRadix;
    const CCarrying Carrying(rFrame);
    CVector RoundOff = CVector::All(0);
    double dRoot = 1;
    for (uint32_t uColumn = 0; uColumn < rFrame.Shape.uColumns; uColumn += rFrame.uBlockColumns) {
        if (!rFrame.pGoesOn(rFrame.pOwner)) return false;
        double* const pBlock = rFrame.pWork + 2 * uColumn;
        for (uint32_t k = 0; k < kRadix; ++k)
            ColumnsInverse(rFrame, pBlock + k * uChild * RowDoubles(rFrame), uChild, kRadix * kRoot + k);
        Touch(rFrame);
        RootBlock<kRadix>(rFrame, pBlock);
        Touch(rFrame);
        CCarrySums Block[2] = {};
        CarryBlock<kRadix, kChecks>(rFrame, Carrying, pBlock, Block, RoundOff);
        if constexpr (kChecks == EChecks::kAll) {
            AddBlock(Carrying, Block, dRoot, rFrame.Sums);
            const double dProduct = dRoot * rFrame.dBlockRoot;
            dRoot = dProduct - ((dProduct * rFrame.dPrimeInverse + kMagic) - kMagic) * rFrame.dPrime;
        }
        Touch(rFrame);
    }
    alignas(32) double dRoundOff[kLanes];
    RoundOff.Store(dRoundOff);
    rFrame.dRoundOff = 0;
    for (const double d : dRoundOff)
        if (d > rFrame.dRoundOff) rFrame.dRoundOff = d;
    return true;
}

/// What a row carried out of its last column goes into the next row's first ones; out of the last row, negated, into the first.
template <uint32_t kRadix, EChecks kChecks> void CarryOver(CStepFrame& rFrame) {
    constexpr uint32_t kGroups = kRadix / kRowGroup;
    const uint32_t uRow = RowDoubles(rFrame), uRows = rFrame.Shape.uRows, uChild = uRows / kRadix;
    const CCarrying Carrying(rFrame);
    double* const pCarries = rFrame.pCarries;
    // Row k * uChild + i has lane k % 4 of group i * kGroups + k / 4. Groups in falling order: what comes before is still there.
    const auto Carried = [&](uint32_t uOfRow, uint32_t uHalf) {
        const uint32_t k = uOfRow / uChild, i = uOfRow % uChild;
        return pCarries[(2 * (i * kGroups + k / kRowGroup) + uHalf) * kRowGroup + k % kRowGroup];
    };
    const double dTop = 2 * kMagic - Carried(uRows - 1, 1), dMiddle = Carried(uRows - 1, 0);
    double dLast[kRadix][2];
    for (uint32_t k = 1; k < kRadix; ++k)
        for (uint32_t uHalf = 0; uHalf < 2; ++uHalf) dLast[k][uHalf] = Carried(k * uChild - 1, uHalf);
    dLast[0][0] = dTop, dLast[0][1] = dMiddle;
    CCarrySums Block[2] = {};
    bool bLeft = false;
    for (uint32_t i = uChild; i-- > 0;)
        for (uint32_t g = 0; g < kGroups; ++g)
            for (uint32_t uHalf = 0; uHalf < 2; ++uHalf) {
                double* const pOut = pCarries + (2 * (i * kGroups + g) + uHalf) * kRowGroup;
                alignas(32) double dIn[kRowGroup];
                for (uint32_t k = 0; k < kRowGroup; ++k)
                    dIn[k] = i == 0 ? dLast[g * kRowGroup + k][uHalf] : (pOut - kGroups * 2 * kRowGroup)[k];
                CVector Carry[kParts];
                for (uint32_t uPart = 0; uPart < kParts; ++uPart) Carry[uPart] = CVector::Load(dIn + uPart * kLanes);
                CCarrySums Sums{};
                for (uint32_t j = 0; j < kRowGroup; j += kLanes) {
                    double* const p = rFrame.pWork + (g * kRowGroup * uChild + i) * uRow + 2 * j + uHalf * kLanes;
                    CVector Rows[kRowGroup];
                    for (uint32_t k = 0; k < kRowGroup; ++k) Rows[k] = CVector::Load(p + k * uChild * uRow);
                    CarryLine<kChecks>(Carrying, CVector::All(1), Rows, Carry, rFrame.pColumnWeights + j * kLanes, Sums,
                                       nullptr);
                    for (uint32_t k = 0; k < kRowGroup; ++k) Rows[k].Store(p + k * uChild * uRow);
                }
                for (uint32_t uPart = 0; uPart < kParts; ++uPart) {
                    Carry[uPart] = Carry[uPart] - Carrying.Magic;  // the number itself, for who carries further
                    bLeft = bLeft || !Carry[uPart].IsZero();
                    Carry[uPart].Store(pOut + uPart * kLanes);
                }
                if constexpr (kChecks == EChecks::kAll)
                    AddSums(rFrame, Carrying, Sums, rFrame.pRowWeights + (i * kGroups + g) * kRowGroup, Block[uHalf]);
            }
    if constexpr (kChecks == EChecks::kAll) AddBlock(Carrying, Block, 1, rFrame.Sums);
    rFrame.bCarriesLeft = bLeft;
}

/// Blocks of a row's columns that the checksum reads side by side: one load of a weight serves them all, and so many sums
/// hide an addition's latency. As many as registers hold; two of the widest rows, for main memory is read slower in four places.
inline constexpr uint32_t kWidestInCache = 1024;
inline constexpr uint32_t kSumBlocks = sizeof(void*) == 8 ? 4 : 2;

/// The digits' share of the checksum, from memory: what went wrong since they were written counts too.
template <uint32_t kBlocks> bool ReadBack(CStepFrame& rFrame) {
    constexpr uint32_t kBlock = vxt::fft::kDigitWeights, kColumns = kBlocks * kBlock;
    const CCarrying Carrying(rFrame);
    const CVector BlockRoot = CVector::All(rFrame.dDigitRoot);
    CVector Root = BlockRoot;  // of all blocks
    for (uint32_t k = 1; k < kBlocks; k *= 2) Root = Carrying.ReducedMulAdd(Root, Root, CVector::All(0));
    const auto Add = [&](CPoint& rSum, CVector Factor, CPoint Block) {
        rSum.Re = Carrying.ReducedMulAdd(rSum.Re, Factor, Block.Re);
        rSum.Im = Carrying.ReducedMulAdd(rSum.Im, Factor, Block.Im);
    };
    CPoint Sums[kBlocks] = {};
    for (uint32_t uRow = rFrame.Shape.uRows; uRow-- > 0;) {
        if (!rFrame.pGoesOn(rFrame.pOwner)) return false;
        for (uint32_t uColumn = rFrame.Shape.uColumns; uColumn > 0; uColumn -= kColumns) {
            const double* p = rFrame.pWork + uRow * RowDoubles(rFrame) + 2 * (uColumn - kColumns);
            CPoint Blocks[kBlocks] = {};
            for (uint32_t i = 0; i < kBlock; i += kLanes, p += kLine) {
                const CVector Weight = CVector::Load(rFrame.pDigitWeights + i);
                for (uint32_t k = 0; k < kBlocks; ++k) {
                    const CPoint z = LoadPoint(p + 2 * k * kBlock);
                    Blocks[k].Re = CVector::MulAdd(z.Re, Weight, Blocks[k].Re);
                    Blocks[k].Im = CVector::MulAdd(z.Im, Weight, Blocks[k].Im);
                }
            }
            for (uint32_t k = 0; k < kBlocks; ++k) Add(Sums[k], Root, Blocks[k]);
        }
    }
    CPoint Sum = Sums[kBlocks - 1];
    for (uint32_t k = kBlocks - 1; k-- > 0;) Add(Sum, BlockRoot, Sums[k]);
    Sum.Re.Store(rFrame.Sums.dDigits[0]), Sum.Im.Store(rFrame.Sums.dDigits[1]);
    return true;
}

template <uint32_t kRadix, EChecks kChecks> bool StepOf(CStepFrame& rFrame) {
    for (uint32_t i = 0; i < 2 * rFrame.Shape.uRows; ++i) rFrame.pCarries[i] = kMagic;
    rFrame.pCarries[0] = kMagic + 1;  // x^2 + 1
    rFrame.Sums = {};
    Touch(rFrame);
    if (!BeginColumns<kRadix>(rFrame) || !Rows(rFrame) || !EndColumns<kRadix, kChecks>(rFrame)) return false;
    CarryOver<kRadix, kChecks>(rFrame);
    Touch(rFrame);
    if constexpr (kChecks == EChecks::kNone) return true;
    return rFrame.Shape.uColumns > kWidestInCache ? ReadBack<2>(rFrame) : ReadBack<kSumBlocks>(rFrame);
}

template <uint32_t kRadix> bool StepOf(CStepFrame& rFrame, EChecks eChecks) {
    if (eChecks == EChecks::kNone) return StepOf<kRadix, EChecks::kNone>(rFrame);
    if (eChecks == EChecks::kDigits) return StepOf<kRadix, EChecks::kDigits>(rFrame);
    return StepOf<kRadix, EChecks::kAll>(rFrame);
}

VXT_ALWAYS_INLINE bool g_Step(CStepFrame& rFrame, EChecks eChecks) {
    uint32_t uSquares = rFrame.Shape.uRows;
    while (uSquares > 4) uSquares /= 4;
    return uSquares == 4 ? StepOf<4>(rFrame, eChecks) : StepOf<8>(rFrame, eChecks);
}

}  // namespace
