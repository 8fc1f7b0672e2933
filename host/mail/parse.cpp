#include "host/mail/parse.h"

#include <algorithm>
#include <cstdlib>
#include <span>
#include <utility>

#include <gmime/gmime.h>

#include "host/base/failure.h"
#include "host/mail/content_type.h"
#include "host/mail/encoded_words.h"
#include "host/mail/mail_reader.h"
#include "host/maildir/maildir.h"
#include "platform/os/code_page.h"
#include "platform/os/not_copied.h"
#include "text/ascii.h"
#include "text/calendar.h"
#include "text/double_byte.h"
#include "text/encoded_words.h"
#include "text/path.h"
#include "text/utf.h"

namespace host::mail {

namespace {

constexpr std::size_t kLongestText = 16u << 20;  // bytes of a body in Eudora
constexpr std::size_t kLongestSubject = 2000, kLongestList = 30000;

constexpr std::ptrdiff_t kMostGroups = 100;  // the address parser calls itself for each

// Encoded words as atoms, so that nothing inside them can be taken for a mark of the list.
class HiddenWords {
  public:
    explicit HiddenWords(std::string_view text) {
        while (const auto word = text::FindEncodedWord(text, text::Damage::kPassedOver)) {
            m_text.append(word->before).append(kBegin) += std::to_string(m_words.size()) + '=';
            m_words.emplace_back(word->word);
            text = word->behind;
        }
        m_text += text;
    }

    const std::string& Text() const { return m_text; }
    std::string Shown(std::string_view text) const {
        std::string shown;
        for (auto at = text.find(kBegin); at != std::string_view::npos; at = text.find(kBegin)) {
            shown += text.substr(0, at);
            text.remove_prefix(at + kBegin.size());
            const auto end = std::min(text.find('='), text.size());
            const auto number = std::strtoul(std::string(text.substr(0, end)).c_str(), nullptr, 10);
            if (number < m_words.size()) shown += m_words[number];
            text.remove_prefix(std::min(end + 1, text.size()));
        }
        return shown.append(text);
    }

