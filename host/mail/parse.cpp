#include "host/mail/parse.h"

#include <algorithm>
#include <utility>

#include <gmime/gmime.h>

#include "host/base/failure.h"
#include "host/mail/content_type.h"
#include "host/mail/eudora_text.h"
#include "host/mail/mail_reader.h"
#include "host/mail/message_id.h"
#include "host/maildir/maildir.h"
#include "platform/os/code_page.h"

namespace host::mail {

namespace {

constexpr std::size_t kLongestText = 16u << 20;  // bytes of a body in Eudora
constexpr std::size_t kLongestSubject = 2000, kLongestList = 30000;

// A message without what a mailbox file puts above it, and with line ends that can be told.
class Message {
  public:
    explicit Message(std::string_view bytes) : m_bytes(bytes) {
        if (bytes.find('\n') == std::string_view::npos) {
            m_copy = bytes;
            std::ranges::replace(m_copy, '\r', '\n');
            m_bytes = m_copy;
        }
        if (m_bytes.starts_with("From ") || m_bytes.starts_with(">From ")) {
            m_bytes.remove_prefix(std::min(m_bytes.find('\n'), m_bytes.size() - 1) + 1);
        }
        m_entity = SplitEntity(m_bytes);
    }
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

    std::string_view Bytes() const { return m_bytes; }
    const Entity& Parts() const { return m_entity; }

  private:
    std::string m_copy;
    std::string_view m_bytes;
    Entity m_entity;
};

std::string MessageIdOf(const Message& message) {
    std::string own = maildir::MessageIdInHeader(message.Bytes());
    if (CanBeMessageId(own) && !IsIndexId(own)) return own;
    return Fingerprint(message.Bytes()) + ".maildir@localhost";
}

// Files of one mail, made while it is read.
class FileMaker {
  public:
    FileMaker(const ParsePlace& place, NewMail& mail) : m_place(place), m_mail(mail) {}

    base::Status Add(const FilePart& part) {
        auto path = m_place.files.CreateTempFile(m_place.folder, "kvm");
        if (!path) return path.Error();
        m_mail.attachments.push_back({NameOf(part), *path});
        auto file =
            m_place.files.Open(*path, platform::OpenMode::kReadWrite, platform::Share::kNone);
        if (!file) return file.Error();
        auto written = DecodeBody(part.body, part.encoding,
                                  [&](std::string_view piece) { return (*file)->Write(piece); });
        return written ? (*file)->Close() : written;
    }

    void RemoveAll() {
        for (const NewAttachment& made : m_mail.attachments) (void)m_place.files.Delete(made.path);
        m_mail.attachments.clear();
    }

  private:
    std::string NameOf(const FilePart& part) const {
        const bool isMail = part.contentType == "message/rfc822";
        std::string extension(isMail ? "eml" : ExtensionOf(part.contentType));
        if (extension.empty()) extension = "dat";
        std::string name = part.name;
        if (isMail && name.empty()) {
            name = DecodedHeader(FieldValue(SplitEntity(part.body), "Subject"), m_place.codePage);
            std::ranges::replace_if(
                name, [](char c) { return c == '/' || c == '\\'; }, '_');
            if (!name.empty()) name += ".eml";
        }
        const auto number = std::to_string(m_mail.attachments.size() + 1);
        return PlainAttachmentName(name, "attachment" + number + '.' + extension, m_place.codePage);
    }

    const ParsePlace& m_place;
    NewMail& m_mail;
};

class MailMaker {
  public:
    MailMaker(const Message& message, const ParsePlace& place)
        : m_message(message), m_place(place), m_text(place.codePage) {}

    base::Result<NewMail> Run() {
        ReadHeader();
        FileMaker files(m_place, m_mail);
        if (auto made = MakeContent(files); !made) {
            files.RemoveAll();
            return made.Error();
        }
        m_mail.lostCharacters = m_text.LostCharacters();
        return std::move(m_mail);
    }

  private:
    std::string Field(const char* name) const { return FieldValue(m_message.Parts(), name); }

