// What the benchmark programs share: the main function, and how rows are named.
//
// A row is one thing that the library does. It has several sides: "library"; "floor", which is
// hand-written code with the same device calls and the same reads and writes of files; and peers.
// All sides of a row run in one process, interleaved. A benchmark is named "row/side".
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace bench {

using Body = std::function<void(benchmark::State&)>;

// Adds one side of a row, and hands it out for further settings.
benchmark::internal::Benchmark* add(const std::string& row, const std::string& side, Body body);

// Adds a side that does the same thing over and over.
template <typename Operation>
benchmark::internal::Benchmark* addLoop(const std::string& row, const std::string& side,
                                        Operation operation) {
    return add(row, side, [operation](benchmark::State& state) {
        for (auto pass : state) {
            static_cast<void>(pass);
            operation();
        }
    });
}

// Each program's own: adds its rows, sets up what they need for the life of the process.
void addRows();

}  // namespace bench