  private:
    static constexpr std::string_view kBegin = "=kvword";
    std::string m_text;
    std::vector<std::string> m_words;
};

void AddMailboxes(InternetAddressList* list, std::vector<Recipient>& found) {
    const int count = list != nullptr ? internet_address_list_length(list) : 0;
    for (int i = 0; i < count; ++i) {
        InternetAddress* const address = internet_address_list_get_address(list, i);
        Recipient one{OrEmpty(internet_address_get_name(address)), ""};
        if (INTERNET_ADDRESS_IS_GROUP(address)) {
            const std::size_t before = found.size();
            AddMailboxes(internet_address_group_get_members(INTERNET_ADDRESS_GROUP(address)),
                         found);
            if (found.size() != before) continue;
        } else {
            one.address =
                OrEmpty(internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(address)));
        }
        if (one.address.empty()) one.address.swap(one.name);
        if (!one.address.empty()) found.push_back(std::move(one));
    }
}

// A text field in UTF-8; its bare 8-bit text is UTF-8 or of the code page.
std::string DecodedHeader(const std::string& value, unsigned codePage) {
    return DecodeWords(DecodedText(value, "", codePage), codePage);
}

// The mailboxes of address fields; names and addresses in UTF-8. A group without members is one
// whose address is its name, and so is a text without an address.
std::vector<Recipient> DecodedAddresses(const std::string& value, unsigned codePage) {
    std::string text = DecodedText(value, "", codePage);
    if (std::ranges::count(text, ':') > kMostGroups) std::ranges::replace(text, ':', ' ');
    std::vector<Recipient> found;
    const HiddenWords hidden(text);
    auto* const list = internet_address_list_parse(nullptr, hidden.Text().c_str());
    AddMailboxes(list, found);
    if (list != nullptr) g_object_unref(list);
    for (Recipient& one : found) {
        one.name = DecodeWords(hidden.Shown(one.name), codePage);
        one.address = DecodeWords(hidden.Shown(one.address), codePage);
    }
    if (found.empty() && text.find_first_not_of(" ,;:<>\"") != std::string::npos) {
        found.push_back({"", DecodedHeader(text, codePage)});
    }
    return found;
}

// OLE automation date in local time.
std::optional<double> DecodedDate(const std::string& value, platform::Clock& clock) {
    GDateTime* const date = g_mime_utils_header_decode_date(value.c_str());
    if (date == nullptr) return std::nullopt;
    const std::chrono::seconds instant(g_date_time_to_unix(date));
    g_date_time_unref(date);
    // A clock counts finer than seconds, and so not as far.
    constexpr std::chrono::seconds kFarthest = std::chrono::days(365 * 280);
    const std::chrono::sys_seconds near(std::clamp(instant, -kFarthest, kFarthest));
    return text::ToOleDate(std::chrono::local_seconds(instant + clock.UtcOffset(near)));
}

constexpr std::size_t kLongestToCompose = 4096;

// Eudora makes a file of ours out of the first, and a mail of its own out of the second.
constexpr std::string_view kLineMarks[] = {"Attachment Converted:", "From ???@???"};
constexpr std::string_view kTextMarks[] = {"<x-html>",  "</x-html>",  "<x-rich>",
                                           "</x-rich>", "<x-flowed>", "</x-flowed>"};

// Decomposed characters composed, where that is cheap.
std::string Composed(const std::string& text) {
    if (text.size() > kLongestToCompose || !text::IsUtf8(text)) return text;
    char* const composed = g_utf8_normalize(text.c_str(), static_cast<gssize>(text.size()),
                                            G_NORMALIZE_DEFAULT_COMPOSE);
    std::string result = composed != nullptr ? composed : text;
    g_free(composed);
    return result;
}

bool BeginsWithAny(std::string_view text, std::span<const std::string_view> marks) {
    return std::ranges::any_of(
        marks, [text](std::string_view mark) { return text::StartsWithNoCase(text, mark); });
}

// With a blank in front of each line that begins like one of Eudora's, and in a plain text behind
// the "<" of what reads like a mark of Eudora's.
std::string Spoilt(std::string_view text, bool isPlain) {
    std::string spoilt;
    spoilt.reserve(text.size());
    for (bool beginsLine = true; !text.empty();) {
        if (beginsLine && BeginsWithAny(text, kLineMarks)) spoilt += ' ';
        const auto length = std::min(text.find_first_of("\n<"), text.size() - 1) + 1;
        spoilt += text.substr(0, length);
        beginsLine = text[length - 1] == '\n';
        if (isPlain && BeginsWithAny(text.substr(length - 1), kTextMarks)) spoilt += ' ';
        text.remove_prefix(length);
    }
    return spoilt;
}

// Windows drops them at an end, and at the front they hide a file.
constexpr std::string_view kAtNoEnd = " .";
constexpr std::size_t kLongestName = 100, kLongestExtension = 20;  // bytes of the code page
constexpr std::size_t kLongestInUtf8 = 200;  // Linux takes 255, and copies get numbers

bool IsTooLong(const std::string& name, unsigned codePage) {
    return name.size() > kLongestName || platform::ToUtf8(name, codePage).size() > kLongestInUtf8;
}

std::string Shortened(const std::string& name, unsigned codePage) {
    if (!IsTooLong(name, codePage)) return name;
    auto parts = text::SplitPath(name, codePage);
    if (parts.extension.size() > kLongestExtension) {
        parts.name += parts.extension;
        parts.extension.clear();
    }
    auto room = kLongestName - parts.extension.size();
    do {
        parts.name.resize(text::WholeCharacterPrefix(parts.name, room--, codePage));
    } while (IsTooLong(parts.name + parts.extension, codePage));
    return std::string(text::Trimmed(parts.name + parts.extension, kAtNoEnd));
}

// Cuts a text behind the last whole line of at most `limit` bytes, or the last whole character.
std::string_view CutText(std::string_view text, std::size_t limit, unsigned codePage) {
    if (text.size() <= limit) return text;
    const auto lineEnd = text.rfind("\r\n", limit);
    if (lineEnd != text.npos && lineEnd > limit / 2) return text.substr(0, lineEnd);
    return text.substr(0, text::WholeCharacterPrefix(text, limit, codePage));
}

// A name (UTF-8) made into one that a file can have on Windows in that code page: no folder, no
// character that file names or the code page lack, no device, not too long; its extension is kept.
// `fallback` stands for a name of which nothing is left.
std::string PlainAttachmentName(const std::string& name, const std::string& fallback,
                                unsigned codePage) {
    std::string plain = Composed(name);
    plain.erase(0, plain.find_last_of("/\\") + 1);
    // Letters are checked in UTF-8, where no second byte looks like one. Characters that the code
    // page lacks become "?" and then "_".
    for (char& letter : plain) {
        if (text::IsForbiddenInNames(letter) || letter == 0x7F) letter = '_';
    }
    plain = platform::FromUtf8(text::Trimmed(plain, kAtNoEnd), codePage);
    std::ranges::replace(plain, '?', '_');
    plain = Shortened(plain, codePage);
    if (plain.find_first_not_of("_ .") == std::string::npos) plain = fallback;
    return text::IsDevice(plain) ? '_' + plain : plain;
}

// A message without what a mailbox file puts above it, and with line ends that can be told.
struct Message : private platform::NotCopied {
    explicit Message(std::string_view given) : bytes(given) {
        if (given.find('\n') == given.npos) {
            copy = given;
            std::ranges::replace(copy, '\r', '\n');
            bytes = copy;
        }
        if (bytes.starts_with("From ") || bytes.starts_with(">From ")) text::TakeLine(bytes);
    }

    std::string copy;        // of one with other line ends
    std::string_view bytes;  // of the message
};

std::string MessageIdOf(const Message& message) {
    std::string own = maildir::MessageIdInHeader(message.bytes);
    if (CanKeepMessageId(own)) return own;
    return Fingerprint(message.bytes) + ".maildir@localhost";
}

class MailMaker {
  public:
    MailMaker(const Message& message, const ParseTarget& place)
        : m_message(message), m_entity(SplitEntity(message.bytes)), m_place(place) {}

