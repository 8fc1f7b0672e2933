#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

// Encoded words of header texts (RFC 2047): "=?charset?B?...?=".
namespace text {

// What invalid letters in an encoded word do.
enum class Damage {
    kPassedOver,  // they stand for themselves, or are dropped
    kRefused      // the word is not taken for an encoded one
};

struct EncodedWord {
    std::string_view before, word, behind;  // the parts of the text that was searched
    std::string_view charset;               // without the language behind a star (RFC 2231)
    std::string bytes;                      // the decoded text, in that charset
};

// The first encoded word of a text; nothing without one.
std::optional<EncodedWord> FindEncodedWord(std::string_view text, Damage damage);

// Converts text of a charset into the caller's encoding; nothing for an unknown charset.
using FromCharset =
    std::function<std::optional<std::string>(std::string_view bytes, std::string_view charset)>;

// The text with its encoded words decoded. Neighbouring words of one charset are decoded together,
// as a character may be cut between them; blanks between words are dropped. A word that `convert`
// cannot convert stays.
std::string DecodeWords(std::string_view text, Damage damage, const FromCharset& convert);

inline constexpr std::string_view kBase64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The charset that mail programs mean by a name, in lower case: Windows' supersets for some plain
// sets. Empty for names without a meaning ("unknown-8bit") and invalid ones.
std::string CharsetMeant(std::string_view name);

}  // namespace text
