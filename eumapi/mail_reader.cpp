#include "eumapi/mail_reader.h"

#include <algorithm>

#include "eumapi/attachment_search.h"
#include "eumapi/mail_header.h"
#include "mailbox/toc_records.h"
#include "text/ascii.h"
#include "text/path.h"

namespace eumapi {

namespace {

using mailbox::MailState;

constexpr std::uint64_t kHeaderGuess = 16384;  // most headers are shorter

std::uint32_t FlagsOf(std::uint16_t state) {
    if (state == static_cast<std::uint16_t>(MailState::kUnread)) return mapi::kUnread;
    return state == static_cast<std::uint16_t>(MailState::kSent) ? mapi::kSent : 0;
}

}  // namespace

platform::Result<std::uint64_t> MailReader::LengthOf(const MailIndex& index,
                                                     const IndexedMail& mail) {
    if (m_version != index.Version()) LetGo();
    if (!m_mbx) {
        auto file =
            m_system.files.Open(m_path, platform::OpenMode::kRead, platform::Share::kReadWrite);
        if (!file) return file.Error();
        m_mbx = *std::move(file);
        m_version = index.Version();
    }
    const auto size = m_mbx->Size();
    if (!size) return size.Error();
    if (mail.dwOffset >= *size) return std::uint64_t{0};
    if (mail.dwLength <= *size - mail.dwOffset) return std::uint64_t{mail.dwLength};
    std::uint64_t end = *size;
    for (const auto& other : index.Mails()) {
        if (other.dwOffset > mail.dwOffset) end = std::min<std::uint64_t>(end, other.dwOffset);
    }
    return end - mail.dwOffset;
}

platform::Result<std::string> MailReader::ReadBytes(const MailIndex& index, const IndexedMail& mail,
                                                    std::uint64_t most) {
    const auto length = LengthOf(index, mail);
    if (!length) return length.Error();
    if (*length > kLargestMail) return platform::Failure{platform::ErrorCode::kTooLarge, m_path};
    std::string bytes(static_cast<std::size_t>(std::min(*length, most)), '\0');
    const auto read = m_mbx->ReadAt(mail.dwOffset, bytes);
    if (!read) return read.Error();
    bytes.resize(*read);
    return bytes;
}

// Reads on until the header's end is in the bytes.
platform::Result<std::string> MailReader::ReadHeader(const MailIndex& index,
                                                     const IndexedMail& mail) {
    for (std::uint64_t most = kHeaderGuess;; most *= 4) {
        auto bytes = ReadBytes(index, mail, most);
        if (!bytes || bytes->size() < most || text::MailView(*bytes).HasBody()) return bytes;
    }
}

Code MailReader::CopyAttachments(std::vector<AttachmentLine>& lines,
                                 AttachmentCopies& copies) const {
    if (lines.empty()) return mapi::kSuccess;
    AttachmentSearch search(m_system, m_folder);
    for (auto& line : lines) {
        const std::string source = search.Find(line.path);
        if (source.empty()) continue;
        auto name = text::PlainNameIn(source, m_system.codePage);
        const Code code = copies.Add(source, std::move(name), line.isPresent);
        if (code != mapi::kSuccess) return code;
    }
    return mapi::kSuccess;
}

Code MailReader::TakeBody(const text::MailView& text, std::uint32_t flags, AttachmentCopies& copies,
                          MessageRecord& record) const {
    std::string note = text::WithLineFeeds(text.Body());
    // The text comes first among the files, and is complete only after the attachments.
    const bool isFile = (flags & mapi::kBodyAsFile) != 0;
    Code code = isFile ? copies.AddEmpty("Message.txt") : mapi::kSuccess;
    if (code != mapi::kSuccess) return code;
    if ((flags & mapi::kSuppressAttach) == 0) {
        auto lines = FindAttachmentLines(note);
        code = CopyAttachments(lines, copies);
        if (code != mapi::kSuccess) return code;
        note = ArrangedText(note, lines);
    }
    if (isFile) {
        code = copies.WriteTo(0, note);
        if (code != mapi::kSuccess) return code;
        note.clear();
    }
    record.note = std::move(note);
    record.files = copies.Files();
    return mapi::kSuccess;
}

Code MailReader::Read(const MailIndex& index, const IndexedMail& mail, std::uint32_t flags,
                      AttachmentCopies& copies, MessageRecord& record) {
    const bool isEnvelope = (flags & mapi::kEnvelopeOnly) != 0;
    auto bytes = isEnvelope ? ReadHeader(index, mail) : ReadBytes(index, mail);
    if (!bytes) return CodeOf(bytes.Error());
    // A zero byte would hide what follows it from every reader of a C text.
    std::replace(bytes->begin(), bytes->end(), '\0', ' ');
    const text::MailView text(*bytes);
    record.flags = FlagsOf(mail.wStatus);
    TakeHeader(text, m_system, index, mail, record);
    return isEnvelope ? mapi::kSuccess : TakeBody(text, flags, copies, record);
}

}  // namespace eumapi
