#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/fuzz.h"

// Runs a fuzz target over every file of the folders named on the command line, without a fuzzer,
// so that the ordinary test run meets each input that once mattered. Fails if there is none.
int main(int count, char** arguments) {
    int inputs = 0;
    for (int i = 1; i < count; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string bytes{std::istreambuf_iterator<char>(file), {}};
            // The name stands before the run: a crash then says which input it was.
            std::printf("%s\n", entry.path().string().c_str());
            std::fflush(stdout);
            Check(bytes);
            ++inputs;
        }
    }
    return inputs > 0 ? 0 : 1;
}
