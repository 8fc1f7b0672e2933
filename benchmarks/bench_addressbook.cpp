#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "addressbook/eudora_ab.h"
#include "benchmarks/bench_support.h"
#include "benchmarks/nickname_generator.h"
#include "frame/trans_util.h"
#include "platform/testing/test_system.h"

namespace {

using benchmarks::Check;
using benchmarks::Folder;
using benchmarks::Median;
using benchmarks::Seconds;

// The address book over the machine's own file system.
class Bench {
  public:
    Bench() : m_util(m_machine.Over(platform::NativeFiles())) { book.UseUtil(&m_util); }
    CEudoraAB book;

  private:
    platform::testing::TestSystem m_machine;
    CEudoraTransUtil m_util;
};

std::string PathOf(std::int64_t contacts, bool sorted) {
    return Folder() + "/" + std::to_string(contacts) + (sorted ? "-sorted" : "") + ".txt";
}

const std::string& FileOf(std::int64_t contacts, bool sorted) {
    static std::string path;
    path = PathOf(contacts, sorted);
    if (!std::filesystem::exists(path)) {
        Check(benchmarks::WriteNicknameFile(path, static_cast<std::uint32_t>(contacts), sorted),
              "generating");
    }
    return path;
}

void Load(Bench& bench, const std::string& path) {
    Check(bench.book.Open(path.c_str()) == RRC_OK, "loading");
}

std::vector<std::string> SomeKeys(const std::string& path, int count) {
    Bench bench;
    Load(bench, path);
    std::vector<std::string> keys;
    int at = 0;
    for (auto r = bench.book.FirstRecord(); r == RRC_OK; r = bench.book.NextRecord()) {
        if (at++ % 97 == 0) keys.push_back(bench.book.CurrentKey().Str());
    }
    std::reverse(keys.begin(), keys.end());
    keys.resize(std::min<std::size_t>(keys.size(), static_cast<std::size_t>(count)));
    return keys;
}

double SortTime(const std::string& path) {
    const auto command = "LC_ALL=C sort '" + path + "' -o '" + Folder() + "/out'";
    return Seconds([&] { Check(std::system(command.c_str()) == 0, "sort"); });
}

double SaveTime(const std::string& path, const std::vector<std::string>& keys) {
    const auto copy = Folder() + "/copy.txt";
    std::filesystem::copy_file(path, copy, std::filesystem::copy_options::overwrite_existing);
    const auto seconds = Seconds([&] {
        Bench bench;
        Load(bench, copy);
        for (const auto& key : keys) {
            Check(bench.book.FindRecord(key) == RRC_OK, "finding");
            bench.book.SetRecordField(ContactField::kPhone, "+1 555 0100");
            bench.book.StoreRecord();
        }
        Check(bench.book.SaveRecords() == RRC_OK, "saving");
    });
    std::filesystem::remove(copy);
    return seconds;
}

constexpr const char* kNoFile = "none";

void LoadOnce(const std::string& path) {
    if (path == kNoFile) return;
    Bench bench;
    Load(bench, path);
}

// What a process needs at most to load the file, less what it needs for none.
double PeakPerByte(const std::string& path) {
    const auto bytes =
        1024 * (benchmarks::PeakKilobytes(path) - benchmarks::PeakKilobytes(kNoFile));
    return bytes / static_cast<double>(std::filesystem::file_size(path));
}

// Sort, load and save take turns on one file; the counters are medians. The time shown is that of
// loading.
void BM_LoadAndSaveAgainstSort(benchmark::State& state) {
    const auto contacts = state.range(0);
    const auto path = FileOf(contacts, state.range(1) != 0);
    const auto keys = SomeKeys(path, 1000);
    std::vector<double> sorts, loads, saves;
    for (auto _ : state) {
        sorts.push_back(SortTime(path));
        loads.push_back(Seconds([&] {
            Bench bench;
            Load(bench, path);
        }));
        saves.push_back(SaveTime(path, keys));
        state.SetIterationTime(loads.back());
    }
    state.counters["MB"] = static_cast<double>(std::filesystem::file_size(path)) / 1e6;
    state.counters["sort_ms"] = Median(sorts) * 1e3;
    state.counters["load_ms"] = Median(loads) * 1e3;
    state.counters["save_ms"] = Median(saves) * 1e3;
    state.counters["load/sort"] = Median(loads) / Median(sorts);
    state.counters["save/sort"] = Median(saves) / Median(sorts);
    state.counters["load_ns/rec"] = Median(loads) * 1e9 / static_cast<double>(contacts);
    state.counters["save_ns/rec"] = Median(saves) * 1e9 / static_cast<double>(contacts);
    state.counters["peak/byte"] = PeakPerByte(path);
}
BENCHMARK(BM_LoadAndSaveAgainstSort)
    ->ArgNames({"contacts", "sorted"})
    ->ArgsProduct({{100000, 1000000}, {0, 1}})
    ->Iterations(7)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// One look-up, and one look-up with a change of the record.
void BM_FindAndEdit(benchmark::State& state) {
    const auto path = FileOf(1000000, false);
    const auto keys = SomeKeys(path, 10000);
    Bench bench;
    Load(bench, path);
    const bool edits = state.range(0) != 0;
    std::size_t at = 0;
    for (auto _ : state) {
        bench.book.FindRecord(keys[at++ % keys.size()]);
        if (!edits) continue;
        bench.book.SetRecordField(ContactField::kPhone, "+1 555 0100");
        bench.book.StoreRecord();
    }
}
BENCHMARK(BM_FindAndEdit)->ArgName("edit")->Arg(0)->Arg(1);

}  // namespace

int main(int count, char** arguments) {
    return benchmarks::RunAll(count, arguments, LoadOnce);
}
