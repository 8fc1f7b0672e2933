#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "benchmarks/inbox_generator.h"
#include "frame/trans_util.h"
#include "mailstore/eudora_mail.h"
#include "platform/testing/test_system.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kBytesEach = 18500;  // 1.2 GB in 65,000 mails

std::string theProgram;
std::string theFolder;  // in memory, so that no disk blurs the comparison

// The mail translator over the machine's own file system. There a backslash is part of a name, so
// the files lie beside the folder that the translator is told.
class Bench {
  public:
    explicit Bench(const std::string& folder)
        : m_util({platform::NativeFiles(), m_machine.registry, m_machine.processes,
                  m_machine.libraries, m_machine.dialogs, m_machine.clock}) {
        m_machine.libraries.AddResources("C:\\b\\xEN.dll", {{79, "In"}});
        m_util.bundle.Load("x", "C:\\b", "EN", "", true);
        m_util.csEudoraDir = folder;
    }
    RRETURNCODE Open() { return m_mail.Open(1, 0, 0, 0, 0, 0, 0, 0, 0, &m_util); }

  private:
    platform::testing::TestSystem m_machine;
    CEudoraTransUtil m_util;
    CREudoraMail m_mail;
};

void Check(bool ok, const char* what) {
    if (ok) return;
    std::cerr << what << " failed\n";
    std::exit(1);
}

template <class Work>
double Seconds(Work work) {
    const auto begin = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

std::string InboxOf(std::uint32_t mails) {
    const std::string folder = theFolder + '/' + std::to_string(mails);
    const std::string base = folder + "\\In";
    if (!std::filesystem::exists(base + ".mbx")) {
        Check(benchmarks::WriteInbox(base + ".mbx", base + ".toc", mails, kBytesEach),
              "generating");
    }
    return folder;
}

double OpenTime(const std::string& folder) {
    Bench bench(folder);
    return Seconds([&] { Check(bench.Open() == RRC_OK, "opening"); });
}

double CatTime(const std::string& folder) {
    const auto command = "cat '" + folder + "\\In.mbx' > /dev/null";
    return Seconds([&] { Check(std::system(command.c_str()) == 0, "cat"); });
}

// The most memory that a process of its own has had when the mailbox is open.
double PeakMegabytes(const std::string& folder) {
    const auto out = theFolder + "/peak";
    const auto command = theProgram + " --peak '" + folder + "' > " + out;
    Check(std::system(command.c_str()) == 0, "measuring memory");
    double kilobytes = 0;
    std::ifstream(out) >> kilobytes;
    return kilobytes / 1024;
}

int PrintPeak(const std::string& folder) {
    Bench bench(folder);
    Check(bench.Open() == RRC_OK, "opening");
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmHWM:" && status >> word) std::cout << word << '\n';
    }
    return 0;
}

// cat and Open take turns on one in-box; the counters are medians. The time shown is that of Open.
void BM_OpenAgainstCat(benchmark::State& state) {
    const auto mails = static_cast<std::uint32_t>(state.range(0));
    const auto folder = InboxOf(mails);
    CatTime(folder);
    std::vector<double> cats, opens;
    for (auto _ : state) {
        cats.push_back(CatTime(folder));
        opens.push_back(OpenTime(folder));
        state.SetIterationTime(opens.back());
    }
    state.counters["MB"] =
        static_cast<double>(std::filesystem::file_size(folder + "\\In.mbx")) / 1e6;
    state.counters["cat_ms"] = Median(cats) * 1e3;
    state.counters["open_ms"] = Median(opens) * 1e3;
    state.counters["open/cat"] = Median(opens) / Median(cats);
    state.counters["us/mail"] = Median(opens) * 1e6 / mails;
    state.counters["peak_MB"] = PeakMegabytes(folder);
}
BENCHMARK(BM_OpenAgainstCat)
    ->ArgName("mails")
    ->Arg(10000)
    ->Arg(65000)
    ->Iterations(9)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int count, char** arguments) {
    if (count == 3 && std::string(arguments[1]) == "--peak") return PrintPeak(arguments[2]);
    theProgram = arguments[0];
    const bool hasMemoryDisk = std::filesystem::exists("/dev/shm");
    const auto base =
        hasMemoryDisk ? std::filesystem::path("/dev/shm") : std::filesystem::temp_directory_path();
    const auto stamp = Clock::now().time_since_epoch().count();
    theFolder = (base / ("bench-inbox-" + std::to_string(stamp))).string();
    std::filesystem::create_directory(theFolder);
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    std::filesystem::remove_all(theFolder);
    return 0;
}
