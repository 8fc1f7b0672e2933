#include "eumapi/message_record.h"

#include <utility>

namespace eumapi {

namespace {

MapiRecipDesc Describe(Recipient& recipient) {
    MapiRecipDesc out{};
    out.ulRecipClass = recipient.recipientClass;
    out.lpszName = recipient.name.data();
    out.lpszAddress = recipient.address.data();
    return out;
}

MapiFileDesc Describe(AttachmentCopy& file) {
    MapiFileDesc out{};
    out.nPosition = 0xFFFFFFFF;
    out.lpszPathName = file.path.data();
    out.lpszFileName = file.name.data();
    return out;
}

// What describes the parts; null for none, as callers expect.
template <class Description, class Part>
Description* DescribeAll(std::vector<Part>& parts, std::vector<Description>& out) {
    out.reserve(parts.size());
    for (Part& part : parts) out.push_back(Describe(part));
    return out.empty() ? nullptr : out.data();
}

}  // namespace

// The texts are the record's own.
struct MessageBuffers::Held {
    explicit Held(MessageRecord given) : record(std::move(given)) {
        message.lpszSubject = record.subject.data();
        if (record.note) message.lpszNoteText = record.note->data();
        if (record.date) message.lpszDateReceived = record.date->data();
        message.flFlags = record.flags;
        if (record.originator) {
            originator = Describe(*record.originator);
            message.lpOriginator = &originator;
        }
        message.nRecipCount = static_cast<std::uint32_t>(record.recipients.size());
        message.lpRecips = DescribeAll(record.recipients, recipients);
        message.nFileCount = static_cast<std::uint32_t>(record.files.size());
        message.lpFiles = DescribeAll(record.files, files);
    }

    MapiMessage message{};
    MessageRecord record;
    MapiRecipDesc originator{};
    std::vector<MapiRecipDesc> recipients;
    std::vector<MapiFileDesc> files;
};

MessageBuffers::MessageBuffers() = default;
MessageBuffers::~MessageBuffers() = default;

MapiMessage* MessageBuffers::Make(MessageRecord record) {
    auto held = std::make_unique<Held>(std::move(record));
    MapiMessage* const message = &held->message;
    m_held.emplace(message, std::move(held));
    return message;
}

bool MessageBuffers::Free(void* message) {
    return m_held.erase(message) == 1;
}

}  // namespace eumapi
