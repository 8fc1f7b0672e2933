#pragma once

#include <string>
#include <vector>

#include "host/mail/mail_text.h"
#include "host/mail/mime_value.h"
#include "host/mail/parse.h"

namespace host::mail {

// A part that becomes a file.
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
    bool isTooComplex = false;  // parts without number or depth: not all of it is here
};

ReadParts ReadMailParts(const Entity& message, unsigned codePage);

}  // namespace host::mail
