#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "tests/host/kvsync_process.h"

namespace host::testing {

namespace fs = std::filesystem;

// The built program on a copy of the samples: their in-box and a Maildir.
class SyncMailProgram : public ::testing::Test {
  protected:
    Outcome Mail(std::vector<std::string> more = {}, const std::string& command = "sync") {
        std::vector<std::string> all{command, "mail", "--eudora", "@E", "--maildir", "@M"};
        all.insert(all.end(), more.begin(), more.end());
        return bench.Kvsync(all);
    }
    Outcome Unlimited(const std::string& eudora = "@E") {
        return bench.Kvsync({"configure", "mail", "--eudora", eudora, "--age", "off", "--size",
                             "off", "--attachments", "on", "--attachment-size", "off"});
    }
    std::vector<fs::path> Files() {
        std::vector<fs::path> files;
        for (const char* part : {"M/new", "M/cur"}) {
            if (!fs::exists(bench.Path(part))) continue;
            for (const auto& entry : fs::directory_iterator(bench.Path(part))) {
                files.push_back(entry.path());
            }
        }
        std::ranges::sort(files);
        return files;
    }
    // The time of change of everything in the bench but the output of the last run.
    std::map<std::string, std::string> Snapshot() {
        std::map<std::string, std::string> all;
        for (const auto& entry : fs::recursive_directory_iterator(bench.Path(""))) {
            const std::string name = fs::relative(entry.path(), bench.Path("")).string();
            // The empty input of the program is written by the bench.
            if (name == "out" || name == "err" || name == "input") continue;
            std::error_code dangling;
            const auto time = fs::last_write_time(entry.path(), dangling);
            all[name] = std::to_string(time.time_since_epoch().count());
        }
        return all;
    }
    std::size_t InEudora() {
        const auto all = bench.Kvsync({"list", "mail", "--eudora", "@E", "--json"}).out;
        return static_cast<std::size_t>(std::ranges::count(all, '\n'));
    }

    // A mail that somebody delivers; `id` is its Message-ID, empty for none.
    void Deliver(const std::string& file, const std::string& subject, const std::string& id = {}) {
        fs::create_directories(fs::path(bench.Path(file)).parent_path());
        bench.Write(file, "From: Zoe <zoe@example.org>\nTo: Ann <ann@example.org>\nSubject: " +
                              subject + "\nDate: Tue, 24 Nov 2020 10:00:00 +0100\n" +
                              (id.empty() ? "" : "Message-ID: <" + id + ">\n") + "\nThe text of " +
                              subject + "\n");
    }
    // A folder of Eudora's whose mailboxes are empty.
    void MakeEmptyEudora(const std::string& name) {
        fs::create_directories(bench.Path(name));
        bench.Write(name + "/In.mbx", "");
        bench.Write(name + "/In.toc", bench.Read("E/In.toc").substr(0, 102) + std::string(2, '\0'));
    }

    Bench bench;
};

}  // namespace host::testing
