#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "benchmarks/bench_support.h"
#include "benchmarks/inbox_generator.h"
#include "eumapi/simple_mapi.h"
#include "frame/trans_util.h"
#include "integration/locate/locate.h"
#include "mailbox/toc_records.h"
#include "mailstore/eudora_mail.h"
#include "platform/testing/test_system.h"

namespace {

namespace fs = std::filesystem;
using benchmarks::Check;
using benchmarks::Folder;
using benchmarks::Median;
using benchmarks::Seconds;

constexpr std::uint32_t kBytesEach = 4000;  // of a mail in the in-box, and of an added one
constexpr int kRounds = 9;

// The mail translator over the machine's own file system. There a backslash is part of a name, so
// the files lie beside the folder that the translator is told.
class Bench : private CREudoraMail {
  public:
    explicit Bench(const std::string& folder) : m_util(m_machine.Over(platform::NativeFiles())) {
        m_machine.libraries.AddResources(
            "C:\\b\\xEN.dll", {{1, "%s"}, {41, "From"}, {77, "Attachment Converted:"}, {79, "In"}});
        m_util.bundle.Load("x", "C:\\b", "EN", "", true);
        m_util.csEudoraDir = folder;
        Check(Open(1, 0, 0, 0, 0, 0, 0, 0, 0, &m_util) == RRC_OK, "opening");
    }
    void Queue(int mails) {
        const std::string body(kBytesEach - 200, 'b');
        for (int i = 0; i < mails; ++i) {
            Check(AddNewRecord(0) == RRC_OK, "adding");
            Set("1", "sender@x.example");
            Set("2", "receiver@y.example");
            Set("5", "A subject of the usual length");
            Set("7", body);
            Set("11", "id" + std::to_string(i) + "@x.example");
            std::int32_t status = 1;
            double date = 45000.5;
            unsigned long type = 0;
            SetField("10", &type, &status);
            SetField("6", &type, &date);
            CString id, info;
            Check(UpdateRecord(id, info) == RRC_OK, "storing");
        }
        m_queues.m_mapMailStatus.clear();
    }
    void Note(const std::vector<std::uint32_t>& ids, std::uint32_t status) {
        for (const auto id : ids) m_queues.m_mapMailStatus[id] = status;
    }
    void Write() { Check(m_queues.WriteNewMails(m_util, m_ids) == RRC_OK, "writing mails"); }
    void StoreStates() { Check(m_queues.UpdateMailStatus(m_util) == RRC_OK, "storing states"); }

  private:
    void Set(const char* field, std::string text) {
        char* cell = text.data();
        unsigned long type = 0;
        SetField(field, &type, &cell);
    }

