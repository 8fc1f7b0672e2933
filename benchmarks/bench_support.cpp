#include "benchmarks/bench_support.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace benchmarks {

namespace {

namespace fs = std::filesystem;

std::string theProgram;
std::string theFolder;

int PrintPeak() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmHWM:" && status >> word) std::cout << word << '\n';
    }
    return 0;
}

}  // namespace

void Check(bool ok, const char* what) {
    if (ok) return;
    std::cerr << what << " failed\n";
    std::exit(1);
}

void Run(const std::string& command) {
    Check(std::system(command.c_str()) == 0, command.c_str());
}

const std::string& Program() {
    return theProgram;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

const std::string& Folder() {
    return theFolder;
}

double PeakKilobytes(const std::string& path) {
    const auto out = theFolder + "/peak";
    Run(theProgram + " --peak '" + path + "' > " + out);
    double kilobytes = 0;
    std::ifstream(out) >> kilobytes;
    return kilobytes;
}

int RunAll(int count, char** arguments, void (*loadForPeak)(const std::string& path)) {
    if (loadForPeak != nullptr && count == 3 && std::string(arguments[1]) == "--peak") {
        loadForPeak(arguments[2]);
        return PrintPeak();
    }
    theProgram = arguments[0];
    const auto base = fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
    const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
    theFolder = (base / ("kv-bench-" + std::to_string(stamp))).string();
    fs::create_directory(theFolder);
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    fs::remove_all(theFolder);
    return 0;
}

}  // namespace benchmarks
