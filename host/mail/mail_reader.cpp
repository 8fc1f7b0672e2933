#include "host/mail/mail_reader.h"

#include <algorithm>
#include <memory>
#include <utility>

#include <gmime/gmime.h>

#include "host/mail/encoded_words.h"
#include "host/mail/html_text.h"
#include "text/ascii.h"
#include "text/mail_view.h"

namespace host::mail {

namespace {

constexpr auto kNone = std::string_view::npos;
constexpr std::size_t kLongestValue = 64 * 1024;
constexpr int kDeepest = 30;
constexpr std::size_t kMostParts = 500;
constexpr std::size_t kPiece = 64 * 1024;

// "Name:", with nothing in the name that no name has.
bool IsFieldLine(std::string_view line) {
    const auto colon = line.find(':');
    if (colon == kNone || colon == 0) return false;
    const auto name = text::Trimmed(line.substr(0, colon));
    return !name.empty() && std::ranges::all_of(name, [](char letter) {
        return static_cast<unsigned char>(letter) > ' ' && letter != 0x7F;
    });
}

std::string Unfolded(std::string_view value) {
    std::string text;
    for (const char letter : text::Trimmed(value).substr(0, kLongestValue)) {
        if (letter != '\r' && letter != '\n') text += letter == '\0' ? ' ' : letter;
    }
    return text;
}

// The values of the fields of that name with ", " between them, or that of the first one.
std::string Values(const Entity& entity, std::string_view name, bool isFirstEnough) {
    std::string values;
    for (std::string_view rest = entity.header; !rest.empty() && values.size() < kLongestValue;) {
        const std::string_view field = text::TakeField(rest);
        const auto colon = field.find(':');
        if (colon == kNone || !text::EqualNoCase(text::Trimmed(field.substr(0, colon)), name))
            continue;
        if (!values.empty()) values += ", ";
        values += Unfolded(field.substr(colon + 1));
        if (isFirstEnough) break;
    }
    return values.substr(0, kLongestValue);
}

// The parts of a multipart body, at most `most`. A missing last delimiter is taken as standing at
// the end; without any delimiter there are no parts.
std::vector<std::string_view> SplitParts(std::string_view body, const std::string& boundary,
                                         std::size_t most) {
    std::vector<std::string_view> parts;
    const std::string mark = "--" + boundary;
    std::size_t begin = kNone;  // of the part that is open
    for (std::string_view rest = body; !boundary.empty() && parts.size() < most;) {
        const std::size_t at = body.size() - rest.size();
        if (rest.empty() && begin != kNone) parts.push_back(body.substr(begin));
        if (rest.empty()) break;
        std::string_view line = text::TakeLine(rest);
        if (!line.starts_with(mark)) continue;
        line.remove_prefix(mark.size());
        const bool isLast = line.starts_with("--");
        if (!text::Trimmed(line.substr(isLast ? 2 : 0)).empty()) continue;
        // The line end in front is the delimiter's.
        if (begin != kNone) {
            auto part = body.substr(begin, at - begin);
            if (part.ends_with('\n')) part.remove_suffix(1);
            if (part.ends_with('\r')) part.remove_suffix(1);
            parts.push_back(part);
        }
        if (isLast) break;
        begin = body.size() - rest.size();
    }
    return parts;
}

// The MIME header of a part. Texts are UTF-8.
struct PartType {
    std::string type, subtype;  // lower case
    std::string charset, boundary;
    std::string fileName;  // of the disposition, else of the type; empty if there is none
    std::string ownPiece;  // what ComposeMail noted: "html", "rich" or "remark"
    std::string encoding;  // of the transfer
    bool isAttachment = false;
};

// A parameter of a parsed value, copied, as GMime's text goes with its object.
template <class Object>
std::string ParameterOf(Object* value, GMimeParamList* (*listOf)(Object*), const char* name) {
    GMimeParam* const parameter = g_mime_param_list_get_parameter(listOf(value), name);
    return parameter != nullptr ? OrEmpty(g_mime_param_get_value(parameter)) : std::string();
}

template <class T>
using Owned = std::unique_ptr<T, decltype(&g_object_unref)>;

void ReadType(PartType& part, const std::string& value) {
    const Owned<GMimeContentType> type(g_mime_content_type_parse(nullptr, value.c_str()),
                                       g_object_unref);
    const auto parameter = [&](const char* name) {
        return ParameterOf(type.get(), g_mime_content_type_get_parameters, name);
    };
    part.type = text::Lowered(OrEmpty(g_mime_content_type_get_media_type(type.get())));
    part.subtype = text::Lowered(OrEmpty(g_mime_content_type_get_media_subtype(type.get())));
    part.charset = parameter("charset");
    part.boundary = parameter("boundary");
    part.fileName = parameter("name");
    part.ownPiece = parameter("x-eudora");
}

void ReadDisposition(PartType& part, const std::string& value) {
    const Owned<GMimeContentDisposition> disposition(
        g_mime_content_disposition_parse(nullptr, value.c_str()), g_object_unref);
    part.isAttachment = text::EqualNoCase(
        OrEmpty(g_mime_content_disposition_get_disposition(disposition.get())), "attachment");
    std::string name =
        ParameterOf(disposition.get(), g_mime_content_disposition_get_parameters, "filename");
    if (!name.empty()) part.fileName = std::move(name);
}

// A header without a type says "text/plain", or message/rfc822 within a digest.
PartType TypeOf(const Entity& entity, bool isInDigest, unsigned codePage) {
    const auto field = [&](const char* name) {
        return DecodedText(FieldValue(entity, name), "", codePage);
    };
    PartType part;
    if (const auto value = field("Content-Type"); value.find('/') != value.npos) {
        ReadType(part, value);
    }
    if (part.type.empty() || part.subtype.empty()) {
        part.type = isInDigest ? "message" : "text";
        part.subtype = isInDigest ? "rfc822" : "plain";
    }
    if (const auto value = field("Content-Disposition"); !value.empty()) {
        ReadDisposition(part, value);
    }
    part.encoding = FieldValue(entity, "Content-Transfer-Encoding");
    return part;
}

enum class TextRank { kBlank, kEnriched, kHtml, kPlain };

// How the text of a part is shown.
struct TextForm {
    std::string_view subtype;
    TextRank rank;
    std::string_view ownPiece;  // what ComposeMail noted of one that goes back as it is
    TextPiece::Kind kind;       // of such a one
    std::string (*toPlain)(std::string_view);  // of another
};

constexpr TextForm kTextForms[] = {
    {"plain", TextRank::kPlain, "", TextPiece::Kind::kPlain, nullptr},
    {"html", TextRank::kHtml, "html", TextPiece::Kind::kHtml, TextOfHtml},
    {"enriched", TextRank::kEnriched, "rich", TextPiece::Kind::kEnriched, TextOfEnriched},
};

// Null for what is a file. A multipart without parts is a plain text.
const TextForm* FormOf(const PartType& type) {
    if (type.isAttachment || !type.fileName.empty()) return nullptr;
    if (type.type == "multipart") return kTextForms;
    const auto* const form = std::ranges::find(kTextForms, type.subtype, &TextForm::subtype);
    return type.type == "text" && form != std::end(kTextForms) ? form : nullptr;
}

bool IsMarked(const TextPiece& piece) {
    return piece.kind == TextPiece::Kind::kHtml || piece.kind == TextPiece::Kind::kEnriched;
}

// The text of a part, and how much it is worth among alternatives.
struct RankedText {
    std::vector<TextPiece> pieces;
    TextRank rank = TextRank::kBlank;
};

// Texts of other parts begin lines of their own; those that were one text are one again.
void Append(RankedText& whole, RankedText text) {
    if (!whole.pieces.empty() && !text.pieces.empty()) {
        std::string& above = whole.pieces.back().text;
        const bool wasOne = IsMarked(whole.pieces.back()) || IsMarked(text.pieces.front());
        if (!wasOne && !above.empty() && !above.ends_with('\n')) above += '\n';
    }
    std::ranges::move(text.pieces, std::back_inserter(whole.pieces));
    whole.rank = std::max(whole.rank, text.rank);
}

// The encoded bytes of a body: those of uuencode begin behind the line "begin".
std::string_view Content(const PartType& type, std::string_view body) {
    const auto encoding = g_mime_content_encoding_from_string(type.encoding.c_str());
    const auto begin = body.starts_with("begin ") ? 0 : body.find("\nbegin ");
    if (encoding != GMIME_CONTENT_ENCODING_UUENCODE || begin == kNone) return body;
    return body.substr(std::min(body.find('\n', begin + 1), body.size() - 1) + 1);
}

class PartReader {
  public:
    explicit PartReader(unsigned codePage) : m_codePage(codePage) {}

