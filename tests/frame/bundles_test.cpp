#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <string>

#include "frame/string_id.h"
#include "platform/os/code_page.h"
#include "platform/os/system.h"

// The language sources of the source tree and the bundles made of them.

namespace {

using Texts = std::map<unsigned, std::string>;

constexpr const char* kLanguages[] = {"EN", "DE", "FR", "ES", "IT", "PT", "JP"};

Texts ReadSource(const std::string& language) {
    std::ifstream file(std::string(KV_BUNDLE_SOURCES) + "/" + language + ".txt");
    Texts texts;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        texts[static_cast<unsigned>(std::stoul(line))] = line.substr(line.find(" = ") + 3);
    }
    return texts;
}

std::string Conversions(const std::string& text) {
    std::string found;
    for (std::size_t at = 0; (at = text.find('%', at)) != text.npos; at += 2) {
        found += text.substr(at, 2);
    }
    return found;
}

// The numbers of frame/string_id.h, with those that result codes of Simple MAPI give.
std::set<unsigned> IdsOfTheModule() {
    std::ifstream file(KV_BUNDLE_SOURCES "/../frame/string_id.h");
    std::set<unsigned> ids;
    for (std::string line; std::getline(file, line);) {
        const auto at = line.find(" = ");
        if (line.starts_with("    k")) ids.insert(std::stoul(line.substr(at + 3)));
    }
    for (auto id = static_cast<unsigned>(frame::StringId::kFirstOfMapi);
         id <= static_cast<unsigned>(frame::StringId::kOtherMapiError); ++id) {
        ids.insert(id);
    }
    return ids;
}

TEST(BundleSourcesTest, EveryLanguageHasEveryTextInItsCodePage) {
    const Texts formats = {{1, "%s"},  {81, "%s"}, {82, "%s"}, {83, "%s%d"}, {84, "%s"},
                           {85, "%s"}, {86, "%s"}, {87, "%s"}, {88, "%s"}};
    const Texts fixed = {{41, "From"}, {77, "Attachment Converted:"}, {79, "In"}};
    const Texts english = ReadSource("EN");
    const std::set<unsigned> ids = IdsOfTheModule();
    EXPECT_EQ(ids.size(), 76U);
    for (const std::string language : kLanguages) {
        const Texts texts = ReadSource(language);
        EXPECT_EQ(texts.size(), ids.size()) << language;
        for (const auto& [id, text] : texts) {
            SCOPED_TRACE(language + " " + std::to_string(id) + ": " + text);
            bool lossy = true;
            const unsigned codePage = language == "JP" ? 932 : 1252;
            EXPECT_LT(platform::FromUtf8(text, codePage, &lossy).size(), 1024U);
            EXPECT_FALSE(lossy);
            EXPECT_EQ(Conversions(text), formats.contains(id) ? formats.at(id) : "");
            EXPECT_TRUE(ids.contains(id));
            if (fixed.contains(id)) {
                EXPECT_EQ(text, fixed.at(id));
            } else if (language != "EN" && text.find(' ') != text.npos) {
                // Sentences; names of fields and buttons may well be the same word.
                EXPECT_NE(text, english.at(id)) << "not translated";
            }
        }
    }
}

TEST(BundlesTest, TheBuiltFilesGiveTheTextsOfTheirSources) {
    const platform::System& system = platform::NativeSystem();
    const unsigned codePage = system.codePage;
    for (const std::string language : kLanguages) {
        SCOPED_TRACE(language);
        const auto bundle = system.libraries.LoadResources("kvlEUD" + language + ".dll");
        ASSERT_TRUE(bundle) << bundle.Error().Message();
        Texts texts = ReadSource(language);
        for (unsigned id = 0; id < 120; ++id) {
            EXPECT_EQ((*bundle)->Text(id, 1023), platform::FromUtf8(texts[id], codePage)) << id;
        }
        EXPECT_EQ((*bundle)->Text(41, 3), "Fro");
    }
}

}  // namespace
