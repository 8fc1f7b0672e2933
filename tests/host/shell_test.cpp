#include <gtest/gtest.h>

#include <sstream>

#include "tests/host/kvsync_process.h"
#include "tests/host/one_of.h"

namespace host::testing {

namespace {

using nlohmann::json;

constexpr const char* kBook =
    "alias ann ann@example.org,ann@example.net\r\n"
    "note ann <name:Ann Lee><address:Row 1\x03Leeds>old friend\x03of Tom\r\n"
    "alias \"two words\" tw@example.org\r\n"
    "alias zo\xEB zoe@example.org\r\n"
    "note zo\xEB <name:Zo\xEB Marsh>\r\n";

const std::string kOpen = R"(GetAppInfo 0 "C:\\Eudora\\nndbase.txt" => {"code":0}
Open => {"code":0}
)";

// Lines for the shell, each with what its answer must hold behind " => ": members that are missing
// in it or differ are faults. Other members may be there. The result is the answers.
std::vector<json> Play(const Bench& bench, const std::string& kind, const std::string& play) {
    std::string script;
    std::vector<std::pair<std::string, json>> steps;
    std::istringstream lines(play);
    for (std::string line; std::getline(lines, line);) {
        const auto at = line.find(" => ");
        const bool isFree = at == std::string::npos;
        steps.emplace_back(line.substr(0, at), json::parse(isFree ? "{}" : line.substr(at + 4)));
        script += steps.back().first + "\n";
    }
    auto answers = bench.Shell(kind, script);
    EXPECT_EQ(answers.size(), steps.size()) << json(answers).dump(1);
    answers.resize(steps.size(), json::object());
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const auto& [line, wanted] = steps[i];
        for (const auto& [key, value] : wanted.items()) {
            EXPECT_EQ(answers[i].value(key, json("missing")), value) << line << answers[i].dump();
        }
        EXPECT_EQ(answers[i].value("op", ""), line.substr(0, line.find(' ')));
    }
    return answers;
}

TEST(Shell, ReadsAnAddressBookAndFiltersIt) {
    const Bench bench;
    bench.Write("E/nndbase.txt", kBook);
    const auto answers = Play(bench, "contacts", kOpen + R"(Fields => {"code":0}
Properties => {"code":0,"value":2147942404}
FieldCount => {"code":0,"value":7}
RecordCount => {"code":7,"value":null}
MoveFirst => {"code":0}
GetRecordID => {"code":0,"value":"ann"}
GetField 3 => {"code":0,"type":4,"value":"Row 1\r\nLeeds"}
GetField 4 => {"value":""}
MoveNext => {"code":0}
GetField 7 => {"code":0,"value":null}
MoveNext => {"code":0}
GetRecordID => {"value":"zo\u00eb"}
MoveNext => {"code":5}
GoTo two words => {"code":0}
GetField 6 => {"value":"tw@example.org"}
GoTo "zo\u00eb" => {"code":0}
GoTo zoë => {"code":0}
GoTo nobody => {"code":1}
TextFilter [{"field":"2","text":" marsh "},{"field":"6","text":"ZOE"}] => {"code":0}
MoveFirst => {"code":0}
GetRecordID => {"value":"zo\u00eb"}
MoveNext => {"code":5}
TextFilter [] => {"code":0}
DateFilter [{"field":"2","start":40000.5,"end":null,"skip":true}] => {"code":0}
BoolFilter [{"field":"2","value":1}] => {"code":0}
MoveFirst => {"code":0}
GetRecordID => {"value":"ann"}
Close => {"code":0}
)");
    ASSERT_EQ(answers[2]["fields"].size(), 7u);
    const json field{{"id", "2"}, {"name", "Name"}, {"type", 4}, {"tag", 0xC0000130u}};
    for (const auto& [key, value] : field.items()) EXPECT_EQ(answers[2]["fields"][1][key], value);
    EXPECT_EQ(answers[2]["fields"][1]["ordinal"], 2);
}

