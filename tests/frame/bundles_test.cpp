#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <string>

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

std::set<unsigned> ToldIds() {
    std::set<unsigned> ids;
    constexpr unsigned kRanges[][2] = {{1, 1},   {4, 13},  {16, 58}, {60, 60},
                                       {62, 63}, {65, 66}, {71, 77}, {79, 84}};
    for (const auto& [first, last] : kRanges) {
        for (unsigned id = first; id <= last; ++id) ids.insert(id);
    }
    return ids;
}

std::string Conversions(const std::string& text) {
    std::string found;
    for (std::size_t at = 0; (at = text.find('%', at)) != text.npos; at += 2) {
        found += text.substr(at, 2);
    }
    return found;
}

TEST(BundleSourcesTest, EveryLanguageHasEveryTextInItsCodePage) {
    const std::map<unsigned, std::string> formats = {
        {1, "%s"}, {81, "%s"}, {82, "%s"}, {83, "%s%d"}, {84, "%s"}};
    for (const std::string language : kLanguages) {
        SCOPED_TRACE(language);
        const Texts texts = ReadSource(language);
        std::set<unsigned> ids;
        for (const auto& [id, text] : texts) {
            SCOPED_TRACE(id);
            ids.insert(id);
            bool lossy = true;
            const unsigned codePage = language == "JP" ? 932 : 1252;
            const std::string bytes = platform::FromUtf8(text, codePage, &lossy);
            EXPECT_FALSE(lossy) << text;
            EXPECT_LT(bytes.size(), 1024U);
            EXPECT_EQ(Conversions(text), formats.contains(id) ? formats.at(id) : "") << text;
        }
        EXPECT_EQ(ids, ToldIds());
        EXPECT_EQ(texts.at(41), "From");
        EXPECT_EQ(texts.at(77), "Attachment Converted:");
        EXPECT_EQ(texts.at(79), "In");
    }
}

TEST(BundleSourcesTest, NoTextIsLeftUntranslated) {
    const Texts english = ReadSource("EN");
    for (const std::string language : kLanguages) {
        if (language == "EN") continue;
        for (const auto& [id, text] : ReadSource(language)) {
            // Sentences; names of fields and buttons may well be the same word.
            if (text.find(' ') == text.npos || id == 77) continue;
            EXPECT_NE(text, english.at(id)) << language << ' ' << id;
        }
    }
}

TEST(BundlesTest, TheBuiltFilesGiveTheTextsOfTheirSources) {
    const platform::System& system = platform::NativeSystem();
    const unsigned codePage = system.processes.CodePage();
    for (const std::string language : kLanguages) {
        SCOPED_TRACE(language);
        const auto bundle = system.libraries.LoadResources("kvlEUD" + language + ".dll");
        ASSERT_TRUE(bundle) << bundle.Error().Message();
        const Texts texts = ReadSource(language);
        for (unsigned id = 0; id < 120; ++id) {
            const auto found = texts.find(id);
            const std::string expected =
                found == texts.end() ? "" : platform::FromUtf8(found->second, codePage);
            EXPECT_EQ((*bundle)->Text(id, 1023), expected) << id;
        }
        EXPECT_EQ((*bundle)->Text(41, 3), "Fro");
    }
}

}  // namespace
