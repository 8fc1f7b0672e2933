#include "host/mail/compose.h"

#include <algorithm>

#include "host/base/failure.h"
#include "host/mail/attachment_part.h"
#include "host/mail/header_block.h"
#include "host/mail/mail_text.h"
#include "host/mail/message_id.h"
#include "host/mail/transfer_encoding.h"
#include "text/ascii.h"
#include "text/calendar.h"

namespace host::mail {

namespace {

constexpr std::size_t kHeaderRoom = 2048;
// What ParseMail knows again by the parameter, to other programs it is a text like others.
constexpr std::string_view kRemarkType = "text/plain; charset=UTF-8; x-eudora=remark";

struct EncodedPiece {
    TextPiece piece;
    TransferEncoding encoding;
};

std::string HeaderOf(const Mail& mail, std::chrono::seconds offset) {
    HeaderBlock header;
    header.AddAddresses("From", mail.from);
    header.AddAddresses("To", mail.to);
    header.AddAddresses("Cc", mail.cc);
    header.AddAddresses("Bcc", mail.bcc);
    header.AddText("Subject", mail.subject);
    const auto date = mail.date ? text::FromOleDate(*mail.date) : std::nullopt;
    if (date) {
        header.AddToken("Date",
                        text::Format("%a, %-d %b %Y %H:%M:%S ", *date) + text::ZoneText(offset));
    }
    header.AddToken("Message-ID", '<' + MessageIdOf(mail) + '>');
    header.AddToken("MIME-Version", "1.0");
    return header.Str();
}

// In the order of TextPiece::Kind.
constexpr std::string_view kTypes[] = {
    "text/plain; charset=UTF-8", "text/plain; charset=UTF-8; format=flowed",
    "text/html; charset=UTF-8; x-eudora=html", "text/enriched; charset=UTF-8; x-eudora=rich"};

std::string_view TypeOf(TextPiece::Kind kind) {
    return kTypes[static_cast<std::size_t>(kind)];
}

void AppendText(std::string& out, const EncodedPiece& text, std::string_view type) {
    out += "Content-Type: ";
    out += type;
    out += "\nContent-Transfer-Encoding: ";
    out += NameOf(text.encoding);
    out += "\n\n";
    AppendEncoded(out, text.piece.text, text.encoding);
}

std::vector<EncodedPiece> Encode(std::vector<TextPiece> pieces) {
    std::vector<EncodedPiece> encoded;
    for (TextPiece& piece : pieces) {
        const TransferEncoding encoding = ChooseEncoding(piece.text);
        encoded.push_back({std::move(piece), encoding});
    }
    return encoded;
}

// Made of the header, so that the same mail has the same one. Encoded text never holds "=_".
std::string BoundaryFor(const std::string& header, const std::vector<EncodedPiece>& texts) {
    std::string seed = header;
    for (;;) {
        std::string boundary = "=_" + Fingerprint(seed);
        const bool isInText = std::ranges::any_of(texts, [&boundary](const EncodedPiece& text) {
            return text.piece.text.find(boundary) != std::string::npos;
        });
        if (!isInText) return boundary;
        seed += '=';
    }
}

// The parts of a multipart message, one after the other.
class PartWriter {
  public:
    PartWriter(std::string& out, std::string boundary)
        : m_out(out), m_boundary(std::move(boundary)) {
        m_out += "Content-Type: multipart/mixed; boundary=\"" + m_boundary + "\"\n";
    }

    void Begin() { m_out += "\n--" + m_boundary + '\n'; }
    void Finish() { m_out += "\n--" + m_boundary + "--\n"; }

  private:
    std::string& m_out;
    std::string m_boundary;
};

// A missing file becomes a remark: the mail comes without it, as in Eudora.
base::Status AppendAttachments(std::string& out, const MessageSink& sink, PartWriter& parts,
                               platform::Files& files, const Mail& mail, std::string& remarks) {
    for (const MailAttachment& attachment : mail.attachments) {
        auto file = files.Open(attachment.path, platform::OpenMode::kRead, platform::Share::kRead);
        if (!file && file.Error().code == platform::ErrorCode::kNotFound) {
            remarks += "[The attachment " + attachment.name + " is missing.]\n";
            continue;
        }
        if (!file) return file.Error();
        parts.Begin();
        auto appended = AppendAttachment(out, sink, attachment.name, **file);
        if (!appended) return appended;
    }
    return {};
}

base::Status AppendParts(std::string& out, const MessageSink& sink, platform::Files& files,
                         const Mail& mail, const std::vector<EncodedPiece>& texts) {
    PartWriter parts(out, BoundaryFor(out, texts));
    for (const EncodedPiece& text : texts) {
        parts.Begin();
        AppendText(out, text, TypeOf(text.piece.kind));
    }
    std::string remarks;
    auto status = AppendAttachments(out, sink, parts, files, mail, remarks);
    if (!status) return status;
    for (const std::string& note : mail.notes) remarks += "[Not all could be read: " + note + "]\n";
    if (!remarks.empty()) {
        parts.Begin();
        // Base64, so that no name can hold a boundary.
        AppendText(out, {{TextPiece::Kind::kPlain, remarks}, TransferEncoding::kBase64},
                   kRemarkType);
    }
    parts.Finish();
    return {};
}

// Local time's difference to UTC at the mail's date.
std::chrono::seconds OffsetAt(platform::Clock& clock, const Mail& mail) {
    const auto local = mail.date ? text::FromOleDate(*mail.date) : std::nullopt;
    return local ? clock.UtcOffset(*local) : clock.UtcOffset(clock.Now());
}

}  // namespace

base::Status ComposeMail(platform::Files& files, const Mail& mail, std::chrono::seconds offset,
                         const MessageSink& sink) {
    const std::string_view body = mail.body ? std::string_view(*mail.body) : std::string_view();
    const auto texts = Encode(SplitText(text::WithLineFeeds(body)));
    std::string message = HeaderOf(mail, offset);
    message.reserve(kHeaderRoom + body.size());
    if (texts.size() == 1 && mail.attachments.empty() && mail.notes.empty()) {
        AppendText(message, texts.front(), TypeOf(texts.front().piece.kind));
    } else if (auto status = AppendParts(message, sink, files, mail, texts); !status) {
        return status;
    }
    return sink(message);
}

base::Result<std::uint64_t> ComposeInto(maildir::Maildir& maildir, const std::string& unique,
                                        platform::Files& files, platform::Clock& clock,
                                        const Mail& mail, bool& isMailAtFault) {
    isMailAtFault = false;
    const auto offset = OffsetAt(clock, mail);
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