    ReadParts Run(const Entity& message) {
        m_found.texts = Read(message, false, 0).pieces;
        return std::move(m_found);
    }

  private:
    RankedText Read(const Entity& entity, bool isInDigest, int depth) {
        const PartType type = TypeOf(entity, isInDigest, m_codePage);
        if (++m_count > kMostParts || depth > kDeepest) {
            m_found.isTooComplex = true;
            return {};
        }
        if (type.ownPiece == "remark") return {};
        if (type.type == "multipart") {
            const auto parts = SplitParts(entity.body, type.boundary, kMostParts + 1);
            if (!parts.empty()) return ReadMultipart(type, parts, depth);
        }
        const std::string_view content = Content(type, entity.body);
        if (const auto* form = FormOf(type)) return ReadText(*form, type, content);
        m_found.files.push_back(
            {type.fileName, type.type + '/' + type.subtype, type.encoding, content});
        return {};
    }

    // Joins the texts of the parts; of alternatives it keeps the best one.
    RankedText ReadMultipart(const PartType& type, const std::vector<std::string_view>& parts,
                             int depth) {
        RankedText whole;
        const bool isDigest = type.subtype == "digest", isChoice = type.subtype == "alternative";
        for (const std::string_view bytes : parts) {
            RankedText text = Read(SplitEntity(bytes), isDigest, depth + 1);
            if (!isChoice)
                Append(whole, std::move(text));
            else if (text.rank > whole.rank)
                whole = std::move(text);
            if (m_found.isTooComplex) break;
        }
        return whole;
    }

