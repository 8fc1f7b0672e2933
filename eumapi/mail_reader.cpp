#include "eumapi/mail_reader.h"

#include <algorithm>

#include "eumapi/address_list.h"
#include "eumapi/attachment_search.h"
#include "eumapi/encoded_word.h"
#include "eumapi/mail_date.h"
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

// Callers take the address out of the brackets, so the name must have none.
std::string DisplayName(std::string name, const std::string& address) {
    std::erase_if(name, [](char letter) { return letter == '<' || letter == '>'; });
    return name.empty() ? address : name + " <" + address + ">";
}

class HeaderTexts {
  public:
    HeaderTexts(const text::MailView& text, unsigned codePage)
        : m_text(text), m_codePage(codePage) {}

    std::optional<std::string> Subject() const {
        auto subject = m_text.Field("Subject");
        if (subject) subject = DecodeHeader(*subject, m_codePage);
        return subject;
    }

    std::vector<Recipient> List(const char* field, std::uint32_t recipientClass) const {
        std::vector<Recipient> recipients;
        for (auto& one : ParseAddresses(m_text.AllFields(field), m_codePage)) {
            const auto address = DecodeHeader(one.address, m_codePage);
            auto name = DecodeHeader(one.name, m_codePage);
            if (name.empty()) name = address;
            recipients.push_back({recipientClass, std::move(name), "SMTP:" + address});
        }
        return recipients;
    }

    std::optional<Recipient> From() const {
        const auto senders = ParseAddresses(m_text.AllFields("From"), m_codePage);
        if (senders.empty()) return std::nullopt;
        const auto address = DecodeHeader(senders[0].address, m_codePage);
        return Recipient{mapi::kOriginator,
                         DisplayName(DecodeHeader(senders[0].name, m_codePage), address),
                         "SMTP:" + address};
    }

  private:
    const text::MailView& m_text;
    unsigned m_codePage;
};

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

void MailReader::TakeHeader(const text::MailView& text, const MailIndex& index,
                            const IndexedMail& mail, MessageRecord& record) const {
    const unsigned codePage = m_system.codePage;
    const HeaderTexts header(text, codePage);
    auto subject = header.Subject();
    record.originator = header.From();
    for (const auto& [field, recipientClass] :
         {std::pair{"To", mapi::kTo}, {"Cc", mapi::kCc}, {"Bcc", mapi::kBcc}}) {
        auto list = header.List(field, recipientClass);
        std::move(list.begin(), list.end(), std::back_inserter(record.recipients));
    }
    auto moment = ParseMailDate(text.Field("Date").value_or(""), m_system.clock);
    if (!subject || !record.originator || !moment) {
        // What the list of mails in Eudora shows.
        mailbox::MsgBlock block;
        if (const auto bytes = index.ReadBlock(mail)) block = mailbox::MsgBlock::Decode(*bytes);
        if (!subject) subject = DecodeHeader(block.szSubject, codePage);
        if (!record.originator && !block.szFrom.empty()) {
            const auto from = DecodeHeader(block.szFrom, codePage);
            record.originator = Recipient{mapi::kOriginator, from, "SMTP:" + from};
        }
        if (!moment && block.dwSeconds != 0) {
            moment = std::chrono::system_clock::from_time_t(block.dwSeconds);
        }
        constexpr std::string_view kMark = "???@???";
        const auto at = text.Separator().find(kMark);
        if (!moment && at != std::string_view::npos) {
            moment = ParseMailDate(text.Separator().substr(at + kMark.size()), m_system.clock);
        }
    }
    record.subject = *std::move(subject);
    if (moment) record.date = MapiDate(*moment, m_system.clock);
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
    TakeHeader(text, index, mail, record);
    return isEnvelope ? mapi::kSuccess : TakeBody(text, flags, copies, record);
}

}  // namespace eumapi
