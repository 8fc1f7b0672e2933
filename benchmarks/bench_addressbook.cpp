#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "addressbook/eudora_ab.h"
#include "benchmarks/nickname_generator.h"
#include "frame/trans_util.h"
#include "platform/testing/test_system.h"

namespace {

using Clock = std::chrono::steady_clock;

std::string theProgram;
std::string theFolder;  // in memory, so that no disk blurs the comparison

// The address book over the machine's own file system.
class Bench {
  public:
    Bench()
        : m_util({platform::NativeFiles(), m_machine.registry, m_machine.processes,
                  m_machine.libraries, m_machine.dialogs, m_machine.clock}) {
        book.UseUtil(&m_util);
    }
    CEudoraAB book;

  private:
    platform::testing::TestSystem m_machine;
    CEudoraTransUtil m_util;
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

std::string PathOf(std::int64_t contacts, bool sorted) {
    return theFolder + "/" + std::to_string(contacts) + (sorted ? "-sorted" : "") + ".txt";
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
    const auto command = "LC_ALL=C sort '" + path + "' -o '" + theFolder + "/out'";
    return Seconds([&] { Check(std::system(command.c_str()) == 0, "sort"); });
}

double SaveTime(const std::string& path, const std::vector<std::string>& keys) {
    const auto copy = theFolder + "/copy.txt";
    std::filesystem::copy_file(path, copy, std::filesystem::copy_options::overwrite_existing);
    const auto seconds = Seconds([&] {
        Bench bench;
        Load(bench, copy);
        for (const auto& key : keys) {
            Check(bench.book.FindRecord(key) == RRC_OK, "finding");
            bench.book.BeginEdit();
            bench.book.SetRecordField("4", "+1 555 0100");
            bench.book.StoreRecord();
        }
        Check(bench.book.SaveRecords() == RRC_OK, "saving");
    });
    std::filesystem::remove(copy);
    return seconds;
}

// What a process of its own needs at most to load the file, less what it needs for none.
double PeakPerByte(const std::string& path) {
    const auto peak = [](const std::string& argument) {
        const auto out = theFolder + "/peak";
        const auto command = theProgram + " --peak " + argument + " > " + out;
        Check(std::system(command.c_str()) == 0, "measuring memory");
        double kilobytes = 0;
        std::ifstream(out) >> kilobytes;
        return kilobytes * 1024;
    };
    const auto size = static_cast<double>(std::filesystem::file_size(path));
    return (peak(path) - peak("none")) / size;
}

int PrintPeak(const std::string& path) {
    if (path != "none") {
        Bench bench;
        Load(bench, path);
    }
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmHWM:" && status >> word) std::cout << word << '\n';
    }
    return 0;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
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
        bench.book.BeginEdit();
        bench.book.SetRecordField("4", "+1 555 0100");
        bench.book.StoreRecord();
    }
}
BENCHMARK(BM_FindAndEdit)->ArgName("edit")->Arg(0)->Arg(1);

}  // namespace

int main(int count, char** arguments) {
    if (count == 3 && std::string(arguments[1]) == "--peak") return PrintPeak(arguments[2]);
    theProgram = arguments[0];
    const bool hasMemoryDisk = std::filesystem::exists("/dev/shm");
    const auto base =
        hasMemoryDisk ? std::filesystem::path("/dev/shm") : std::filesystem::temp_directory_path();
    const auto stamp = Clock::now().time_since_epoch().count();
    theFolder = (base / ("bench-addressbook-" + std::to_string(stamp))).string();
    std::filesystem::create_directory(theFolder);
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    std::filesystem::remove_all(theFolder);
    return 0;
}
