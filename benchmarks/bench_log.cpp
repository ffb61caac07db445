// What a log line costs: masked out, written and committed; and the bare write and fsync beside it.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "api/log/log.h"

namespace {

const std::string kLine(56, 'x');  // with the stamp and the line feed: 73 bytes

/// A fresh folder on the disk below the current one, left and removed at the end.
struct CFolder {
    std::filesystem::path m_Old = std::filesystem::current_path();
    CFolder() {
        std::filesystem::create_directory("bench-log");
        std::filesystem::current_path("bench-log");
    }
    ~CFolder() {
        std::filesystem::current_path(m_Old);
        std::filesystem::remove_all("bench-log");
    }
};

void MaskedOutLine(benchmark::State& rState) {
    vxt::CLog Log;
    Log.Init("bench", 1, vxt::CLog::kToFile, 10000);
    for (auto _ : rState) benchmark::DoNotOptimize(Log.WriteLog(4, "%s", kLine.c_str()));
}
BENCHMARK(MaskedOutLine);

void CommittedLine(benchmark::State& rState) {
    const CFolder Folder;
    vxt::CLog Log;
    Log.Init("bench", 65535, vxt::CLog::kToFile, 1'000'000);
    for (auto _ : rState) Log.WriteLog(4, "%s", kLine.c_str());
    Log.UnInit();
    rState.SetItemsProcessed(rState.iterations());
}
BENCHMARK(CommittedLine)->UseRealTime()->MinTime(2);

void BareWriteAndFsync(benchmark::State& rState) {
    const CFolder Folder;
    const std::string sLine = "1121-120000<4>: " + kLine + "\n";
    const int nFile = open("bare.log", O_WRONLY | O_CREAT | O_TRUNC, 0666);
    for (auto _ : rState) {
        benchmark::DoNotOptimize(write(nFile, sLine.data(), sLine.size()));
        fsync(nFile);
    }
    close(nFile);
    rState.SetItemsProcessed(rState.iterations());
}
BENCHMARK(BareWriteAndFsync)->UseRealTime()->MinTime(2);

}  // namespace
