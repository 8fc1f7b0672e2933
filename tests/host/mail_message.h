#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

struct MessagePart {
    std::string type;      // "text/plain"
    std::string format;    // the parameter of that name
    std::string fileName;  // of an attachment
    std::string bytes;     // decoded
};

// A composed message as a mail program understands it.
struct ReadMessage {
    bool isWhole = false;  // it was understood to the last byte, and its fields are those expected
    std::vector<std::string> fieldNames;
    std::string from, to, cc, bcc, subject, messageId, date;
    std::vector<MessagePart> parts;  // leaves, in order
};

ReadMessage ParseMessage(std::string_view message);

}  // namespace host
