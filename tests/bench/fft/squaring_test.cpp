// Large numbers squared in floating point, against whole numbers, and with bits flipped on the way.
#include "bench/fft/squaring.h"

#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <random>
#include <tuple>
#include <vector>

#include "bench/fft/tables.h"

namespace {

using namespace vxt::fft;
using CDigits = std::vector<double>;

const std::atomic<bool> g_bGoOn = false, g_bStop = true;

std::unique_ptr<CSquaring> Make(uint32_t uWords, EPath ePath) {
    return CSquaring::Make(CSquaring::MakeTables(uWords, ePath));
}

CDigits DigitsOf(const CSquaring& rSquaring) {
    CDigits Digits(rSquaring.Size().uWords);
    rSquaring.Digits(Digits);
    return Digits;
}

/// Whether two numbers are equal modulo 2^(bits * words) + 1, word by word and exactly.
bool AreEqual(std::vector<int64_t> Difference, const CDigits& rOther, uint32_t uBits) {
    const auto Carry = [&](int64_t llCarry) {
        for (int64_t& rllWord : Difference) {
            llCarry += rllWord;
            rllWord = llCarry & ((1 << uBits) - 1);
            llCarry >>= uBits;
        }
        return llCarry;
    };
    for (size_t i = 0; i < rOther.size(); ++i) Difference[i] -= static_cast<int64_t>(rOther[i]);
    const int64_t llTop =
        Carry(0);  // times 2^(bits * words), which is -1: the words have to be llTop, or 2^... + 1 + llTop
    const int64_t llLeft = Carry(llTop < 0 ? -llTop - 1 : -llTop);
    return llLeft == (llTop < 0 ? 1 : 0) && std::ranges::count(Difference, 0) == std::ssize(Difference);
}

/// x^2 + 1 modulo x^words + 1, as they multiply at school.
std::vector<int64_t> SquareAndOne(const CDigits& rDigits) {
    const std::vector<int64_t> Words(rDigits.begin(), rDigits.end());
    const size_t uWords = Words.size();
    std::vector<int64_t> Square(uWords);
    int64_t* const p = Square.data();
    const int64_t* const q = Words.data();
    for (size_t i = 0; i < uWords; ++i) {
        for (size_t j = 0; j < uWords - i; ++j) p[i + j] += q[i] * q[j];
        for (size_t j = uWords - i; j < uWords; ++j) p[i + j - uWords] -= q[i] * q[j];
    }
    ++Square[0];
    return Square;
}

TEST(Squaring, IsThatOfWholeNumbersWhateverTheDigits) {
    const struct {
        const char* pszCase;
        double (*pDigit)(uint32_t i, uint32_t uWords);
        ECheck eAlarm = ECheck::kNone;  // no number that is squared over and over has such digits
    } kCases[] = {
        {"random",
         [](uint32_t i, uint32_t) { return static_cast<double>(static_cast<int16_t>(std::mt19937(i)() >> 16)); }},
        {"largest digits", [](uint32_t, uint32_t) { return 32768.0; }, ECheck::kRoundOff},
        {"smallest digits", [](uint32_t, uint32_t) { return -32768.0; }, ECheck::kRoundOff},
        {"alternating signs", [](uint32_t i, uint32_t) { return i % 2 ? -32768.0 : 32768.0; }, ECheck::kRoundOff},
        {"zero", [](uint32_t, uint32_t) { return 0.0; }},
        {"one", [](uint32_t i, uint32_t) { return i == 0 ? 1.0 : 0.0; }},
        {"minus one, or 2^(bits * words)", [](uint32_t i, uint32_t) { return i == 0 ? -1.0 : 0.0; }},
        {"the highest word", [](uint32_t i, uint32_t uWords) { return i == uWords - 1 ? 32768.0 : 0.0; }},
        {"a square of -1", [](uint32_t i, uint32_t uWords) { return i == uWords / 2 ? 1.0 : 0.0; }},
        // 2 * 128 * 129 in word 255, the last of a row, and 2 * 128 * 128, the largest digit, in the nine above it.
        {"a carry through nine words of a row",
         [](uint32_t i, uint32_t) { return i == 10                          ? 129.0
                                           : i == 245 || (i > 10 && i < 20) ? 128.0
                                                                            : 0.0; }},
    };
    for (const uint32_t uWords : {1U << 11, 1U << 12}) {
        for (const auto& [pszCase, pDigit, eAlarm] : kCases) {
            CDigits Digits(uWords);
            for (uint32_t i = 0; i < uWords; ++i) Digits[i] = pDigit(i, uWords);
            const std::vector<int64_t> Right = SquareAndOne(Digits);
            for (const EPath ePath : {EPath::kSse2, g_BestPath()}) {
                const auto pSquaring = Make(uWords, ePath);
                ASSERT_TRUE(pSquaring && pSquaring->Load(Digits));
                CFinding Finding;
                EXPECT_EQ(pSquaring->Step(g_bGoOn, Finding), eAlarm == ECheck::kNone) << pszCase;
                EXPECT_EQ(Finding.eCheck, eAlarm) << pszCase;
                EXPECT_TRUE(AreEqual(Right, DigitsOf(*pSquaring), 16)) << pszCase << ", " << uWords;
                EXPECT_TRUE(pSquaring->Finish(g_bGoOn, Finding)) << pszCase;
            }
        }
    }
}

TEST(Squaring, GivesTheSameDigitsOnBothPathsAndRaisesNoAlarm) {
    for (const CSize& rSize : kSizes) {
        if (rSize.uWords > 1 << 21) break;  // the first of the widest rows
        const auto pPlain = Make(rSize.uWords, EPath::kSse2), pBest = Make(rSize.uWords, g_BestPath());
        ASSERT_TRUE(pPlain && pBest && pPlain->Load(rSize.uWords, g_bGoOn) && pBest->Load(rSize.uWords, g_bGoOn));
        const int nSteps = rSize.uWords == 1 << 12 ? 5'000 : 2;  // no false alarm in ten thousand
        for (int i = 0; i < nSteps; ++i) {
            CFinding Finding;
            ASSERT_TRUE(pPlain->Step(g_bGoOn, Finding)) << rSize.uWords << ": " << static_cast<int>(Finding.eCheck);
            ASSERT_TRUE(pBest->Step(g_bGoOn, Finding)) << rSize.uWords << ": " << static_cast<int>(Finding.eCheck);
        }
        EXPECT_TRUE(DigitsOf(*pPlain) == DigitsOf(*pBest)) << rSize.uWords;
    }
}

/// Flips one bit at the n-th chance of a step: of the number in work or, past its end, of the tables.
struct CFlip : CFaultHook {
    void Touch(std::span<double> Work) override {
        m_Work = Work;
        if (m_uTouches++ == m_uWhen) Flip();
    }
    void Flip() const {
        double& rd = m_uPlace < m_Work.size() ? m_Work[m_uPlace] : m_Tables[m_uPlace - m_Work.size()];
        rd = std::bit_cast<double>(std::bit_cast<uint64_t>(rd) ^ m_ullBit);
    }

