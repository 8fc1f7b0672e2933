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

// The texts by their numbers. Of frame/string_id.h, the names that begin with 'k'.
Texts Read(const std::string& path) {
    std::ifstream file(KV_BUNDLE_SOURCES + path);
    Texts texts;
    for (std::string line; std::getline(file, line);) {
        const auto sign = line.find(" = ");
        if (sign == line.npos || line[0] == '#') continue;
        if (line.starts_with("    k")) {
            texts[std::stoul(line.substr(sign + 3))] = line;
        } else if (line[0] != ' ') {
            texts[std::stoul(line)] = line.substr(sign + 3);
        }
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

TEST(BundlesTest, EveryLanguageHasEveryTextInItsCodePageAndInItsBuiltFile) {
    const Texts formats = {{1, "%s"},  {81, "%s"}, {82, "%s"}, {83, "%s%d"}, {84, "%s"},
                           {85, "%s"}, {86, "%s"}, {87, "%s"}, {88, "%s"}};
    const Texts fixed = {{41, "From"}, {77, "Attachment Converted:"}, {79, "In"}};
    const Texts english = Read("/EN.txt");
    const platform::System& system = platform::NativeSystem();
    Texts ids = Read("/../frame/string_id.h");
    for (auto id = static_cast<unsigned>(frame::StringId::kFirstOfMapi);
         id <= static_cast<unsigned>(frame::StringId::kOtherMapiError); ++id) {
        ids[id];  // the result codes of Simple MAPI give these
    }
    for (const std::string language : {"EN", "DE", "FR", "ES", "IT", "PT", "JP"}) {
        Texts texts = Read("/" + language + ".txt");
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
        const auto bundle = system.libraries.LoadResources("kvlEUD" + language + ".dll");
        ASSERT_TRUE(bundle) << bundle.Error().Message();
        for (unsigned id = 0; id < 120; ++id) {
            EXPECT_EQ((*bundle)->Text(id, 1023), platform::FromUtf8(texts[id], system.codePage))
                << language << id;
        }
        EXPECT_EQ((*bundle)->Text(41, 3), "Fro");
    }
}

}  // namespace
