// Gives files to a fuzz target, one after the other: the corpus as a test of every build, and an
// input that libFuzzer found for a debugger.
#include "fuzz_target.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesAt(const fs::path& place) {
    std::vector<fs::path> files;
    if (fs::is_directory(place)) {
        files.assign(fs::directory_iterator(place), fs::directory_iterator());
        std::sort(files.begin(), files.end());
    } else {
        files.push_back(place);
    }
    return files;
}

// From the heap at its exact size, so that a sanitizer sees what reads beyond it.
std::vector<std::uint8_t> bytesOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    stream.exceptions(std::ios::badbit | std::ios::failbit);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

}  // namespace

int main(int argc, char** argv) {
    try {
        std::size_t count = 0;
        for (int i = 1; i < argc; ++i) {
            for (const fs::path& file : filesAt(argv[i])) {
                const std::vector<std::uint8_t> bytes = bytesOf(file);
                // Stays on the screen if the target ends the process.
                std::fprintf(stderr, "%s\n", file.c_str());
                LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
                ++count;
            }
        }
        std::printf("%zu inputs\n", count);
        return count == 0 ? 1 : 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