    platform::testing::TestSystem m_machine;
    CEudoraTransUtil m_util;
};

std::string InboxOf(std::uint32_t mails) {
    const std::string folder = Folder() + '/' + std::to_string(mails);
    const std::string base = folder + "\\In";
    Check(benchmarks::WriteInbox(base + ".mbx", base + ".toc", mails, kBytesEach), "generating");
    return folder;
}

std::string Read(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// What a run added, in two files of their own.
struct Added {
    std::string texts, blocks;
};

Added TakeAdded(const std::string& folder, std::uintmax_t mbxSize, std::uintmax_t tocSize) {
    const Added added{Folder() + "/texts", Folder() + "/blocks"};
    std::ofstream(added.texts, std::ios::binary)
        << Read(folder + "\\In.mbx").substr(static_cast<std::size_t>(mbxSize));
    std::ofstream(added.blocks, std::ios::binary)
        << Read(folder + "\\In.toc").substr(static_cast<std::size_t>(tocSize));
    return added;
}

// The files go back to what they were before each turn, so that the in-box does not grow.
void CutBack(const std::string& folder, std::uintmax_t mbxSize, const std::string& header) {
    fs::resize_file(folder + "\\In.mbx", mbxSize);
    std::fstream toc(folder + "\\In.toc", std::ios::binary | std::ios::in | std::ios::out);
    toc.write(header.data(), static_cast<std::streamsize>(header.size()));
}

// The medians of what took turns; the time shown is that of our side.
void Report(benchmark::State& state, const std::vector<double>& ours,
            const std::vector<double>& peers) {
    for (auto _ : state) state.SetIterationTime(Median(ours));
    state.counters["ours_ms"] = Median(ours) * 1e3;
    state.counters["peer_ms"] = Median(peers) * 1e3;
    state.counters["ours/peer"] = Median(ours) / Median(peers);
}

// WriteNewMails and cat with a flush take turns. The mails are queued, the in-box is indexed
// before.
void BM_AppendAgainstCat(benchmark::State& state) {
    const auto folder = InboxOf(static_cast<std::uint32_t>(state.range(0)));
    const int count = static_cast<int>(state.range(1));
    const auto mbxSize = fs::file_size(folder + "\\In.mbx");
    const auto tocSize = fs::file_size(folder + "\\In.toc");
    const std::string header = Read(folder + "\\In.toc").substr(0, 104);
    std::vector<double> cats, writes;
    Added added;
    for (int round = 0; round <= kRounds; ++round) {
        Bench bench(folder);
        bench.Queue(count);
        const double write = Seconds([&] { bench.Write(); });
        if (round == 0) added = TakeAdded(folder, mbxSize, tocSize);
        CutBack(folder, mbxSize, header);
        fs::resize_file(folder + "\\In.toc", tocSize);
        const auto command = "cat '" + added.texts + "' >> '" + folder + "\\In.mbx' && cat '" +
                             added.blocks + "' >> '" + folder + "\\In.toc' && sync '" + folder +
                             "\\In.mbx' '" + folder + "\\In.toc'";
        const double cat = Seconds([&] { benchmarks::Run(command); });
        CutBack(folder, mbxSize, header);
        fs::resize_file(folder + "\\In.toc", tocSize);
        if (round == 0) continue;
        writes.push_back(write);
        cats.push_back(cat);
    }
    Report(state, writes, cats);
}
BENCHMARK(BM_AppendAgainstCat)
    ->ArgNames({"mails", "added"})
    ->Args({1000, 1000})
    ->Args({65000 - 1000, 1000})
    ->Args({10000, 1000})
    ->Args({10000, 2000})
    ->Args({10000, 4000})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// The least that storing states takes: one read of the file, one write for each run of blocks.
void PlainLoop(const std::string& path, const std::vector<std::uint32_t>& ids, char status) {
    std::vector<std::uint32_t> noted = ids;
    std::sort(noted.begin(), noted.end());
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.rdbuf()->pubsetbuf(nullptr, 0);
    std::string toc(static_cast<std::size_t>(fs::file_size(path)), '\0');
    file.read(toc.data(), static_cast<std::streamsize>(toc.size()));
    std::size_t begin = 0, end = 0;
    const auto finish = [&] {
        file.seekp(static_cast<std::streamoff>(begin));
        file.write(toc.data() + begin, static_cast<std::streamsize>(end - begin));
    };
    for (std::size_t at = 104; at + 218 <= toc.size(); at += 218) {
        std::uint32_t id = 0;
        for (std::size_t i = 4; i-- > 0;) {
            id = id * 256 + static_cast<unsigned char>(toc[at + 192 + i]);
        }
        if (!std::binary_search(noted.begin(), noted.end(), id)) continue;
        toc[at + 12] = status;
        if (end != at) {
            if (end != 0) finish();
            begin = at;
        }
        end = at + 218;
    }
    if (end != 0) finish();
    file.flush();
}

std::vector<std::uint32_t> IdsOf(const std::string& tocPath, std::size_t count) {
    const std::string toc = Read(tocPath);
    const std::size_t blocks = (toc.size() - 104) / 218;
    std::vector<std::uint32_t> ids;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = i * blocks / count;
        ids.push_back(mailbox::MailPlace::Decode(toc.substr(104 + at * 218, 218)).dwMsgId);
    }
    return ids;
}

void BM_StatesAgainstPlainLoop(benchmark::State& state) {
    const auto folder = InboxOf(static_cast<std::uint32_t>(state.range(0)));
    const auto ids = IdsOf(folder + "\\In.toc", static_cast<std::size_t>(state.range(1)));
    std::vector<double> loops, stores;
    Bench bench(folder);
    for (int round = 0; round <= kRounds; ++round) {
        bench.Note(ids, round % 2 == 0 ? 131073 : 1);
        const double store = Seconds([&] { bench.StoreStates(); });
        const double loop =
            Seconds([&] { PlainLoop(folder + "\\In.toc", ids, round % 2 == 0 ? 1 : 0); });
        if (round == 0) continue;
        stores.push_back(store);
        loops.push_back(loop);
    }
    Report(state, stores, loops);
}
BENCHMARK(BM_StatesAgainstPlainLoop)
    ->ArgNames({"blocks", "noted"})
    ->Args({65000, 1000})
    ->Args({65000, 30000})
    ->Args({16000, 7500})
    ->Args({32000, 15000})
    ->Args({64000, 30000})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// The stand-in's removal of mails and cat of their texts, with a flush, take turns.
void BM_RemoveAgainstCat(benchmark::State& state) {
    const auto folder = InboxOf(static_cast<std::uint32_t>(state.range(0)));
    const std::string tocPath = folder + "\\In.toc", toc = Read(tocPath);
    const auto ids = IdsOf(tocPath, static_cast<std::size_t>(state.range(1)));
    const std::string trash = folder + "\\Trash.mbx", texts = Folder() + "/texts";
    platform::testing::TestSystem machine;
    fs::create_directories(folder);
    Check(bool{machine.registry.WriteText(platform::RegistryRoot::kLocalMachine,
                                          locate::kAppPathsKey, locate::kAppPathsFolder, folder)},
          "naming the folder");
    std::vector<double> cats, removals;
    for (int round = 0; round <= kRounds; ++round) {
        const double removal = Seconds([&] {
            eumapi::SimpleMapi library(machine.Over(platform::NativeFiles()));
            mapi::Session session = 0;
            Check(library.Logon(&session) == mapi::kSuccess, "logging on");
            for (const auto id : ids) {
                const auto name = mailbox::IndexIdOf(id);
                Check(library.DeleteMail(session, name.c_str()) == mapi::kSuccess, "removing");
            }
            Check(library.Logoff(session) == mapi::kSuccess, "logging off");
        });
        if (round == 0) fs::copy_file(trash, texts, fs::copy_options::overwrite_existing);
        fs::remove(folder + "\\Trash.toc");
        fs::resize_file(trash, 0);
        std::ofstream(tocPath, std::ios::binary) << toc;
        const double cat = Seconds([&] {
            benchmarks::Run("cat '" + texts + "' >> '" + trash + "' && sync '" + trash + "'");
        });
        fs::remove(trash);
        if (round == 0) continue;
        removals.push_back(removal);
        cats.push_back(cat);
    }
    Report(state, removals, cats);
}
BENCHMARK(BM_RemoveAgainstCat)
    ->ArgNames({"mails", "removed"})
    ->Args({10000, 900})
    ->Args({8000, 1000})
    ->Args({8000, 2000})
    ->Args({8000, 4000})
    ->Args({65000, 900})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int count, char** arguments) {
    return benchmarks::RunAll(count, arguments, nullptr);
}
