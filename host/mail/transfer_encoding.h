#pragma once

#include <string>
#include <string_view>

#include <gmime/gmime.h>

namespace host::mail {

enum class TransferEncoding { k7Bit, kQuotedPrintable, kBase64 };

std::string_view NameOf(TransferEncoding encoding);

// The first of the three that brings a text with LF line ends over whole: 7 bit for lines of ASCII
// that fit and that no mailbox file would take for a separator, base64 where most of it would be
// escapes.
TransferEncoding ChooseEncoding(std::string_view text);

void AppendEncoded(std::string& out, std::string_view text, TransferEncoding encoding);

// Base64 that is made as the bytes come.
class Base64Stream {
  public:
    // `out` is appended to and outlives this.
    explicit Base64Stream(std::string& out);
    void Add(std::string_view bytes);
    void Finish();

  private:
    std::string& m_out;
    GMimeEncoding m_encoding;
};

}  // namespace host::mail
