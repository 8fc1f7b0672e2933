#pragma once

#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// ASCII as the C locale has it, whatever the locale of the process: bytes from 0x80 on are neither
// letters nor digits nor blanks, and stay as they are.
namespace text {

inline constexpr std::string_view kBlanks = " \t\r\n";

constexpr char Lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
}
constexpr char Upper(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - ('a' - 'A')) : letter;
}
constexpr bool IsLetter(char letter) {
    return Lower(letter) >= 'a' && Lower(letter) <= 'z';
}
constexpr bool IsDigit(char letter) {
    return letter >= '0' && letter <= '9';
}
constexpr bool IsControl(char letter) {
    return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F;
}
// The value of a hexadecimal digit in either case; -1 of any other letter.
constexpr int HexValue(char letter) {
    if (IsDigit(letter)) return letter - '0';
    return Lower(letter) >= 'a' && Lower(letter) <= 'f' ? Lower(letter) - 'a' + 10 : -1;
}

// The number that makes up the whole text; nothing for any other text, or if Number cannot hold it.
template <class Number>
std::optional<Number> NumberIn(std::string_view text, int base = 10) {
    Number number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}
// Two hexadecimal digits in upper case for each byte.
std::string Hex(std::string_view bytes);
bool IsAscii(std::string_view text);
// The text with ASCII letters in lower or upper case.
std::string Lowered(std::string_view text);
std::string Raised(std::string_view text);
// Control characters become blanks, blanks at both ends go.
std::string WithoutControls(std::string_view text);
bool EqualNoCase(std::string_view a, std::string_view b);
bool StartsWithNoCase(std::string_view text, std::string_view beginning);

// The text without those letters at its ends; a part of the text that was given.
std::string_view TrimmedFront(std::string_view text, std::string_view blanks = kBlanks);
std::string_view TrimmedBack(std::string_view text, std::string_view blanks = kBlanks);
std::string_view Trimmed(std::string_view text, std::string_view blanks = kBlanks);

// Takes the first line off `rest`, its line feed included; a last line may have none.
std::string_view TakeLine(std::string_view& rest);
// Takes a token off `rest`, as strtok does: leading delimiters, the token, and one delimiter behind
// it. Nothing if there are only delimiters.
std::optional<std::string_view> TakeToken(std::string_view& rest, std::string_view delimiters);
// The pieces with `between` between each two of them.
std::string Joined(const std::vector<std::string>& pieces, std::string_view between);
// The text with each `part`, which is not empty, replaced.
std::string Replaced(std::string_view text, std::string_view part, std::string_view by);
// The text with CR LF in the place of each LF, CR LF and CR.
std::string WithCrLf(std::string_view text);
// The text with LF as the end of each line, however many CRs stood in front of it; other CRs stay.
std::string WithLineFeeds(std::string_view text);

}  // namespace text
