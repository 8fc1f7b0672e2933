// Plays files of cases and holds what comes of it against what they say: see
// README.md.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/os/program.h"
#include "tests/cases/readable.h"
#include "tests/cases/world.h"
#include "tests/platform/temp_folder.h"
#include "text/ascii.h"

namespace cases {
namespace {

using Strings = std::vector<std::string>;

constexpr bool kIsWindows = std::filesystem::path::preferred_separator == L'\\';

// A case, from its title to the next one. What stands in front of the first
// title comes first in every case.
struct Case {
    std::string title;
    Strings lines;

    bool IsForThisSystem() const { return !title.ends_with(kIsWindows ? "(Linux)" : "(Windows)"); }
};

std::vector<Case> CasesOf(const Strings& lines) {
    std::vector<Case> all(1);
    for (const auto& line : lines) {
        if (line.starts_with("== "))
            all.push_back({line, {}});
        else
            all.back().lines.push_back(line);
    }
    return all;
}

bool IsRemark(const std::string& line) {
    return line.empty() || line.starts_with('#');
}

// "$ kvsync ..." or, with the exit code that it ends with, "$4 kvsync ...".
bool IsCommand(const std::string& line) {
    const auto end = std::min(line.find_first_not_of("0123456789", 1), line.size() - 1);
    return line.starts_with('$') && line[end] == ' ';
}

// The told lines, but the expected ones where those match with their "...".
Strings Kept(const Strings& told, const Strings& expected) {
    Strings kept;
    std::size_t next = 0;
    for (std::size_t i = 0; i < told.size(); ++next) {
        const bool hasPattern = next < expected.size();
        if (hasPattern && expected[next] == "...") {
            const bool isLast = next + 1 == expected.size();
            const auto end = std::find_if(told.begin() + i, told.end(), [&](const auto& line) {
                return !isLast && Matches(line, expected[next + 1]);
            });
            if (isLast || end != told.end()) {
                kept.push_back("...");
                i = static_cast<std::size_t>(end - told.begin());
                continue;
            }
        }
        const bool isMatch = hasPattern && Matches(told[i], expected[next]);
        kept.push_back(isMatch ? expected[next] : told[i]);
        ++i;
    }
    return kept;
}

// An output line that a case file would take for something else gets an escape.
std::string Unmistakable(const std::string& line) {
    if (line.empty()) return "\\x0A";
    if (!IsCommand(line) && !line.starts_with('#') && !line.starts_with("> ") &&
        !line.starts_with("== ")) {
        return line;
    }
    return "\\x" + text::Hex(line.substr(0, 1)) + line.substr(1);
}

// Plays lines and gives them with what the commands told instead of what was
// expected.
Strings Play(const Strings& lines, World& world) {
    Strings played;
    for (auto line = lines.begin(); line != lines.end();) {
        const std::string& command = *line++;
        played.push_back(command);
        if (IsRemark(command)) continue;
        if (!IsCommand(command)) {
            played.back() += " (is no command)";
            continue;
        }
        Strings input, expected;
        const std::string words = command.substr(command.find(' ') + 1);
        const bool isShell =
            words.starts_with("kvsync shell ") && line != lines.end() && line->starts_with("> ");
        const auto commandAt = played.size() - 1;
        for (; line != lines.end() && line->starts_with("> "); ++line) {
            input.push_back(line->substr(2));
            (isShell ? expected : played).push_back(*line);
        }
        for (; line != lines.end() && !IsRemark(*line) && !IsCommand(*line); ++line) {
            expected.push_back(*line);
        }
        int code = 0;
        Strings told = world.Do(words, input, code);
        played[commandAt] = '$' + (code != 0 ? std::to_string(code) : "") + ' ' + words;
        if (!isShell) std::ranges::transform(told, told.begin(), Unmistakable);
        told = Kept(told, expected);
        played.insert(played.end(), told.begin(), told.end());
    }
    return played;
}

void PrintDifference(const Case& expected, const Strings& played) {
    const auto [from, until] = std::ranges::mismatch(expected.lines, played);
    const auto [left, right] =
        std::mismatch(expected.lines.rbegin(), std::make_reverse_iterator(from), played.rbegin(),
                      std::make_reverse_iterator(until));
    std::printf("%s\n", expected.title.c_str());
    const auto command =
        std::find_if(std::make_reverse_iterator(from), expected.lines.rend(), IsCommand);
    if (command != expected.lines.rend()) std::printf("  %s\n", command->c_str());
    for (auto line = from; line != left.base(); ++line) std::printf("- %s\n", line->c_str());
    for (auto line = until; line != right.base(); ++line) std::printf("+ %s\n", line->c_str());
}

// Whether the file says what comes of its cases; rewrites it so that it does if
// that is asked for.
bool IsAsTold(const std::string& file, bool rewrites) {
    const auto all = CasesOf(Lines(test::ReadDisk(file)));
    std::string text;
    bool isAsTold = true;
    for (std::size_t i = 0; i < all.size(); ++i) {
        Strings played = all[i].lines;
        if (all[i].IsForThisSystem()) {
            World world;
            if (i > 0) Play(all[0].lines, world);
            played = Play(all[i].lines, world);
        }
        if (played != all[i].lines) {
            PrintDifference(all[i], played);
            isAsTold = false;
        }
        if (i > 0) text += all[i].title + '\n';
        for (const auto& line : played) text += line + '\n';
    }
    if (rewrites) test::WriteDisk(file, text);
    return isAsTold;
}

}  // namespace
}  // namespace cases

int main(int argc, char** argv) {
    const bool rewrites = platform::Environment("KV_REWRITE").has_value();
    bool areAsTold = argc > 1;
    for (const auto& file : platform::ProgramArguments(argc, argv)) {
        areAsTold =
            cases::IsAsTold(std::filesystem::absolute(file).string(), rewrites) && areAsTold;
    }
    return areAsTold ? 0 : 1;
}
