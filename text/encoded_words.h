#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

// Encoded words of header texts (RFC 2047): "=?charset?B?...?=".
namespace text {

enum class Damage {
    kPassedOver,  // letters of a word that mean nothing stand for themselves, or for nothing
    kRefused      // a word that has some is none
};

struct EncodedWord {
    std::string_view before, word, behind;  // the parts of the text that was searched
    std::string_view charset;               // a language behind a star is no part of it
    std::string bytes;                      // what the word stands for, in that charset
};

// The first encoded word of a text.
std::optional<EncodedWord> FindEncodedWord(std::string_view text, Damage damage);

// Text of a charset in the form that the caller wants; nothing for what has none.
using FromCharset =
    std::function<std::optional<std::string>(std::string_view bytes, std::string_view charset)>;

// The text with its encoded words decoded. Those of one charset side by side are one: a character
// may be cut between two. Blanks between words go. What `convert` gives nothing for stays.
std::string DecodeWords(std::string_view text, Damage damage, const FromCharset& convert);

inline constexpr std::string_view kBase64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// What mail programs mean by the name of a charset, in lower case: Windows' larger sets for the
// plain ones. Empty for a name that says nothing ("unknown-8bit") or is none.
std::string CharsetMeant(std::string_view name);

}  // namespace text