TEST(Shell, ChangesReachTheFileInBatchUpdate) {
    const Bench bench;
    bench.Write("E/nndbase.txt", kBook);
    const std::string changes = kOpen + R"(Add => {"code":0}
SetField 1 "ben" => {"code":0}
SetField 2 "Ben \u00c5kesson" => {"code":0}
SetField 4 null => {"code":0}
Update => {"code":0,"id":"ben","modifiedInfo":""}
Edit two words => {"code":0}
SetField 7 "first\r\nsecond" => {"code":0}
Update => {"code":0,"id":"two words"}
Delete ann => {"code":0}
Edit ann => {"code":2}
)";
    Play(bench, "contacts", changes);
    EXPECT_EQ(bench.Read("E/nndbase.txt"), kBook) << "BatchUpdate alone writes it";
    const auto answers = Play(bench, "contacts", changes + R"(BatchUpdate => {"deleted":["ann"]}
GoTo ben
GetModifiedInfo
)");
    const json stored = answers[12]["stored"];
    ASSERT_EQ(stored.size(), 2u);
    EXPECT_EQ(stored[0]["id"], "ben");
    EXPECT_EQ(stored[0]["modifiedInfo"], answers[14]["value"]);
    const std::string file = bench.Read("E/nndbase.txt");
    EXPECT_NE(file.find("<name:Ben \xC5kesson>"), std::string::npos) << file;
    EXPECT_EQ(file.find("Ann Lee"), std::string::npos) << file;
}

// A field that is not shown to the callback is absent, and that is no failure.
TEST(Shell, VetsValuesAndDrainsTheQueues) {
    const Bench bench;
    const auto answers = Play(bench, "contacts", kOpen + R"(IsOk {} => {"code":0,"ok":true}
IsOk {"1":"abcdefghijklmnopqrstuvwxyza","2":"Ann"} => {"code":0,"ok":true}
IsOk {"1":"abcdefghijklmnopqrstuvwxyzab"} => {"code":3,"ok":false}
IsOk {"1":"a,b"} => {"code":2,"ok":false}
Errors
Errors => {"messages":[]}
New mail => {"code":0}
IsOk {"10":1} => {"code":0,"ok":true}
IsOk {"10":1,"1":"a@b.org"} => {"code":0,"ok":true}
IsOk {"10":1,"1":""} => {"code":2,"ok":false}
IsOk {"10":2,"1":""} => {"code":0,"ok":true}
)");
    EXPECT_EQ(answers[6]["messages"].size(), 1u);
    EXPECT_FALSE(answers[6].contains("code"));
}

// The plain object, and its settings file from making to removal.
TEST(Shell, PlainObjectAnswersWithDefaults) {
    const Bench bench;
    std::string reserved;
    for (int i = 1; i <= 33; ++i)
        reserved += "Reserved " + std::to_string(i) + " 7 => {\"code\":7}\n";
    Play(bench, "other", R"(Properties => {"code":0,"value":2147942400}
GetAppInfo 0 "" => {"code":0,"selection":"C:\\kvsync\\EudoraAppInfo0001.cfg"}
Open => {"code":0}
Fields => {"code":0,"fields":[]}
RecordCount => {"code":1,"value":-1}
MoveFirst => {"code":5}
GetModifiedInfo => {"code":2}
GetField 1 => {"code":2,"value":null}
SetField 1 "x" => {"code":2}
Add => {"code":2}
Edit => {"code":0}
Delete => {"code":0}
BatchUpdate => {"code":7}
SaveSettings "x" => {"code":7}
IsOkToProceed => {"code":0,"ok":true}
RemoveTranslator => {"code":0}
SelfDiagnose => {"code":1}
Init "DE" => {"code":0,"message":""}
New contacts => {"code":0}
Properties => {"value":2147942404}
Uninit => {"code":0}
)" + reserved);
    for (const auto& [path, content] : bench.Tree("state")) {
        EXPECT_EQ(path.find(".cfg"), std::string::npos) << path;
    }
}