    RankedText ReadText(const TextForm& form, const PartType& type, std::string_view body) const {
        std::string bytes;
        (void)DecodeBody(body, type.encoding, [&](std::string_view decoded) -> base::Status {
            bytes += decoded;
            return {};
        });
        TextPiece piece{TextPiece::Kind::kPlain, DecodedText(bytes, type.charset, m_codePage)};
        if (type.ownPiece == form.ownPiece) {
            piece.kind = form.kind;
        } else if (form.toPlain != nullptr) {
            piece.text = form.toPlain(piece.text);
        }
        const bool isBlank = text::Trimmed(piece.text).empty();
        return {{std::move(piece)}, isBlank ? TextRank::kBlank : form.rank};
    }

    unsigned m_codePage;
    std::size_t m_count = 0;
    ReadParts m_found;
};

}  // namespace

Entity SplitEntity(std::string_view bytes) {
    std::string_view body = bytes;
    const auto header = [&] { return bytes.substr(0, bytes.size() - body.size()); };
    while (!body.empty()) {
        std::string_view rest = body;
        const std::string_view line = text::TakeLine(rest);
        if (line == "\n" || line == "\r\n") return {header(), rest};
        const bool goesOn =
            body.size() < bytes.size() && (line.front() == ' ' || line.front() == '\t');
        if (!goesOn && !IsFieldLine(line)) break;
        body = rest;
    }
    return {header(), body};
}

std::string FieldValue(const Entity& entity, std::string_view name) {
    return Values(entity, name, true);
}

std::string FieldValues(const Entity& entity, std::string_view name) {
    return Values(entity, name, false);
}

ReadParts ReadMailParts(const Entity& message, unsigned codePage) {
    return PartReader(codePage).Run(message);
}

base::Status DecodeBody(std::string_view body, const std::string& encoding,
                        const std::function<base::Status(std::string_view)>& take) {
    GMimeEncoding decoder;
    g_mime_encoding_init_decode(&decoder, g_mime_content_encoding_from_string(encoding.c_str()));
    std::string decoded(g_mime_encoding_outlen(&decoder, kPiece), '\0');
    for (; !body.empty(); body.remove_prefix(std::min(kPiece, body.size()))) {
        const auto piece = body.substr(0, kPiece);
        const std::size_t length =
            g_mime_encoding_step(&decoder, piece.data(), piece.size(), decoded.data());
        if (auto taken = take({decoded.data(), length}); !taken) return taken;
    }
    return {};
}

}  // namespace host::mail