    base::Result<NewMail> Run() {
        ReadHeader();
        if (auto made = MakeContent(); !made) {
            for (const auto& file : m_mail.attachments) (void)m_place.files.Delete(file.path);
            return made.Error();
        }
        return std::move(m_mail);
    }

  private:
    // A text of UTF-8 in the code page, "?" for each character that it lacks.
    std::string Convert(const std::string& text) {
        bool isLossy = false;
        std::string converted = platform::FromUtf8(text, m_place.codePage, &isLossy);
        if (!isLossy) return converted;
        const std::string composed = Composed(text);
        if (composed != text) converted = platform::FromUtf8(composed, m_place.codePage);
        const auto asked = std::ranges::count(converted, '?'),
                   before = std::ranges::count(text, '?');
        m_mail.lostCharacters +=
            static_cast<std::size_t>(std::max<std::ptrdiff_t>(asked - before, 0));
        return converted;
    }

    // Converts a header's text: one line without control characters or blanks at its ends.
    std::string Line(const std::string& text) { return text::WithoutControls(Convert(text)); }

    // The same of a stretch of a body: CR LF line ends, Eudora's marks around it if it has a kind
    // of its own. What else looks like one of Eudora's marks gets a blank that spoils it.
    std::string Body(const TextPiece& piece) {
        using enum TextPiece::Kind;
        std::string lines = text::WithCrLf(Convert(piece.text));
        std::ranges::replace(lines, '\0', ' ');
        if (piece.kind == kHtml) return "<x-html>" + Spoilt(lines, false) + "</x-html>";
        if (piece.kind == kEnriched) return "<x-rich>" + Spoilt(lines, false) + "</x-rich>";
        return Spoilt(lines, true);
    }

    std::string Field(const char* name) const { return FieldValue(m_entity, name); }

    void ReadHeader() {
        m_mail.messageId = MessageIdOf(m_message);
        const std::string from = Field("From");
        m_mail.from = Sender(from.empty() ? Field("Sender") : from);
        m_mail.to = Recipients("To");
        m_mail.cc = Recipients("Cc");
        m_mail.bcc = Recipients("Bcc");
        m_mail.subject = Cut(Line(DecodedHeader(Field("Subject"), m_place.codePage)),
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
            one = {Line(one.name), Line(one.address)};
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
        for (Recipient& one : Clean(FieldValues(m_entity, name))) {
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

    base::Status MakeContent() {
        ReadParts parts = ReadMailParts(m_entity, m_place.codePage);
        if (parts.isTooComplex) {
            m_mail.notes.push_back(
                "the mail has too many parts: as a whole it is the attachment message.eml");
            parts.files = {{"message.eml", "message/rfc822", "", m_message.bytes}};
        }
        for (const TextPiece& piece : parts.texts) m_mail.body += Body(piece);
        if (m_mail.body.ends_with("\r\n")) m_mail.body.resize(m_mail.body.size() - 2);
        for (const FilePart& part : parts.files) {
            if (auto added = AddFile(part); !added) return added;
        }
        return m_mail.body.size() > kLongestText ? CutBody() : base::Status();
    }

    base::Status CutBody() {
        const std::string whole = std::exchange(m_mail.body, {});
        m_mail.body = CutText(whole, kLongestText, m_place.codePage);
        m_mail.notes.push_back("the text was cut: the whole of it is the attachment text.txt");
        return AddFile({"text.txt", "text/plain", "", whole});
    }

    base::Status AddFile(const FilePart& part) {
        if (m_place.folder.empty()) {
            m_mail.attachments.push_back({NameOf(part), {}});
            return {};
        }
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

    std::string NameOf(const FilePart& part) const {
        const bool isMail = part.contentType == "message/rfc822";
        std::string extension(isMail ? "eml" : ExtensionOf(part.contentType));
        if (extension.empty()) extension = "dat";
        std::string name = part.name;
        if (isMail && name.empty()) {
            name = DecodedHeader(FieldValue(SplitEntity(part.body), "Subject"), m_place.codePage);
            for (char& letter : name) {
                if (letter == '/' || letter == '\\') letter = '_';
            }
            if (!name.empty()) name += ".eml";
        }
        const auto number = std::to_string(m_mail.attachments.size() + 1);
        return PlainAttachmentName(name, "attachment" + number + '.' + extension, m_place.codePage);
    }

    const Message& m_message;
    const Entity m_entity;
    const ParseTarget& m_place;
    NewMail m_mail;
};

}  // namespace

std::string MessageIdForEudora(std::string_view bytes) {
    return MessageIdOf(Message(bytes));
}

base::Status CanParseMail() {
    return {};
}

base::Result<NewMail> ParseMail(std::string_view bytes, const ParseTarget& place,
                                const std::string& name) {
    if (bytes.size() > kLargestMessage) {
        return base::Refused(name + " has more than 256 MB and is left where it is");
    }
    g_mime_init();
    const Message message(bytes);
    return MailMaker(message, place).Run();
}

}  // namespace host::mail
