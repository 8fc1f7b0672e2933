#include "host/mail/mail_reader.h"

#include <algorithm>
#include <memory>
#include <utility>

#include <gmime/gmime.h>

#include "host/mail/encoded_words.h"
#include "host/mail/html_text.h"
#include "text/ascii.h"

namespace host::mail {

namespace {

constexpr int kDeepest = 30;
constexpr std::size_t kMostParts = 500;
constexpr std::size_t kPiece = 64 * 1024;

// What the header of a part says of its body. Texts are UTF-8.
struct PartType {
    std::string type, subtype;  // lower case
    std::string charset, boundary;
    std::string fileName;  // of the disposition, else of the type; empty if there is none
    std::string ownPiece;  // what ComposeMail noted: "html", "rich" or "remark"
    std::string encoding;  // of the transfer
    bool isAttachment = false;
};

std::string OrEmpty(const char* text) {
    return text != nullptr ? text : "";
}

// Of a value that is parsed, which goes when its object does.
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

bool IsBlank(const std::string& text) {
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

bool IsMarked(const TextPiece& piece) {
    return piece.kind == TextPiece::Kind::kHtml || piece.kind == TextPiece::Kind::kEnriched;
}

// Texts of other parts begin lines of their own; those that were one text are one again.
void Append(ReadParts& whole, ReadParts part) {
    if (!whole.texts.empty() && !part.texts.empty()) {
        std::string& above = whole.texts.back().text;
        const bool wasOne = IsMarked(whole.texts.back()) || IsMarked(part.texts.front());
        if (!wasOne && !above.empty() && !above.ends_with('\n')) above += '\n';
    }
    std::ranges::move(part.texts, std::back_inserter(whole.texts));
    std::ranges::move(part.files, std::back_inserter(whole.files));
    whole.rank = std::max(whole.rank, part.rank);
}

// What is encoded: uuencoded bytes have a line of their own above them.
std::string_view Content(const PartType& type, std::string_view body) {
    const bool isUuencoded = text::EqualNoCase(type.encoding, "x-uuencode") ||
                             text::EqualNoCase(type.encoding, "uuencode") ||
                             text::EqualNoCase(type.encoding, "x-uue");
    const auto begin = body.starts_with("begin ") ? 0 : body.find("\nbegin ");
    if (!isUuencoded || begin == std::string_view::npos) return body;
    return body.substr(std::min(body.find('\n', begin + 1), body.size() - 1) + 1);
}

class PartReader {
  public:
    explicit PartReader(unsigned codePage) : m_codePage(codePage) {}

    ReadParts Read(const Entity& entity, bool isInDigest, int depth) {
        const PartType type = TypeOf(entity, isInDigest, m_codePage);
        if (++m_count > kMostParts || depth > kDeepest) {
            m_isTooComplex = true;
            return {};
        }
        if (type.ownPiece == "remark") return {};
        if (type.type == "multipart") {
            const auto parts = SplitParts(entity.body, type.boundary, kMostParts + 1);
            if (!parts.empty()) return ReadMultipart(type, parts, depth);
        }
        const std::string_view content = Content(type, entity.body);
        if (const auto* form = FormOf(type)) return Text(*form, type, content);
        return File(type, content);
    }

    bool IsTooComplex() const { return m_isTooComplex; }

  private:
    ReadParts ReadMultipart(const PartType& type, const std::vector<std::string_view>& parts,
                            int depth) {
        ReadParts whole;
        const bool isDigest = type.subtype == "digest", isChoice = type.subtype == "alternative";
        for (const std::string_view bytes : parts) {
            ReadParts part = Read(SplitEntity(bytes), isDigest, depth + 1);
            isChoice ? Choose(whole, std::move(part)) : Append(whole, std::move(part));
            if (m_isTooComplex) break;
        }
        return whole;
    }

    // The better text stays, and all files.
    static void Choose(ReadParts& best, ReadParts part) {
        if (part.rank > best.rank) {
            best.texts = std::move(part.texts);
            best.rank = part.rank;
        }
        std::ranges::move(part.files, std::back_inserter(best.files));
    }

    ReadParts Text(const TextForm& form, const PartType& type, std::string_view body) const {
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
        ReadParts part;
        part.rank = IsBlank(piece.text) ? TextRank::kNone : form.rank;
        part.texts.push_back(std::move(piece));
        return part;
    }

    static ReadParts File(const PartType& type, std::string_view body) {
        ReadParts part;
        part.files.push_back({type.fileName, type.type + '/' + type.subtype, type.encoding, body});
        return part;
    }

    unsigned m_codePage;
    std::size_t m_count = 0;
    bool m_isTooComplex = false;
};

}  // namespace

ReadParts ReadMailParts(const Entity& message, unsigned codePage) {
    PartReader reader(codePage);
    ReadParts whole = reader.Read(message, false, 0);
    whole.isTooComplex = reader.IsTooComplex();
    return whole;
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
