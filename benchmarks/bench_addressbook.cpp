#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
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
using benchmarks::Run;
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

constexpr const char* kSave = "--save";

// What the child process does: loads the file, changes the records that the second file names, one
// in a line, and saves.
int ChangeAndSave(const std::string& path, const std::string& keys) {
    Bench bench;
    Load(bench, path);
    std::ifstream file(keys);
    for (std::string key; std::getline(file, key);) {
        Check(bench.book.FindRecord(key) == RRC_OK, "finding");
        bench.book.SetRecordField(ContactField::kPhone, "+1 555 0100");
        bench.book.StoreRecord();
    }
    Check(bench.book.SaveRecords() == RRC_OK, "saving");
    return 0;
}

// How long a process takes that saves a copy of the file.
double SaveTime(const std::string& path, const std::string& program, const std::string& more) {
    const auto copy = Folder() + "/copy.txt";
    std::filesystem::copy_file(path, copy);
    const auto seconds = Seconds([&] { Run(program + " '" + copy + "' " + more); });
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

// Sort, loading, and two processes that save take turns on one file: a plain program and this one,
// which changes 1,000 records first. The counters are medians, the time shown is that of loading.
void BM_LoadAndSave(benchmark::State& state) {
    const auto contacts = state.range(0);
    const auto path = FileOf(contacts, state.range(1) != 0), keys = Folder() + "/keys";
    std::ofstream file(keys);
    for (const auto& key : SomeKeys(path, 1000)) file << key << '\n';
    file.close();
    const auto sort = "LC_ALL=C sort '" + path + "' -o '" + Folder() + "/out'";
    const auto plain = std::filesystem::path(benchmarks::Program()).replace_filename("plain_save");
    std::vector<double> sorts, loads, plains, saves;
    for (auto _ : state) {
        sorts.push_back(Seconds([&] { Run(sort); }));
        loads.push_back(Seconds([&] { LoadOnce(path); }));
        plains.push_back(SaveTime(path, plain.string(), ""));
        saves.push_back(SaveTime(path, benchmarks::Program() + " " + kSave, keys));
        state.SetIterationTime(loads.back());
    }
    const auto perRecord = 1e9 / static_cast<double>(contacts);
    state.counters["MB"] = static_cast<double>(std::filesystem::file_size(path)) / 1e6;
    state.counters["sort_ms"] = Median(sorts) * 1e3;
    state.counters["load_ms"] = Median(loads) * 1e3;
    state.counters["plain_ms"] = Median(plains) * 1e3;
    state.counters["save_ms"] = Median(saves) * 1e3;
    state.counters["load/sort"] = Median(loads) / Median(sorts);
    state.counters["save/plain"] = Median(saves) / Median(plains);
    state.counters["load_ns/rec"] = Median(loads) * perRecord;
    state.counters["save_ns/rec"] = Median(saves) * perRecord;
    state.counters["peak/byte"] = PeakPerByte(path);
}
BENCHMARK(BM_LoadAndSave)
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
    if (count == 4 && std::string(arguments[1]) == kSave) {
        return ChangeAndSave(arguments[2], arguments[3]);
    }
    return benchmarks::RunAll(count, arguments, LoadOnce);
}
