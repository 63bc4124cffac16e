// The main function of each benchmark program. Takes the options of Google Benchmark, and
//   --iterations=N   runs each side N times and prints nothing, for counting instructions.
#include "bench.h"

#include "heap_count.h"

#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

std::vector<benchmark::internal::Benchmark*> g_all;

class HeapCounter : public benchmark::MemoryManager {
public:
    void Start() override { bench::startCountingHeap(); }
    void Stop(Result* result) override { result->num_allocs = bench::stopCountingHeap(); }
    void Stop(Result& result) override { result.num_allocs = bench::stopCountingHeap(); }
};

class SilentReporter : public benchmark::BenchmarkReporter {
    bool ReportContext(const Context& /*context*/) override { return true; }
    void ReportRuns(const std::vector<Run>& /*report*/) override {}
};

// Takes --iterations=N out of the arguments; 0 without it.
long takeIterations(int& count, char** arguments) {
    const char* const option = "--iterations=";
    for (int i = 1; i < count; ++i) {
        if (std::strncmp(arguments[i], option, std::strlen(option)) == 0) {
            const long iterations = std::strtol(arguments[i] + std::strlen(option), nullptr, 10);
            std::memmove(arguments + i, arguments + i + 1,
                         static_cast<std::size_t>(count - i) * sizeof(char*));
            --count;
            return iterations;
        }
    }
    return 0;
}

}  // namespace

namespace bench {

benchmark::internal::Benchmark* add(const std::string& row, const std::string& side, Body body) {
    g_all.push_back(benchmark::RegisterBenchmark((row + "/" + side).c_str(), std::move(body)));
    return g_all.back();
}

}  // namespace bench

int main(int argc, char** argv) {
    const long iterations = takeIterations(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    bench::addRows();
    if (iterations != 0) {
        for (benchmark::internal::Benchmark* one : g_all) {
            one->Iterations(iterations);
        }
        SilentReporter silent;
        benchmark::RunSpecifiedBenchmarks(&silent);
        return 0;
    }
    HeapCounter counter;
    benchmark::RegisterMemoryManager(&counter);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::RegisterMemoryManager(nullptr);
    return 0;
}
