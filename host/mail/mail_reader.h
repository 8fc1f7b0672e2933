#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/failure.h"
#include "host/mail/mail_text.h"
#include "host/mail/mime_entity.h"

namespace host::mail {

// A part that becomes a file. Points into the message.
struct FilePart {
    std::string name;  // UTF-8, as the mail has it; empty if it has none
    std::string contentType;
    std::string encoding;
    std::string_view body;
};

// How much a text is worth among alternatives.
enum class TextRank { kNone, kEnriched, kHtml, kPlain };

// What a message consists of, for a reader of plain text.
struct ReadParts {
    std::vector<TextPiece> texts;  // one after the other, UTF-8
    std::vector<FilePart> files;
    TextRank rank = TextRank::kNone;  // the best of the texts
    bool isTooComplex = false;        // parts without number or depth: not all of it is here
};

// `codePage` is that of texts without a charset.
ReadParts ReadMailParts(const Entity& message, unsigned codePage);

// Undoes a transfer encoding and hands the bytes over piece by piece; a failure of `take` ends it.
// An encoding that is not known is none.
base::Status DecodeBody(std::string_view body, const std::string& encoding,
                        const std::function<base::Status(std::string_view)>& take);

}  // namespace host::mail