// A line that cannot be used says so, and the next one works.
TEST(Shell, BadLinesAreAnsweredAndPassedOver) {
    const std::pair<const char*, std::string> kinds[] = {
        {"contacts", R"(Frobnicate
open
Open x
Open 0 0
Fields 1
GoTo
GoTo "x
GetField
GetField 2 x
GetField 2 1
SetField 2
SetField 2 Ann
SetField 2 5
SetField 2 5 1
SetField 2 "\u0100"
SetField 2 "a" 4 4
IsOk
IsOk []
IsOk {"1":2}
IsOk {"1"
TextFilter
TextFilter {}
TextFilter [1]
TextFilter [{"field":"2"}]
TextFilter [{"field":2,"text":""}]
DateFilter [{"field":"2","start":"x"}]
BoolFilter [{"field":"2"}]
Reserved
Reserved 0
Reserved 34
New x
Close a
"Open"
GetAppInfo 0 "a" "b"
GetAppInfo x
)"
                     "SetField 2 \"\xE9\"\nSetField 2 " +
                         std::string(200000, '[') + std::string(200000, ']')},
        {"mail", R"(GetField 10 4
GetField 010x 4
GetField 6 1
GetField 1 7
SetField 10 "x" 4
SetField 9 "x"
SetField 10 4294967296
SetField 10 18446744073709551615
SetField 6 "x"
SetField 6 1 1
SetField 1 1 1
IsOk {"10":"x"}
IsOk {"1":1})"}};
    const Bench bench;
    for (const auto& [kind, lines] : kinds) {
        std::istringstream bad(lines);
        std::string script;
        std::vector<std::string> operations;
        for (std::string line; std::getline(bad, line);) {
            script += line + "\nProperties\n";
            operations.push_back(line.substr(0, line.find(' ')));
        }
        const auto answers = bench.Shell(kind, script);
        ASSERT_EQ(answers.size(), 2 * operations.size());
        for (std::size_t i = 0; i < operations.size(); ++i) {
            const json &answer = answers[2 * i], &next = answers[2 * i + 1];
            EXPECT_TRUE(answer.contains("error") && !answer.contains("code")) << i << answer;
            EXPECT_EQ(answer.value("op", ""), operations[i]);
            EXPECT_EQ(next.value("code", 9), 0) << i << answer;
        }
    }
}

// No order of operations with any words brings the program down.
TEST(Shell, AnyScriptIsAnsweredLineByLine) {
    const Bench bench;
    std::mt19937 random(1);
    for (int round = 0; round < 30; ++round) {
        std::string script = round % 3 == 0 ? "" : "GetAppInfo 0 \"\"\nOpen\nMoveFirst\n";
        while (std::count(script.begin(), script.end(), '\n') < 150) {
            std::string line = OneOf(
                random,
                "GetAppInfo 0 \"\"|GetAppInfo 0 \"C:\\\\Eudora\\\\nndbase.txt\"|GetAppInfo 1|Open|"
                "Close|MoveFirst|MoveNext|GoTo bob|GoTo 0x00000001|GetRecordID|GetModifiedInfo|Add|"
                "GetField F|GetField F T|Edit|Edit bob|Edit 0x00000002|SetField F V|SetField F V T|"
                "Update|Delete|Delete bob|DeleteAll|BatchUpdate|IsOk {\"F\":V}|IsOk "
                "{\"10\":1,\"F\":V}|"
                "Errors|New contacts|New mail|New other|Uninit|Init \"JP\"|TextFilter []|Fields|"
                "TextFilter [{\"field\":\"F\",\"text\":\"a\"}]|BoolFilter "
                "[{\"field\":\"F\",\"value\":V}]|"
                "DateFilter "
                "[{\"field\":\"F\",\"start\":V,\"skip\":V}]|Properties|RecordCount|Reserved T");
            const auto put = [&](const char* mark, const char* choices) {
                for (std::size_t at; (at = line.find(mark)) != std::string::npos;) {
                    line.replace(at, 1, OneOf(random, choices));
                }
            };
            put("V",
                "\"x\"|1|0|-1|true|null|46266.5|1e308|\"\"|\"a@b.org, "
                "c\"|[]|\"\\r\\n\"|\"\\u0003\"");
            if (line.starts_with("GetField") || line.starts_with("SetField"))
                put("T", "1|3|4|5|7|0|9");
            put("F", "1|2|3|4|5|6|7|8|9|10|11|010x|12|-1|x");
            script += line + '\n';
        }
        const auto answers = bench.Shell(OneOf(random, "contacts|mail|mail|other"), script);
        ASSERT_EQ(answers.size(), 150u) << script;
        for (const auto& answer : answers) ASSERT_TRUE(answer.contains("op")) << answer.dump();
    }
}

// In a terminal the shell shows the module's dialog: Enter in it is OK.
TEST(Shell, ADialogAppearsInTheTerminal) {
    const Bench bench;
    bench.Write("script", "GetAppInfo 1 \"\"\n");
    bench.Write("terminal.py", R"(import os, pty, sys
pid, fd = pty.fork()
if pid == 0: os.execve(sys.argv[1], sys.argv[1:], {**os.environ, 'TERM': 'xterm'})
seen = b''
try:
    while part := os.read(fd, 4096):
        if b'OK' in part and b'OK' not in seen: os.write(fd, b'\r')
        seen += part
except OSError: pass
sys.stdout.buffer.write(seen)
)");
    const Outcome outcome = bench.Python(bench.Path("terminal.py") + " " KV_PROGRAM " shell mail " +
                                         bench.Path("script") + " --eudora @E");
    EXPECT_EQ(CountOf("\"op\":\"GetAppInfo\",\"code\":0", outcome.out), 1)
        << outcome.out << outcome.err;
}

}  // namespace

}  // namespace host::testing
