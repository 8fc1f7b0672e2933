#include "eumapi/mail_reader.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <vector>

#include "eumapi/attachments.h"
#include "platform/os/code_page.h"
#include "text/ascii.h"
#include "text/calendar.h"
#include "text/double_byte.h"
#include "text/encoded_words.h"
#include "text/mail_view.h"

namespace eumapi {

namespace {

bool IsBlank(char letter) {
    return static_cast<unsigned char>(letter) <= ' ';
}

// Without blanks at both ends, and with single ones inside.
std::string Squeezed(std::string_view text) {
    std::string out;
    for (const char letter : text) {
        if (!IsBlank(letter)) out += letter;
        if (IsBlank(letter) && !out.empty() && out.back() != ' ') out += ' ';
    }
    if (out.ends_with(' ')) out.pop_back();
    return out;
}

// The addresses of an unfolded To, Cc, Bcc or From field in that code page, in order. Takes them as
// people and programs write them: names in quotes or not, comments, groups (whose members count),
// empty places, semicolons for commas, quotes and brackets that nobody closes. An address is any
// text that is not empty.
class AddressScan {
  public:
    struct Address {
        std::string name;     // without quotes; empty if there is none
        std::string address;  // without angle brackets
    };

    AddressScan(std::string_view list, unsigned codePage) : m_list(list), m_codePage(codePage) {}

    std::vector<Address> Run() {
        while (m_at < m_list.size()) {
            const auto character = CharacterAt(m_at);
            if (character.size() > 1 || !TakeMark(character[0])) AddToPhrase(character);
            m_at += character.size();
        }
        Finish();
        return std::move(m_found);
    }

  private:
    struct Parts {
        std::string phrase, comment, address;
        bool hasAt = false;  // the phrase
    };

    // The character at a position; the second byte of one may look like a mark.
    std::string_view CharacterAt(std::size_t at) const {
        auto rest = m_list.substr(at);
        return text::TakeCharacter(rest, m_codePage);
    }

    void AddToPhrase(std::string_view text) {
        m_parts.phrase += text;
        m_parts.hasAt = m_parts.hasAt || text.find('@') != text.npos;
    }

    // Takes what begins with a mark; the position is then at its end. False if it is text.
    bool TakeMark(char letter) {
        switch (letter) {
            case ',':
            case ';':
                Finish();
                return true;
            case ':':
                // It ends the name of a group; the colon of a route or a literal is in brackets.
                if (!m_parts.hasAt) m_parts = {};
                return m_parts.phrase.empty();
            case '"':
                if (const auto quoted = Enclosed('"', '"', m_quoteOpen)) {
                    AddToPhrase(*quoted);
                    return true;
                }
                return false;
            case '(':
                if (const auto comment = Enclosed('(', ')', m_commentOpen)) {
                    m_parts.comment += *comment;
                    return true;
                }
                return false;
            default:
                return letter == '<' && Bracketed();
        }
    }

    // The text between a pair of marks, without escaping backslashes. Nothing without a closing
    // mark, and `isNeverClosed` then saves all later searches for it.
    std::optional<std::string> Enclosed(char open, char close, bool& isNeverClosed) {
        std::string text;
        int depth = 1;
        for (auto i = m_at + 1; i < m_list.size() && !isNeverClosed; ++i) {
            auto character = CharacterAt(i);
            const bool isEscaped = character == "\\" && i + 1 < m_list.size();
            if (isEscaped) character = m_list.substr(++i, 1);
            const char mark = isEscaped || character.size() > 1 ? '\0' : character[0];
            if (mark == close && --depth == 0) {
                m_at = i;
                return text;
            }
            if (mark == open) ++depth;
            text += character;
            i += character.size() - 1;
        }
        isNeverClosed = true;
        return std::nullopt;
    }

