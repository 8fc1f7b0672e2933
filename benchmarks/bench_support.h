#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace benchmarks {

// Ends the program with a word on standard error if `ok` is false.
void Check(bool ok, const char* what);

template <class Work>
double Seconds(Work work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double Median(std::vector<double> values);

// Lets a shell run the command, which must succeed.
void Run(const std::string& command);

// The path of this program.
const std::string& Program();

// The folder of RunAll: in memory, so that no disk blurs a comparison.
const std::string& Folder();

// main() of a benchmark: runs all of them with a folder of their own, which goes at the end.
// `loadForPeak` serves PeakKilobytes; null where it is not used.
int RunAll(int count, char** arguments, void (*loadForPeak)(const std::string& path));

// The most memory that a process of its own has had at any time until `loadForPeak(path)` returned.
double PeakKilobytes(const std::string& path);

}  // namespace benchmarks
