#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/failure.h"
#include "host/mail/mail_text.h"

// Taking foreign Internet messages apart (RFC 5322, RFC 2045 to 2047). All views point into the
// message, which outlives them.
namespace host::mail {

// The header lines of a message or part, and its body, as they stand. GMime's parser is not used
// for this: it drops header lines that are no fields, rewrites attached mails, and lets a hostile
// header decide how much memory and stack it takes (docs/architecture.md).
struct Entity {
    std::string_view header, body;
};

// The header ends at an empty line, or in front of a line that belongs to none.
Entity SplitEntity(std::string_view bytes);

// The value of the first field of that name, its lines joined, blanks at both ends gone; empty if
// there is none. It is cut at 64 KB.
std::string FieldValue(const Entity& entity, std::string_view name);
// The values of all fields of that name, ", " between them.
std::string FieldValues(const Entity& entity, std::string_view name);

// A part that becomes a file. Points into the message.
struct FilePart {
    std::string name;  // UTF-8, as the mail has it; empty if it has none
    std::string contentType;
    std::string encoding;
    std::string_view body;
};

// What a message consists of, for a reader of plain text.
struct ReadParts {
    std::vector<TextPiece> texts;  // one after the other, UTF-8
    std::vector<FilePart> files;
    bool isTooComplex = false;  // more than 500 parts, or 30 levels: the rest is missing
};

// `codePage` is that of texts without a charset.
ReadParts ReadMailParts(const Entity& message, unsigned codePage);

inline std::string OrEmpty(const char* text) {
    return text != nullptr ? text : "";
}

// Undoes a transfer encoding and hands the bytes over piece by piece; a failure of `take` ends it.
// An encoding that is not known is none.
base::Status DecodeBody(std::string_view body, const std::string& encoding,
                        const std::function<base::Status(std::string_view)>& take);

}  // namespace host::mail
