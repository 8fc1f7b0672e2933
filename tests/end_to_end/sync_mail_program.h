#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "tests/host/kvsync_process.h"
#include "tests/tools/mailbox_check.h"

namespace host::testing {

namespace fs = std::filesystem;

// The built program on a copy of the samples: their in-box and a Maildir.
class SyncMailProgram : public ::testing::Test {
  protected:
    Outcome Mail(const std::string& more = {}) {
        return bench.Kvsync("sync mail --eudora @E --maildir @M " + more);
    }
    Outcome Unlimited(const std::string& eudora = "@E") {
        return bench.Kvsync(
            "configure mail --age off --size off --attachments on "
            "--attachment-size off --eudora " +
            eudora);
    }
    void ExpectNothingToDo() {
        const auto before = bench.Times();
        const Outcome outcome = Mail();
        EXPECT_EQ(outcome.code, 0) << outcome.out << outcome.err;
        EXPECT_EQ(bench.Times(), before);
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
    std::string Listed() { return bench.Kvsync("list mail --eudora @E --json").out; }
    std::size_t InEudora() { return static_cast<std::size_t>(CountOf("\n", Listed())); }

    // What a reader of its own finds wrong in an in-box, but for the number of the mail; the mails
    // from number `ours` on must be as the translator writes them.
    std::multiset<std::string> Faults(const std::string& eudora, std::size_t ours) {
        mailbox_check::Rules rules;
        rules.ours = static_cast<std::uint32_t>(ours);
        const auto report = mailbox_check::Check(bench.Read(eudora + "/In.mbx"),
                                                 bench.Read(eudora + "/In.toc"), rules);
        EXPECT_GT(report.mails.size(), 0u);
        std::multiset<std::string> faults;
        for (const std::string& fault : report.faults) {
            faults.insert(fault.substr(fault.find(": ") + 1));
        }
        return faults;
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
