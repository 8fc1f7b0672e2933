#include "host/mail/encoded_words.h"

#include "platform/os/code_page.h"
#include "text/encoded_words.h"
#include "text/utf.h"

namespace host::mail {

std::string DecodedText(std::string_view bytes, std::string_view charset, unsigned codePage) {
    if (auto text = platform::CharsetToUtf8(bytes, charset)) return *std::move(text);
    return text::IsUtf8(bytes) ? std::string(bytes) : platform::ToUtf8(bytes, codePage);
}

std::string DecodeWords(std::string_view text, unsigned codePage) {
    return text::DecodeWords(text, text::Damage::kPassedOver,
                             [=](std::string_view bytes, std::string_view charset) {
                                 return DecodedText(bytes, charset, codePage);
                             });
}

}  // namespace host::mail
