#include <gtest/gtest.h>

#include "tests/host/kvsync_process.h"

namespace host::testing {

namespace {

using nlohmann::json;

// A line for the shell, and what its answer must hold: members of the right side that are missing
// in it or differ are faults. Other members may be there.
struct Step {
    const char* line;
    json answer;
};

constexpr const char* kBook =
    "alias ann ann@example.org,ann@example.net\r\n"
    "note ann <name:Ann Lee><address:Row 1\x03Leeds>old friend\x03of Tom\r\n"
    "alias \"two words\" tw@example.org\r\n"
    "alias zo\xEB zoe@example.org\r\n"
    "note zo\xEB <name:Zo\xEB Marsh>\r\n";

void Play(const Bench& bench, const std::string& kind, const std::vector<Step>& steps) {
    std::string script;
    for (const Step& step : steps) script += std::string(step.line) + "\n";
    const auto answers = bench.Shell(kind, script);
    ASSERT_EQ(answers.size(), steps.size()) << json(answers).dump(1);
    for (std::size_t i = 0; i < steps.size(); ++i) {
        for (const auto& [key, value] : steps[i].answer.items()) {
            EXPECT_EQ(answers[i].value(key, json("missing")), value)
                << "line " << i << ": " << steps[i].line << "\n  " << answers[i].dump();
        }
        const std::string line = steps[i].line;
        EXPECT_EQ(answers[i].value("op", ""), line.substr(0, line.find(' ')));
    }
}

constexpr const char* kSelect = R"(GetAppInfo 0 "C:\\Eudora\\nndbase.txt")";

TEST(Shell, ReadsAnAddressBook) {
    const Bench bench;
    bench.Write("E/nndbase.txt", kBook);
    Play(bench, "contacts",
         {{"Properties", {{"code", 0}, {"value", 0x80070004u}}},
          {kSelect, {{"code", 0}, {"selection", "C:\\Eudora\\nndbase.txt"}}},
          {"Open 0", {{"code", 0}}},
          {"FieldCount", {{"code", 0}, {"value", 7}}},
          {"RecordCount", {{"code", 7}, {"value", nullptr}}},
          {"MoveFirst", {{"code", 0}}},
          {"GetRecordID", {{"code", 0}, {"value", "ann"}}},
          {"GetField 2", {{"code", 0}, {"type", 4}, {"value", "Ann Lee"}}},
          {"GetField 3", {{"value", "Row 1\r\nLeeds"}}},
          {"GetField 4", {{"value", ""}}},
          {"GetField 6", {{"value", "ann@example.org"}}},
          {"GetField 7", {{"value", "old friend\r\nof Tom"}}},
          {"MoveNext", {{"code", 0}}},
          {"GetField 7", {{"code", 0}, {"value", nullptr}}},
          {"MoveNext", {{"code", 0}}},
          {"GetRecordID", {{"value", "zo\u00eb"}}},
          {"MoveNext", {{"code", 5}}},
          {"GoTo two words", {{"code", 0}}},
          {"GetField 6", {{"value", "tw@example.org"}}},
          {"GoTo \"zo\\u00eb\"", {{"code", 0}}},
          {"GoTo zo\u00eb", {{"code", 0}}},
          {"GoTo nobody", {{"code", 1}}},
          {"Close", {{"code", 0}}}});
}

TEST(Shell, FieldsCarryTypesTagsAndOrder) {
    const Bench bench;
    const auto answers = bench.Shell("contacts", std::string(kSelect) + "\nOpen\nFields\n");
    ASSERT_EQ(answers.size(), 3u);
    json ids = json::array(), tags = json::array();
    for (const auto& field : answers[2]["fields"]) {
        EXPECT_EQ(field["type"], 4);
        EXPECT_EQ(field["ordinal"], ids.size() + 1);
        ids.push_back(field["id"]);
        tags.push_back(field["tag"]);
    }
    EXPECT_EQ(ids, json({"1", "2", "3", "4", "5", "6", "7"}));
    EXPECT_EQ(tags, json({0x4000015Cu, 0xC0000130u, 0x4000013Eu, 0x4000013Fu, 0x40000141u,
                          0x40000143u, 0x40000015u}));
}

TEST(Shell, ChangesReachTheFileInBatchUpdate) {
    const Bench bench;
    bench.Write("E/nndbase.txt", kBook);
    Play(bench, "contacts",
         {{kSelect, {{"code", 0}}},
          {"Open", {{"code", 0}}},
          {"Add", {{"code", 0}}},
          {R"(SetField 1 "ben")", {{"code", 0}}},
          {R"(SetField 2 "Ben \u00c5kesson")", {{"code", 0}}},
          {"SetField 4 null", {{"code", 0}}},
          {"Update", {{"code", 0}, {"id", "ben"}, {"modifiedInfo", ""}}},
          {"Edit two words", {{"code", 0}}},
          {R"(SetField 7 "first\r\nsecond")", {{"code", 0}}},
          {"Update", {{"code", 0}, {"id", "two words"}}},
          {"Delete ann", {{"code", 0}}},
          {"Edit ann", {{"code", 2}}}});
    // Without BatchUpdate the file is as it was.
    EXPECT_EQ(bench.Read("E/nndbase.txt"), kBook);
    const auto answers =
        bench.Shell("contacts", std::string(kSelect) +
                                    "\nOpen\nAdd\nSetField 1 \"ben\"\n"
                                    "SetField 2 \"Ben \\u00c5kesson\"\nUpdate\n"
                                    "Delete ann\nBatchUpdate\nGoTo ben\nGetModifiedInfo\n");
    ASSERT_EQ(answers.size(), 10u);
    EXPECT_EQ(answers[7]["deleted"], json({"ann"}));
    ASSERT_EQ(answers[7]["stored"].size(), 1u);
    EXPECT_EQ(answers[7]["stored"][0]["id"], "ben");
    EXPECT_EQ(answers[7]["stored"][0]["modifiedInfo"], answers[9]["value"]);
    const std::string file = bench.Read("E/nndbase.txt");
    EXPECT_NE(file.find("<name:Ben \xC5kesson>"), std::string::npos) << file;
    EXPECT_EQ(file.find("Ann Lee"), std::string::npos) << file;
}

TEST(Shell, VetsValuesAndDrainsTheQueues) {
    const Bench bench;
    Play(bench, "contacts",
         {{kSelect, {{"code", 0}}},
          {"Open", {{"code", 0}}},
          {R"(IsOk {"1":"abcdefghijklmnopqrstuvwxyza","2":"Ann"})", {{"code", 0}, {"ok", true}}},
          {R"(IsOk {"1":"abcdefghijklmnopqrstuvwxyzab"})", {{"code", 3}, {"ok", false}}},
          {R"(IsOk {"1":"a,b"})", {{"code", 2}, {"ok", false}}},
          {R"(IsOk {"2":"..."})", {{"code", 2}, {"ok", false}}},
          {R"(IsOk {"3":"a<b"})", {{"code", 2}, {"ok", false}}},
          {R"(IsOk {})", {{"code", 0}, {"ok", true}}}});
    const auto answers = bench.Shell("contacts", std::string(kSelect) +
                                                     "\nOpen\nIsOk {\"1\":\"a,b\"}\n"
                                                     "IsOk {\"2\":\"\"}\nErrors\nErrors\n");
    ASSERT_EQ(answers.size(), 6u);
    EXPECT_EQ(answers[4]["messages"].size(), 2u);
    EXPECT_FALSE(answers[4].contains("code"));
    EXPECT_EQ(answers[5]["messages"], json::array());
}

TEST(Shell, FiltersAreTakenOver) {
    const Bench bench;
    bench.Write("E/nndbase.txt", kBook);
    Play(bench, "contacts",
         {{kSelect, {{"code", 0}}},
          {"Open", {{"code", 0}}},
          {R"(TextFilter [{"field":"2","text":" marsh "},{"field":"6","text":"ZOE"}])",
           {{"code", 0}}},
          {"MoveFirst", {{"code", 0}}},
          {"GetRecordID", {{"value", "zo\u00eb"}}},
          {"MoveNext", {{"code", 5}}},
          {"TextFilter []", {{"code", 0}}},
          {R"(DateFilter [{"field":"2","start":40000.5,"end":null,"skip":true}])", {{"code", 0}}},
          {R"(BoolFilter [{"field":"2","value":1}])", {{"code", 0}}},
          {"MoveFirst", {{"code", 0}}},
          {"GetRecordID", {{"value", "ann"}}}});
}

// The plain object, and its settings file from making to removal.
TEST(Shell, PlainObjectAnswersWithDefaults) {
    const Bench bench;
    std::vector<Step> steps = {
        {"Properties", {{"code", 0}, {"value", 0x80070000u}}},
        {R"(GetAppInfo 0 "")", {{"code", 0}, {"selection", "C:\\kvsync\\EudoraAppInfo0001.cfg"}}},
        {"Open", {{"code", 0}}},
        {"Fields", {{"code", 0}, {"fields", json::array()}}},
        {"RecordCount", {{"code", 1}, {"value", -1}}},
        {"FieldCount", {{"code", 0}, {"value", 0}}},
        {"MoveFirst", {{"code", 5}}},
        {"MoveNext", {{"code", 5}}},
        {"GetModifiedInfo", {{"code", 2}}},
        {"GetField 1", {{"code", 2}, {"value", nullptr}}},
        {"SetField 1 \"x\"", {{"code", 2}}},
        {"Add", {{"code", 2}}},
        {"Edit", {{"code", 0}}},
        {"Delete", {{"code", 0}}},
        {"BatchUpdate", {{"code", 7}}},
        {"SaveSettings \"x\"", {{"code", 7}}},
        {"IsOkToProceed", {{"code", 0}, {"ok", true}}},
        {"RemoveTranslator", {{"code", 0}}},
        {"SelfDiagnose", {{"code", 1}}},
        {"Init \"DE\"", {{"code", 0}, {"message", ""}}},
        {"New contacts", {{"code", 0}}},
        {"Properties", {{"value", 0x80070004u}}},
        {"Uninit", {{"code", 0}}},
    };
    std::vector<std::string> reserved;
    for (int i = 1; i <= 33; ++i) reserved.push_back("Reserved " + std::to_string(i) + " 7 7");
    for (const std::string& line : reserved) steps.push_back({line.c_str(), {{"code", 7}}});
    Play(bench, "other", steps);
    for (const auto& [path, content] : bench.Tree("state")) {
        EXPECT_EQ(path.find(".cfg"), std::string::npos) << path;
    }
}

// A line that cannot be used says so, and the next one works.
TEST(Shell, BadLinesAreAnsweredAndPassedOver) {
    const Bench bench;
    for (const char* line : {"Frobnicate",
                             "open",
                             "Open x",
                             "Open 0 0",
                             "Fields 1",
                             "GoTo",
                             "GoTo \"x",
                             "GetField",
                             "GetField 2 x",
                             "SetField 2",
                             "SetField 2 Ann",
                             "SetField 2 5",
                             "SetField 2 5 1",
                             "SetField 2 \"\\u0100\"",
                             "SetField 2 \"\xE9\"",
                             "SetField 2 \"a\" 4 4",
                             "IsOk",
                             "IsOk []",
                             "IsOk {\"1\":2}",
                             "IsOk {\"1\"",
                             "TextFilter",
                             "TextFilter {}",
                             "TextFilter [1]",
                             "TextFilter [{\"field\":\"2\"}]",
                             "TextFilter [{\"field\":2,\"text\":\"\"}]",
                             "DateFilter [{\"field\":\"2\",\"start\":\"x\"}]",
                             "BoolFilter [{\"field\":\"2\"}]",
                             "Reserved",
                             "Reserved 0",
                             "Reserved 34",
                             "New",
                             "New x",
                             "Close a",
                             "\"Open\"",
                             "GetAppInfo 0 \"a\" \"b\"",
                             "GetAppInfo x"}) {
        const auto answers =
            bench.Shell("contacts", std::string(kSelect) + "\nOpen\n" + line + "\nFieldCount\n");
        ASSERT_EQ(answers.size(), 4u) << line;
        EXPECT_TRUE(answers[2].contains("error")) << line << "\n" << answers[2].dump();
        EXPECT_EQ(answers[2].value("op", ""),
                  std::string(line).substr(0, std::string(line).find(' ')));
        EXPECT_FALSE(answers[2].contains("code")) << line;
        EXPECT_EQ(answers[3]["value"], 7) << line;
    }
}

// No order of operations brings the program down.
TEST(Shell, AnyOrderOfOperationsIsAnswered) {
    const char* const lines[] = {"GetAppInfo 0 \"\"",
                                 kSelect,
                                 "Open",
                                 "Close",
                                 "MoveFirst",
                                 "MoveNext",
                                 "GoTo bob",
                                 "GetRecordID",
                                 "GetModifiedInfo",
                                 "GetField 1",
                                 "GetField 9",
                                 "Add",
                                 "Edit",
                                 "Edit bob",
                                 "SetField 1 \"n\"",
                                 "SetField 2 null",
                                 "Update",
                                 "Delete",
                                 "Delete bob",
                                 "BatchUpdate",
                                 "IsOk {\"1\":\"x\"}",
                                 "Errors",
                                 "New contacts",
                                 "New other",
                                 "Uninit",
                                 "Init \"JP\"",
                                 "DeleteAll",
                                 "TextFilter []",
                                 "Fields",
                                 "TextFilter [{\"field\":\"1\",\"text\":\"a\"}]"};
    const Bench bench;
    unsigned seed = 1;
    for (int round = 0; round < 12; ++round) {
        std::string script;
        for (int i = 0; i < 120; ++i) {
            seed = seed * 1664525u + 1013904223u;
            script += std::string(lines[(seed >> 16) % std::size(lines)]) + "\n";
        }
        const auto answers = bench.Shell("contacts", script);
        ASSERT_EQ(answers.size(), 120u) << script;
        for (const auto& answer : answers) ASSERT_TRUE(answer.contains("op")) << answer.dump();
    }
}

}  // namespace

}  // namespace host::testing
