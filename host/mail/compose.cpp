#include "host/mail/compose.h"

#include <algorithm>
#include <memory>

#include "host/mail/content_type.h"
#include "host/mail/header_block.h"
#include "host/mail/mail_text.h"
#include "host/mail/message_header.h"
#include "host/mail/transfer_encoding.h"
#include "text/ascii.h"
#include "text/calendar.h"

namespace host::mail {

namespace {

constexpr std::size_t kHeaderRoom = 2048;
constexpr std::size_t kChunk = 1024 * kBase64LineBytes;
constexpr std::size_t kLineWidth = 78;
constexpr std::string_view kFileName = "filename";

// Whether RFC 2231 writes the letter without an escape.
bool IsPlainLetter(char letter) {
    constexpr std::string_view kMarks = "!#$&+-.^_`{|}~";
    return text::IsLetter(letter) || text::IsDigit(letter) || kMarks.find(letter) != kMarks.npos;
}

std::string Escaped(std::string_view name) {
    std::string escaped;
    for (const char& letter : name) {
        escaped += IsPlainLetter(letter) ? std::string(1, letter) : '%' + text::Hex({&letter, 1});
    }
    return escaped;
}

// The file name as a parameter of RFC 2231, in as many pieces as its lines need; no escape is cut.
std::string ExtendedParameter(std::string_view name) {
    const std::string label(kFileName), value = "UTF-8''" + Escaped(name);
    if (label.size() + value.size() <= kLineWidth - 2) return "; " + label + "*=" + value + '\n';
    constexpr std::size_t kRoom = kLineWidth - kFileName.size() - 6;
    std::string lines;
    int number = 0;
    for (std::string_view rest = value; !rest.empty();) {
        auto length = std::min(kRoom, rest.size());
        const auto escape = rest.substr(0, length).rfind('%');
        if (length < rest.size() && escape != rest.npos && escape + 2 >= length) length = escape;
        lines += ";\n\t" + label + '*' + std::to_string(number++) + "*=";
        lines += rest.substr(0, length);
        rest.remove_prefix(length);
    }
    return lines + '\n';
}

// The name as a parameter, in the form of RFC 2231 where it needs one.
std::string FileNameParameter(std::string_view name) {
    if (!text::IsAscii(name) || name.size() > kLineWidth) return ExtendedParameter(name);
    const auto plain = static_cast<std::size_t>(std::ranges::count_if(name, IsPlainLetter));
    const std::size_t odd = name.size() - plain;
    const bool fits = kFileName.size() + name.size() + odd <= kLineWidth - 2;
    std::string parameter = fits ? "; " : ";\n\t";
    parameter += kFileName;
    parameter += odd == 0 ? "=" + std::string(name) : '=' + Quoted(name);
    return parameter + '\n';
}

// A name without folders and without what no file name holds.
std::string PlainName(const std::string& name) {
    std::string plain = name.substr(name.find_last_of("/\\") + 1);
    std::ranges::replace_if(plain, text::IsControl, '_');
    return plain.empty() ? "attachment" : plain;
}

// In the order of TextPiece::Kind. ParseMail knows a piece of Eudora's again by the parameter, to
// other programs it is a text like others.
constexpr std::string_view kTypes[] = {
    "text/plain; charset=UTF-8", "text/plain; charset=UTF-8; format=flowed",
    "text/html; charset=UTF-8; x-eudora=html", "text/enriched; charset=UTF-8; x-eudora=rich"};
constexpr std::string_view kRemarkType = "text/plain; charset=UTF-8; x-eudora=remark";

std::optional<std::chrono::local_seconds> LocalDate(const Mail& mail) {
    return mail.date ? text::FromOleDate(*mail.date) : std::nullopt;
}

// A message that is made piece by piece.
class Composer {
  public:
    Composer(platform::Files& files, const Mail& mail, std::string header, const MessageSink& sink)
        : m_files(files), m_mail(mail), m_sink(sink), m_out(std::move(header)) {}

    base::Status Run() {
        const std::string_view body = m_mail.body ? std::string_view(*m_mail.body) : "";
        m_out.reserve(kHeaderRoom + body.size());
        const auto texts = SplitText(text::WithLineFeeds(body));
        if (texts.size() == 1 && m_mail.attachments.empty() && m_mail.notes.empty()) {
            AppendPiece(texts.front());
        } else if (auto status = AppendParts(texts); !status) {
            return status;
        }
        return m_sink(m_out);
    }

