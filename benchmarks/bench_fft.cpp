// A step of the stability test's arithmetic beside the same step over FFTW, both sides in turns: the best time of each counts.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "bench/fft/squaring.h"
#include "fftw_step.h"

namespace {

using namespace vxt::fft;
using CClock = std::chrono::steady_clock;

double Seconds(CClock::duration Time) { return std::chrono::duration<double>(Time).count(); }

std::unique_ptr<CSquaring> Make(uint32_t uWords, EPath ePath) {
    auto pSquaring = CSquaring::Make(CSquaring::MakeTables(uWords, ePath));
    if (!pSquaring || !pSquaring->Load(uWords, false)) std::exit(1);
    return pSquaring;
}

void Step(CSquaring& rSquaring) {
    CFinding Finding;
    if (rSquaring.Step(false, Finding)) return;
    std::fprintf(stderr, "a check failed: %u\n", static_cast<unsigned>(Finding.eCheck));
    std::exit(1);
}

/// The best time of each operation: rounds of all of them, so that what disturbs the machine disturbs all.
template <class... TOperation> std::vector<double> BestOf(TOperation... Operations) {
    std::vector<double> Best(sizeof...(Operations), 1e9);
    for (const auto Begin = CClock::now(); CClock::now() - Begin < std::chrono::seconds(4);) {
        size_t i = 0;
        const auto Time = [&](auto& rOperation) {
            for (int nRound = 0; nRound < 8; ++nRound) {  // the first ones find the other side in the cache
                const auto Started = CClock::now();
                rOperation();
                Best[i] = std::min(Best[i], Seconds(CClock::now() - Started));
            }
            ++i;
        };
        (Time(Operations), ...);
    }
    return Best;
}

constexpr struct {
    const char* pszName;
    uint32_t uWords;
    double dGoal, dGoalSse2;
} kRows[] = {{"64 Kbit", 1 << 12, 1.0, 0.7},
             {"1 Mbit", 1 << 16, 1.0, 0.7},
             {"8 Mbit", 1 << 19, 1.0, 0.7},
             {"64 Mbit", 1 << 22, 0.8, 0.7}};

bool Compare() {
    std::string sMissed;
    std::printf("%-8s %8s %4s  %11s %11s %7s %5s %7s  %11s %7s %5s %7s\n", "number", "words", "bits", "FFTW us",
                "AVX2 us", "ratio", "goal", "checks", "SSE2 us", "ratio", "goal", "checks");
    for (const auto& [pszName, uWords, dGoal, dGoalSse2] : kRows) {
        const auto pBest = Make(uWords, g_BestPath()), pPlain = Make(uWords, EPath::kSse2);
        const auto pUnchecked = Make(uWords, g_BestPath()), pPlainUnchecked = Make(uWords, EPath::kSse2);
        pUnchecked->SetChecks(false), pPlainUnchecked->SetChecks(false);
        vxtbench::CFftwStep Fftw(uWords, pBest->Size().uBits);
        std::vector<double> Digits(uWords), Others(uWords);
        pBest->Digits(Digits);
        Fftw.Load(Digits);
        for (int i = 0; i < 3; ++i) Step(*pBest), Fftw.Step();
        pBest->Digits(Digits), Fftw.Digits(Others);
        if (Digits != Others) {
            std::fprintf(stderr, "%s: the two sides differ\n", pszName);
            std::exit(1);
        }
        const auto Times = BestOf([&] { Fftw.Step(); }, [&] { Step(*pBest); }, [&] { Step(*pPlain); },
                                  [&] { Step(*pUnchecked); }, [&] { Step(*pPlainUnchecked); });
        const double dRatio = Times[0] / Times[1], dRatioSse2 = Times[0] / Times[2];
        if (dRatio < dGoal) sMissed += std::string(" ") + pszName + ",";
        if (dRatioSse2 < dGoalSse2) sMissed += std::string(" ") + pszName + " with SSE2 alone,";
        std::printf("%-8s %8u %4u  %11.2f %11.2f %6.2fx %4.1fx %6.1f%%  %11.2f %6.2fx %4.1fx %6.1f%%\n", pszName,
                    uWords, pBest->Size().uBits, Times[0] * 1e6, Times[1] * 1e6, dRatio, dGoal,
                    100 * (Times[1] / Times[3] - 1), Times[2] * 1e6, dRatioSse2, dGoalSse2,
                    100 * (Times[2] / Times[4] - 1));
    }
    if (sMissed.ends_with(',')) sMissed.pop_back();
    std::printf("both sides give the same digits; %s%s\n",
                sMissed.empty() ? "all goals reached" : "goals MISSED:", sMissed.c_str());
    return sMissed.empty();
}

void StopLatency(EPath ePath, const char* pszName) {
    constexpr uint32_t kWords = kSizes[std::size(kSizes) - 1].uWords;
    const auto pSquaring = Make(kWords, ePath);
    std::vector<double> Latencies;
    for (int i = 0; i < 60; ++i) {
        std::atomic<bool> bStop = false;
        CClock::time_point Ended;
        std::thread Worker([&] {
            CFinding Finding;
            pSquaring->Pass(1, bStop, Finding);
            Ended = CClock::now();
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(7 * i));  // loading, then anywhere in the first steps
        const auto Asked = CClock::now();
        bStop = true;
        Worker.join();
        Latencies.push_back(Seconds(Ended - Asked) * 1e3);
    }
    std::ranges::sort(Latencies);
    std::printf("%s: a pass of %u words ends after a stop request in %.3f ms (median), %.3f ms (longest of %zu)\n",
                pszName, kWords, Latencies[Latencies.size() / 2], Latencies.back(), Latencies.size());
}

}  // namespace

int main() {
    const bool bReached = Compare();
    StopLatency(g_BestPath(), "best path");
    StopLatency(EPath::kSse2, "SSE2");
    return bReached ? 0 : 2;
}
