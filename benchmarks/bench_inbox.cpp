#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "benchmarks/bench_support.h"
#include "benchmarks/inbox_generator.h"
#include "frame/trans_util.h"
#include "mailstore/eudora_mail.h"
#include "platform/testing/test_system.h"

namespace {

using benchmarks::Check;
using benchmarks::Folder;
using benchmarks::Median;
using benchmarks::Seconds;

constexpr std::uint32_t kBytesEach = 18500;  // 1.2 GB in 65,000 mails

// The mail translator over the machine's own file system. There a backslash is part of a name, so
// the files lie beside the folder that the translator is told.
class Bench {
  public:
    explicit Bench(const std::string& folder) : m_util(m_machine.Over(platform::NativeFiles())) {
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

std::string InboxOf(std::uint32_t mails) {
    const std::string folder = Folder() + '/' + std::to_string(mails);
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

void OpenOnce(const std::string& folder) {
    Bench bench(folder);
    Check(bench.Open() == RRC_OK, "opening");
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
    state.counters["peak_MB"] = benchmarks::PeakKilobytes(folder) / 1024;
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
    return benchmarks::RunAll(count, arguments, OpenOnce);
}
