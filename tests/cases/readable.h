#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

// How bytes stand in a case file: UTF-8 that can be seen stands for itself, every other byte is
// \xNN.
namespace cases {

std::string Readable(std::string_view bytes);
std::string BytesOf(std::string_view readable);

// Puts `to` in each place of `from`.
void Replace(std::string& line, const std::string& from, const std::string& to);

// The lines of a text, without their ends; what stands behind the last end is a line too.
std::vector<std::string> Lines(std::string_view text);

// The words of a command line: blanks part them, single or double quotes keep them together.
std::vector<std::string> Words(std::string_view line);

// What differs from run to run becomes a mark: <id>, <time>, <mail> (the name of a Maildir's file).
std::string WithMarks(const std::string& line);

// What the shell answered to an operation, shorter: `{"op":"GetField","code":0,"type":4}` is
// `0 type:4`. A line that is no answer stays as it is.
std::string ShortAnswer(const std::string& line);

// Whether a line is what a pattern says, in which "..." stands for anything.
bool Matches(std::string_view line, std::string_view pattern);

}  // namespace cases
