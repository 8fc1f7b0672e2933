#include "host/mail/mail_reader.h"

#include <algorithm>
#include <utility>

#include "host/mail/encoded_words.h"
#include "host/mail/html_text.h"
#include "text/ascii.h"

namespace host::mail {

namespace {

constexpr int kDeepest = 30;
constexpr std::size_t kMostParts = 500;

// How much a text is worth among alternatives.
enum class Rank { kNone, kEnriched, kHtml, kPlain };

// How the text of a part is shown.
struct TextForm {
    std::string_view subtype;
    Rank rank;
    std::string_view ownPiece;  // what ComposeMail noted of one that goes back as it is
    TextPiece::Kind kind;       // of such a one
    std::string (*toPlain)(std::string_view);  // of another
};

constexpr TextForm kTextForms[] = {
    {"plain", Rank::kPlain, "", TextPiece::Kind::kPlain, nullptr},
    {"html", Rank::kHtml, "html", TextPiece::Kind::kHtml, TextOfHtml},
    {"enriched", Rank::kEnriched, "rich", TextPiece::Kind::kEnriched, TextOfEnriched},
};

// Null for what is a file. A multipart without parts is a plain text.
const TextForm* FormOf(const PartType& type) {
    if (type.isAttachment || !type.fileName.empty()) return nullptr;
    if (type.type == "multipart") return kTextForms;
    const auto* const form = std::ranges::find(kTextForms, type.subtype, &TextForm::subtype);
    return type.type == "text" && form != std::end(kTextForms) ? form : nullptr;
}

struct Part {
    std::vector<TextPiece> texts;
    std::vector<FilePart> files;
    Rank rank = Rank::kNone;
};

bool IsBlank(const std::string& text) {
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

bool IsMarked(const TextPiece& piece) {
    return piece.kind == TextPiece::Kind::kHtml || piece.kind == TextPiece::Kind::kEnriched;
}

// Texts of other parts begin lines of their own; those that were one text are one again.
void Append(Part& whole, Part part) {
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

    Part Read(const Entity& entity, bool isInDigest, int depth) {
        const PartType type = TypeOf(entity, isInDigest, m_codePage);
        if (++m_count > kMostParts || depth > kDeepest) {
            m_isTooComplex = true;
            return {};
        }
        if (type.ownPiece == "remark") return {};
        if (type.type == "multipart") {
            const auto parts = SplitParts(entity.body, type.boundary, kMostParts + 1);
            if (!parts.empty()) return ReadParts(type, parts, depth);
        }
        const std::string_view content = Content(type, entity.body);
        if (const auto* form = FormOf(type)) return Text(*form, type, content);
        return File(type, content);
    }

    bool IsTooComplex() const { return m_isTooComplex; }

  private:
    Part ReadParts(const PartType& type, const std::vector<std::string_view>& parts, int depth) {
        Part whole;
        const bool isDigest = type.subtype == "digest", isChoice = type.subtype == "alternative";
        for (const std::string_view bytes : parts) {
            Part part = Read(SplitEntity(bytes), isDigest, depth + 1);
            isChoice ? Choose(whole, std::move(part)) : Append(whole, std::move(part));
            if (m_isTooComplex) break;
        }
        return whole;
    }

    // The better text stays, and all files.
    static void Choose(Part& best, Part part) {
        if (part.rank > best.rank) {
            best.texts = std::move(part.texts);
            best.rank = part.rank;
        }
        std::ranges::move(part.files, std::back_inserter(best.files));
    }

    Part Text(const TextForm& form, const PartType& type, std::string_view body) const {
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
        Part part;
        part.rank = IsBlank(piece.text) ? Rank::kNone : form.rank;
        part.texts.push_back(std::move(piece));
        return part;
    }

    static Part File(const PartType& type, std::string_view body) {
        Part part;
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
    Part whole = reader.Read(message, false, 0);
    return {std::move(whole.texts), std::move(whole.files), reader.IsTooComplex()};
}

}  // namespace host::mail
