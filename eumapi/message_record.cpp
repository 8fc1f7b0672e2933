#include "eumapi/message_record.h"

#include <cstring>
#include <new>

namespace eumapi {

namespace {

std::size_t TextSize(const Recipient& recipient) {
    return recipient.name.size() + recipient.address.size() + 2;
}

// Hands out pieces of a block whose size was worked out before: structures first, texts behind.
class Arena {
  public:
    Arena(unsigned char* structures, std::size_t structureBytes)
        : m_next(structures), m_text(reinterpret_cast<char*>(structures) + structureBytes) {}

    template <class Structure>
    Structure* Take(std::size_t count) {
        if (count == 0) return nullptr;
        auto* first = reinterpret_cast<Structure*>(m_next);
        for (std::size_t i = 0; i < count; ++i) new (first + i) Structure{};
        m_next += count * sizeof(Structure);
        return first;
    }

    char* Text(const std::string& text) {
        char* start = m_text;
        std::memcpy(start, text.c_str(), text.size() + 1);
        m_text += text.size() + 1;
        return start;
    }

  private:
    unsigned char* m_next;
    char* m_text;
};

void Fill(MapiRecipDesc& out, const Recipient& recipient, Arena& arena) {
    out.ulRecipClass = recipient.recipientClass;
    out.lpszName = arena.Text(recipient.name);
    out.lpszAddress = arena.Text(recipient.address);
}

void Fill(MapiFileDesc& out, const AttachmentCopy& file, Arena& arena) {
    out.nPosition = 0xFFFFFFFF;
    out.lpszPathName = arena.Text(file.path);
    out.lpszFileName = arena.Text(file.name);
}

}  // namespace

MapiMessage* MessageBuffers::Make(const MessageRecord& record) {
    static_assert(sizeof(MapiMessage) % alignof(MapiRecipDesc) == 0 &&
                  sizeof(MapiRecipDesc) % alignof(MapiFileDesc) == 0);
    const std::size_t recipients = record.recipients.size() + (record.originator ? 1 : 0);
    const std::size_t structures = sizeof(MapiMessage) + recipients * sizeof(MapiRecipDesc) +
                                   record.files.size() * sizeof(MapiFileDesc);
    std::size_t texts = record.subject.size() + 1;
    if (record.note) texts += record.note->size() + 1;
    if (record.date) texts += record.date->size() + 1;
    if (record.originator) texts += TextSize(*record.originator);
    for (const auto& recipient : record.recipients) texts += TextSize(recipient);
    for (const auto& file : record.files) texts += file.path.size() + file.name.size() + 2;

    std::unique_ptr<unsigned char[]> block(new unsigned char[structures + texts]);
    Arena arena(block.get(), structures);
    auto* message = arena.Take<MapiMessage>(1);
    message->lpOriginator = arena.Take<MapiRecipDesc>(record.originator ? 1 : 0);
    message->lpRecips = arena.Take<MapiRecipDesc>(record.recipients.size());
    message->lpFiles = arena.Take<MapiFileDesc>(record.files.size());
    message->nRecipCount = static_cast<std::uint32_t>(record.recipients.size());
    message->nFileCount = static_cast<std::uint32_t>(record.files.size());
    message->flFlags = record.flags;
    message->lpszSubject = arena.Text(record.subject);
    if (record.note) message->lpszNoteText = arena.Text(*record.note);
    if (record.date) message->lpszDateReceived = arena.Text(*record.date);
    if (record.originator) Fill(*message->lpOriginator, *record.originator, arena);
    for (std::size_t i = 0; i < record.recipients.size(); ++i) {
        Fill(message->lpRecips[i], record.recipients[i], arena);
    }
    for (std::size_t i = 0; i < record.files.size(); ++i) {
        Fill(message->lpFiles[i], record.files[i], arena);
    }
    m_blocks.emplace(message, std::move(block));
    return message;
}

bool MessageBuffers::Free(void* message) {
    return m_blocks.erase(message) == 1;
}

}  // namespace eumapi
