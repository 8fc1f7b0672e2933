#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "benchmarks/bench_support.h"
#include "benchmarks/inbox_generator.h"
#include "frame/trans_util.h"
#include "mailbox/toc_records.h"
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

// What opening reads at the least: the table of contents, and the first bytes of each mail at the
// place that its block tells.
double LoopTime(const std::string& folder) {
    constexpr std::size_t kHead = 2048;
    return Seconds([&] {
        const auto path = folder + "\\In.toc";
        std::string table(std::filesystem::file_size(path), '\0');
        Check(bool{std::ifstream(path, std::ios::binary).read(table.data(), std::ssize(table))},
              "reading");
        const auto mbx = platform::NativeFiles().Open(
            folder + "\\In.mbx", platform::OpenMode::kRead, platform::Share::kRead);
        Check(bool{mbx}, "opening");
        std::array<char, kHead> head{};
        for (std::size_t at = mailbox::kTocHeaderSize; at < table.size();
             at += mailbox::kMsgBlockSize) {
            std::uint32_t offset = 0;
            std::memcpy(&offset, table.data() + at, sizeof offset);
            Check(bool{(*mbx)->ReadAt(offset, head)}, "reading");
        }
    });
}

void OpenOnce(const std::string& folder) {
    Bench bench(folder);
    Check(bench.Open() == RRC_OK, "opening");
}

// The loop and Open take turns on one in-box; the counters are medians. The time shown is that of
// Open.
void BM_OpenAgainstLoop(benchmark::State& state) {
    const auto mails = static_cast<std::uint32_t>(state.range(0));
    const auto folder = InboxOf(mails);
    LoopTime(folder);
    std::vector<double> loops, opens;
    for (auto _ : state) {
        loops.push_back(LoopTime(folder));
        opens.push_back(OpenTime(folder));
        state.SetIterationTime(opens.back());
    }
    state.counters["MB"] =
        static_cast<double>(std::filesystem::file_size(folder + "\\In.mbx")) / 1e6;
    state.counters["loop_ms"] = Median(loops) * 1e3;
    state.counters["open_ms"] = Median(opens) * 1e3;
    state.counters["open/loop"] = Median(opens) / Median(loops);
    state.counters["us/mail"] = Median(opens) * 1e6 / mails;
    state.counters["peak_MB"] = benchmarks::PeakKilobytes(folder) / 1024;
}
BENCHMARK(BM_OpenAgainstLoop)
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