    std::span<double> m_Work, m_Tables;
    size_t m_uTouches = 0, m_uWhen = ~size_t{0}, m_uPlace = 0;
    uint64_t m_ullBit = 0;
};

/// Flips single bits of a step, and checks that none changes its result unseen. Returns how many were seen.
int FlipBits(uint32_t uWords, EPath ePath, int nFlips) {
    std::mt19937_64 Random(uWords + static_cast<uint32_t>(ePath));
    const auto pTables = CSquaring::MakeTables(uWords, ePath);
    const auto pBegin = CSquaring::Make(pTables), pSquaring = CSquaring::Make(pTables);
    CFlip Flip;
    CFinding Finding;
    if (!pBegin || !pSquaring || !pBegin->Load(7, g_bGoOn)) return 0;
    Flip.m_Tables = pTables->m_Memory.m_Doubles;
    pSquaring->SetFaultHook(&Flip);
    pSquaring->Take(*pBegin);
    EXPECT_TRUE(pSquaring->Step(g_bGoOn, Finding));
    const CDigits Right = DigitsOf(*pSquaring);
    const size_t uTouches = Flip.m_uTouches;
    int nSeen = 0;
    for (int i = 0; i < nFlips; ++i) {
        pSquaring->Take(*pBegin);
        Flip.m_uTouches = 0;
        Flip.m_uWhen = Random() % uTouches;
        Flip.m_uPlace = Random() % (Flip.m_Work.size() + Flip.m_Tables.size());
        Flip.m_ullBit = uint64_t{1} << Random() % 64;
        const bool bSeen = !pSquaring->Step(g_bGoOn, Finding);
        if (Flip.m_uPlace >= Flip.m_Work.size()) Flip.Flip();  // the tables serve the next one
        nSeen += bSeen;
        if (bSeen) continue;
        CDigits Digits = DigitsOf(*pSquaring);
        for (double& rd : Digits) rd = std::nearbyint(rd);  // what the next step rounds away has changed nothing
        EXPECT_TRUE(Digits == Right) << "flipped at chance " << Flip.m_uWhen << ", place " << Flip.m_uPlace;
    }
    return nSeen;
}

TEST(Squaring, NoFlippedBitThatChangesTheResultStaysUnseenInItsStep) {
    // The carries have no share in the smaller one's checksum.
    for (const auto& [uWords, nFlips] : {std::pair{1U << 12, 30'000}, {1U << 13, 3'000}})
        for (const EPath ePath : {EPath::kSse2, g_BestPath()}) EXPECT_GT(FlipBits(uWords, ePath, nFlips), nFlips / 2);
}

TEST(Squaring, DigitsThatChangeAfterTheLastStepAreSeenAtTheEndOfThePass) {
    const auto pSquaring = Make(1 << 12, g_BestPath());
    CFlip Flip;
    CFinding Finding;
    pSquaring->SetFaultHook(&Flip);
    ASSERT_TRUE(pSquaring->Load(3, g_bGoOn) && pSquaring->Step(g_bGoOn, Finding));
    double& rdDigit = Flip.m_Work[CSquaring::MakeTables(1 << 12, g_BestPath())->Place(2500)];
    const double dRight = rdDigit;
    for (const auto& [dWrong, eCheck, uPlace] :
         {std::tuple{dRight - std::copysign(1, dRight), ECheck::kKeptDigits, kUnknownWord},
          {dRight + 0.25, ECheck::kDigitRange, 2500U},
          {32769.0, ECheck::kDigitRange, 2500U},
          {std::nan(""), ECheck::kDigitRange, 2500U}}) {
        rdDigit = dWrong;
        EXPECT_FALSE(pSquaring->Finish(g_bGoOn, Finding)) << dWrong;
        EXPECT_EQ(Finding.eCheck, eCheck) << dWrong;
        EXPECT_EQ(Finding.uPlace, uPlace) << dWrong;
    }
    rdDigit = dRight;
    EXPECT_TRUE(pSquaring->Finish(g_bGoOn, Finding));
}

TEST(Squaring, EndsWhenAskedToAtEveryStage) {
    const auto pSquaring = Make(1 << 12, g_BestPath());
    CFinding Finding;
    EXPECT_FALSE(pSquaring->Load(1, g_bStop));
    ASSERT_TRUE(pSquaring->Load(1, g_bGoOn));
    EXPECT_FALSE(pSquaring->Step(g_bStop, Finding));
    EXPECT_FALSE(pSquaring->Finish(g_bStop, Finding));
    EXPECT_FALSE(pSquaring->Pass(1, g_bStop, Finding));
    EXPECT_EQ(Finding.eCheck, ECheck::kNone);
}

}  // namespace