    bool Bracketed() {
        const auto end = m_bracketOpen ? m_list.npos : m_list.find('>', m_at);
        m_bracketOpen = end == m_list.npos;
        if (m_bracketOpen) return false;
        std::string_view inside = m_list.substr(m_at + 1, end - m_at - 1);
        // A route of relays before the address.
        if (inside.starts_with('@')) inside.remove_prefix(inside.rfind(':') + 1);
        m_parts.address = Squeezed(inside);
        m_at = end;
        return true;
    }

    void Finish() {
        Address one{Squeezed(m_parts.phrase), m_parts.address};
        if (one.address.empty()) one.address.swap(one.name);
        if (one.name.empty()) one.name = Squeezed(m_parts.comment);
        if (!one.address.empty()) m_found.push_back(std::move(one));
        m_parts = {};
    }

    std::string_view m_list;
    unsigned m_codePage;
    std::size_t m_at = 0;
    Parts m_parts;  // of the address in hand
    // Whether nothing closes such a mark from here on.
    bool m_quoteOpen = false, m_commentOpen = false, m_bracketOpen = false;
    std::vector<Address> m_found;
};

using TimePoint = std::chrono::system_clock::time_point;

bool IsWhole(std::string_view utf8) {
    constexpr std::string_view kNoCharacter = "\xEF\xBF\xBD";
    constexpr char kEscape = '\x1B';  // that switched no set
    return utf8.find(kNoCharacter) == utf8.npos && utf8.find(kEscape) == utf8.npos;
}

// Callers take the address out of the brackets, so the name must have none.
std::string DisplayName(std::string name, const std::string& address) {
    std::erase_if(name, [](char letter) { return letter == '<' || letter == '>'; });
    return name.empty() ? address : name + " <" + address + ">";
}

// Without a zone the text is local time.
std::optional<TimePoint> ReadDate(std::string_view text, platform::Clock& clock) {
    const auto date = text::ReadMailDate(text);
    if (!date) return std::nullopt;
    const auto offset = date->zone.value_or(clock.UtcOffset(date->time));
    return TimePoint(date->time.time_since_epoch() - offset);
}

std::optional<TimePoint> SeparatorDate(std::string_view line, platform::Clock& clock) {
    constexpr std::string_view kMark = "???@???";
    const auto at = line.find(kMark);
    if (at == line.npos) return std::nullopt;
    return ReadDate(line.substr(at + kMark.size()), clock);
}

// Header text with its encoded words ("=?charset?B?...?=") turned into text of the code page. A run
// of them that is damaged, has an unknown character set or a character that the code page lacks
// stays as it stands. Bytes below a blank become blanks.
std::string DecodeHeader(std::string_view text, unsigned codePage) {
    const auto convert = [=](std::string_view bytes,
                             std::string_view charset) -> std::optional<std::string> {
        const auto utf8 = platform::CharsetToUtf8(bytes, charset);
        if (!utf8 || !IsWhole(*utf8)) return std::nullopt;
        bool isLossy = false;
        auto converted = platform::FromUtf8(*utf8, codePage, &isLossy);
        if (isLossy) return std::nullopt;
        return converted;
    };
    std::string out = text::DecodeWords(text, text::Damage::kRefused, convert);
    std::ranges::replace_if(
        out, [](char letter) { return static_cast<unsigned char>(letter) < ' '; }, ' ');
    return out;
}

std::vector<Recipient> Recipients(const text::MailView& text, const char* field,
                                  std::uint32_t recipientClass, unsigned codePage) {
    std::vector<Recipient> recipients;
    for (const auto& one : AddressScan(text.AllFields(field), codePage).Run()) {
        recipients.push_back({recipientClass, DecodeHeader(one.name, codePage),
                              DecodeHeader(one.address, codePage)});
    }
    return recipients;
}

// Gives the record what the header of a mail says: subject, sender, recipients, date. Where it says
// nothing, what the list of mails in Eudora shows stands in, and for the date the separator line.
void TakeHeader(const text::MailView& text, const platform::System& system, const InBox& inBox,
                const IndexedMail& mail, MessageRecord& record) {
    const unsigned codePage = system.codePage;
    for (const auto& [field, recipientClass] :
         {std::pair{"To", mapi::kTo}, {"Cc", mapi::kCc}, {"Bcc", mapi::kBcc}}) {
        for (auto& one : Recipients(text, field, recipientClass, codePage)) {
            if (one.name.empty()) one.name = one.address;
            one.address.insert(0, mapi::kTransport);
            record.recipients.push_back(std::move(one));
        }
    }
    auto senders = Recipients(text, "From", mapi::kOriginator, codePage);
    auto subject = text.Field("Subject");
    auto moment = ReadDate(text.Field("Date").value_or(""), system.clock);
    if (!subject || senders.empty() || !moment) {
        mailbox::MsgBlock block;
        if (const auto bytes = inBox.ReadBlock(mail)) block = mailbox::MsgBlock::Decode(*bytes);
        if (!subject) subject = block.szSubject;
        if (senders.empty() && !block.szFrom.empty()) {
            senders.push_back({mapi::kOriginator, "", DecodeHeader(block.szFrom, codePage)});
        }
        if (!moment && block.dwSeconds != 0) {
            moment = std::chrono::system_clock::from_time_t(block.dwSeconds);
        }
        if (!moment) moment = SeparatorDate(text.Separator(), system.clock);
    }
    record.subject = DecodeHeader(*subject, codePage);
    if (!senders.empty()) {
        const auto& [originator, name, address] = senders.front();
        record.originator = {originator, DisplayName(name, address),
                             std::string(mapi::kTransport) + address};
    }
    if (moment) {
        const auto local = text::CivilTime(*moment, system.clock.UtcOffset(*moment));
        record.date = text::Format("%Y/%m/%d %H:%M", local);
    }
}

// Reads on until the header's end is in the bytes.
platform::Result<std::string> ReadHeader(InBox& inBox, const IndexedMail& mail) {
    constexpr std::uint64_t kFirstGuess = 16384;  // most headers are shorter
    for (std::uint64_t most = kFirstGuess;; most *= 4) {
        auto bytes = inBox.ReadBytes(mail, most);
        if (!bytes || bytes->size() < most || text::MailView(*bytes).HasBody()) return bytes;
    }
}

Code TakeBody(const text::MailView& text, const platform::System& system,
              const std::string& eudoraFolder, mapi::Flags flags, MessageRecord& record) {
    std::string note = text::WithLineFeeds(text.Body());
    // The text comes first among the files, and is complete only after the attachments.
    const bool isFile = (flags & mapi::kBodyAsFile) != 0;
    Code code = isFile ? record.files.AddEmpty("Message.txt") : mapi::kSuccess;
    if (code == mapi::kSuccess && (flags & mapi::kSuppressAttach) == 0) {
        code = CopyAttachments(system, eudoraFolder, note, record.files);
    }
    if (code == mapi::kSuccess && isFile) {
        code = record.files.WriteTo(0, note);
        note.clear();
    }
    record.note = std::move(note);
    return code;
}

mapi::Flags FlagsOf(std::uint16_t state) {
    if (state == static_cast<std::uint16_t>(mailbox::MailState::kUnread)) return mapi::kUnread;
    return state == static_cast<std::uint16_t>(mailbox::MailState::kSent) ? mapi::kSent : 0;
}

}  // namespace

Code ReadMail(const platform::System& system, InBox& inBox, const IndexedMail& mail,
              mapi::Flags flags, MessageRecord& record) {
    const bool isEnvelope = (flags & mapi::kEnvelopeOnly) != 0;
    auto bytes = isEnvelope ? ReadHeader(inBox, mail) : inBox.ReadBytes(mail);
    if (!bytes) return CodeOf(bytes.Error());
    // A zero byte would hide what follows it from every reader of a C text.
    std::ranges::replace(*bytes, '\0', ' ');
    const text::MailView text(*bytes);
    record.flags = FlagsOf(mail.wStatus);
    TakeHeader(text, system, inBox, mail, record);
    return isEnvelope ? mapi::kSuccess : TakeBody(text, system, inBox.Folder(), flags, record);
}

}  // namespace eumapi