    void ReadHeader() {
        m_mail.messageId = MessageIdOf(m_message);
        const std::string from = Field("From");
        m_mail.from = Sender(from.empty() ? Field("Sender") : from);
        m_mail.to = Recipients("To");
        m_mail.cc = Recipients("Cc");
        m_mail.bcc = Recipients("Bcc");
        m_mail.subject = Cut(m_text.Line(DecodedHeader(Field("Subject"), m_place.codePage)),
                             kLongestSubject, "the subject");
        m_mail.date = DecodedDate(Field("Date"), m_place.clock);
        if (!m_mail.date) {
            const std::string received = Field("Received");
            const auto at = received.rfind(';');
            if (at != std::string::npos) {
                m_mail.date = DecodedDate(received.substr(at + 1), m_place.clock);
            }
        }
    }

    std::string Cut(const std::string& text, std::size_t limit, const char* what) {
        const auto cut = CutText(text, limit, m_place.codePage);
        if (cut.size() < text.size()) m_mail.notes.push_back(what + std::string(" was cut"));
        return std::string(cut);
    }

    // Clean enough to stand in a list: nothing in them separates or ends anything.
    std::vector<Recipient> Clean(const std::string& value) {
        std::vector<Recipient> clean;
        for (Recipient& one : DecodedAddresses(value, m_place.codePage)) {
            std::erase_if(one.name, [](char c) { return c == '"' || c == '\\'; });
            const bool isAddress = one.address.find('@') != std::string::npos;
            for (char& letter : one.address) {
                if (letter == '<' || letter == '>') letter = ' ';
                if (!isAddress && (letter == ',' || letter == ';')) letter = ' ';
            }
            one = {m_text.Line(one.name), m_text.Line(one.address)};
            if (one.name == one.address) one.name.clear();
            if (!one.address.empty()) clean.push_back(std::move(one));
        }
        return clean;
    }

    std::string Sender(const std::string& value) {
        std::string text = StoredRecipients(Clean(value));
        std::ranges::replace(text, ';', ',');
        return Cut(text, kLongestSubject, "the sender");
    }

    std::vector<Recipient> Recipients(const char* name) {
        std::vector<Recipient> kept;
        std::size_t length = 0, left = 0;
        for (Recipient& one : Clean(FieldValues(m_message.Parts(), name))) {
            length += one.name.size() + one.address.size() + 6;
            const bool canBeKept =
                length <= kLongestList && one.address.find(';') == std::string::npos;
            if (canBeKept) kept.push_back(std::move(one));
            left += canBeKept ? 0 : 1;
        }
        if (left > 0) {
            m_mail.notes.push_back(std::to_string(left) + " recipients (" + name +
                                   ") were left out");
        }
        return kept;
    }

    base::Status MakeContent(FileMaker& files) {
        ReadParts parts = ReadMailParts(m_message.Parts(), m_place.codePage);
        if (parts.isTooComplex) {
            m_mail.notes.push_back(
                "the mail has too many parts: as a whole it is the attachment message.eml");
            parts.files = {{"message.eml", "message/rfc822", "", m_message.Bytes()}};
        }
        for (const TextPiece& piece : parts.texts) m_mail.body += m_text.Body(piece);
        if (m_mail.body.ends_with("\r\n")) m_mail.body.resize(m_mail.body.size() - 2);
        for (const FilePart& part : parts.files) {
            if (auto added = files.Add(part); !added) return added;
        }
        return m_mail.body.size() > kLongestText ? CutBody(files) : base::Status();
    }

    base::Status CutBody(FileMaker& files) {
        const std::string whole = std::exchange(m_mail.body, {});
        m_mail.body = CutText(whole, kLongestText, m_place.codePage);
        m_mail.notes.push_back("the text was cut: the whole of it is the attachment text.txt");
        return files.Add({"text.txt", "text/plain", "", whole});
    }

    const Message& m_message;
    const ParsePlace& m_place;
    EudoraText m_text;
    NewMail m_mail;
};

}  // namespace

std::string MessageIdForEudora(std::string_view bytes) {
    return MessageIdOf(Message(bytes));
}

base::Status CanParseMail() {
    return {};
}

base::Result<NewMail> ParseMail(std::string_view bytes, const ParsePlace& place,
                                const std::string& name) {
    if (bytes.size() > kLargestMessage) {
        return base::Refused(name + " has more than 256 MB and is left where it is");
    }
    g_mime_init();
    const Message message(bytes);
    return MailMaker(message, place).Run();
}

}  // namespace host::mail