  private:
    void AppendTextPart(std::string_view text, std::string_view type, std::string_view encoding) {
        AppendField(m_out, "Content-Type", type);
        AppendField(m_out, "Content-Transfer-Encoding", encoding);
        m_out += '\n';
        AppendEncoded(m_out, text, encoding);
    }

    void AppendPiece(const TextPiece& piece) {
        AppendTextPart(piece.text, kTypes[static_cast<std::size_t>(piece.kind)],
                       ChooseEncoding(piece.text));
    }

    // Made of the header, so that the same mail has the same one. Encoded text never holds "=_".
    std::string BoundaryFor(const std::vector<TextPiece>& texts) const {
        std::string boundary;
        const auto holdsIt = [&](const TextPiece& piece) {
            return piece.text.find(boundary) != std::string::npos;
        };
        std::string seed = m_out;
        do {
            boundary = "=_" + Fingerprint(seed);
            seed += '=';
        } while (std::ranges::any_of(texts, holdsIt));
        return boundary;
    }

    base::Status AppendParts(const std::vector<TextPiece>& texts) {
        const std::string boundary = BoundaryFor(texts), delimiter = "\n--" + boundary;
        AppendField(m_out, "Content-Type", "multipart/mixed; boundary=\"" + boundary + '"');
        for (const TextPiece& piece : texts) {
            m_out += delimiter + '\n';
            AppendPiece(piece);
        }
        std::string remarks;
        for (const MailAttachment& attachment : m_mail.attachments) {
            auto file =
                m_files.Open(attachment.path, platform::OpenMode::kRead, platform::Share::kRead);
            // The mail comes without it, as in Eudora.
            if (!file && file.Error().code == platform::ErrorCode::kNotFound) {
                remarks += "[The attachment " + attachment.name + " is missing.]\n";
                continue;
            }
            if (!file) return file.Error();
            m_out += delimiter + '\n';
            if (auto appended = AppendFile(attachment.name, **file); !appended) return appended;
        }
        for (const std::string& note : m_mail.notes) {
            remarks += "[Not all could be read: " + note + "]\n";
        }
        if (!remarks.empty()) {
            m_out += delimiter + '\n';
            // Base64, so that no name can hold a boundary.
            AppendTextPart(remarks, kRemarkType, kBase64);
        }
        m_out += delimiter + "--\n";
        return {};
    }

    // Appends a file as base64; full pieces go into the sink at once.
    base::Status AppendFile(const std::string& name, platform::File& file) {
        const std::string plain = PlainName(name);
        AppendField(m_out, "Content-Type", ContentTypeOf(plain));
        m_out += "Content-Transfer-Encoding: base64\nContent-Disposition: attachment";
        m_out += FileNameParameter(plain) + '\n';
        const auto buffer = std::make_unique<char[]>(kChunk);
        std::size_t filled = 0;
        for (;;) {
            const auto got = file.Read({buffer.get() + filled, kChunk - filled});
            if (!got) return got.Error();
            filled += *got;
            if (*got > 0 && filled < kChunk) continue;
            AppendBase64Lines(m_out, {buffer.get(), filled});
            if (*got == 0) return {};
            if (auto taken = m_sink(m_out); !taken) return taken;
            m_out.clear();
            filled = 0;
        }
    }

    platform::Files& m_files;
    const Mail& m_mail;
    const MessageSink& m_sink;
    std::string m_out;
};

}  // namespace

base::Status ComposeMail(platform::Files& files, const Mail& mail, std::chrono::seconds offset,
                         const MessageSink& sink) {
    return Composer(files, mail, MessageHeader(mail, offset), sink).Run();
}

std::chrono::seconds OffsetOf(platform::Clock& clock, const Mail& mail) {
    const auto local = LocalDate(mail);
    return local ? clock.UtcOffset(*local) : clock.UtcOffset(clock.Now());
}

base::Result<std::uint64_t> ComposeInto(maildir::Maildir& maildir, const std::string& unique,
                                        platform::Files& files, platform::Clock& clock,
                                        const Mail& mail, bool& isMailAtFault) {
    isMailAtFault = false;
    const auto offset = OffsetOf(clock, mail);
    return maildir.Write(unique, [&](platform::File& file) {
        isMailAtFault = true;
        const auto write = [&](std::string_view piece) {
            auto written = file.Write(piece);
            isMailAtFault = written.HasValue();
            return written;
        };
        return base::OrOutOfMemory([&] { return ComposeMail(files, mail, offset, write); });
    });
}

}  // namespace host::mail
