#include "host/mail/mime_value.h"

#include <algorithm>
#include <cerrno>
#include <memory>

#include <gmime/gmime.h>

#include "host/mail/mail_date.h"
#include "platform/os/code_page.h"

namespace host {

namespace {

constexpr std::ptrdiff_t kMostGroups = 100;  // the address parser calls itself for each
constexpr std::size_t kLongestToCompose = 4096;
constexpr std::size_t kLongestCharset = 40;
constexpr std::size_t kPiece = 64 * 1024;
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

template <class T>
using Owned = std::unique_ptr<T, decltype(&g_object_unref)>;

template <class T>
Owned<T> Own(T* object) {
    return {object, g_object_unref};
}

std::string OrEmpty(const char* text) {
    return text != nullptr ? text : "";
}

std::string Taken(char* text) {
    std::string copy = OrEmpty(text);
    g_free(text);
    return copy;
}

bool IsAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char letter) { return (letter & 0x80) == 0; });
}

bool IsUtf8(std::string_view text) {
    // Zero bytes are fine in a text, but not to the function.
    while (!text.empty()) {
        const auto piece = text.substr(0, text.find('\0'));
        if (g_utf8_validate(piece.data(), static_cast<gssize>(piece.size()), nullptr) == FALSE) {
            return false;
        }
        text.remove_prefix(std::min(piece.size() + 1, text.size()));
    }
    return true;
}

// Bare 8-bit text of a header as UTF-8.
std::string Utf8Of(const std::string& text, unsigned codePage) {
    return IsUtf8(text) ? text : platform::ToUtf8(text, codePage);
}

std::string Lowered(const std::string& text) {
    return Taken(g_ascii_strdown(text.c_str(), static_cast<gssize>(text.size())));
}

// What mail programs mean by a name, where it is not the plain one.
std::string CharsetMeant(const std::string& charset) {
    static constexpr struct {
        const char* name;
        const char* meant;
    } kMeant[] = {{"iso-8859-1", "windows-1252"},
                  {"latin1", "windows-1252"},
                  {"cp1252", "windows-1252"},
                  {"us-ascii", ""},
                  {"ascii", ""},
                  {"unknown-8bit", ""},
                  {"shift_jis", "cp932"},
                  {"shift-jis", "cp932"},
                  {"x-sjis", "cp932"},
                  {"gb2312", "gb18030"},
                  {"gbk", "gb18030"},
                  {"ks_c_5601-1987", "cp949"},
                  {"euc-kr", "cp949"},
                  {"iso-8859-8-i", "iso-8859-8"}};
    const std::string lower = Lowered(charset);
    for (const auto& row : kMeant) {
        if (lower == row.name) return row.meant;
    }
    const bool isName =
        lower.size() <= kLongestCharset && std::ranges::all_of(lower, [](char c) {
            return g_ascii_isalnum(c) || c == '-' || c == '_' || c == ':' || c == '.';
        });
    return isName ? lower : std::string();
}

// An open conversion to UTF-8; (iconv_t)-1 if there is none.
class Conversion {
  public:
    explicit Conversion(const std::string& charset)
        : m_handle(g_mime_iconv_open("UTF-8", charset.c_str())) {}
    ~Conversion() {
        if (IsOpen()) g_mime_iconv_close(m_handle);
    }
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;

    bool IsOpen() const { return m_handle != reinterpret_cast<iconv_t>(-1); }

    std::string Run(std::string_view bytes) {
        std::string text;
        char* in = const_cast<char*>(bytes.data());
        std::size_t left = bytes.size();
        while (left > 0) {
            const std::size_t before = left;
            const int error = Step(&in, &left, text);
            if (error == 0 || (error == E2BIG && left < before)) continue;
            text += kReplacement;
            if (error == EINVAL) break;
            ++in;
            --left;
        }
        Step(nullptr, nullptr, text);
        return text;
    }

  private:
    int Step(char** in, std::size_t* left, std::string& text) {
        char buffer[4096];
        char* out = buffer;
        std::size_t room = sizeof buffer;
        errno = 0;
        const bool isDone =
            g_mime_iconv(m_handle, in, left, &out, &room) != static_cast<std::size_t>(-1);
        const int error = isDone ? 0 : errno;
        text.append(buffer, sizeof buffer - room);
        return error;
    }

    iconv_t m_handle;
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

std::string ParameterOf(GMimeParamList* list, const char* name) {
    GMimeParam* const parameter =
        list != nullptr ? g_mime_param_list_get_parameter(list, name) : nullptr;
    return parameter != nullptr ? OrEmpty(g_mime_param_get_value(parameter)) : std::string();
}

void ReadType(PartType& part, const std::string& value) {
    const auto type = Own(g_mime_content_type_parse(nullptr, value.c_str()));
    part.type = Lowered(OrEmpty(g_mime_content_type_get_media_type(type.get())));
    part.subtype = Lowered(OrEmpty(g_mime_content_type_get_media_subtype(type.get())));
    GMimeParamList* const parameters = g_mime_content_type_get_parameters(type.get());
    part.charset = ParameterOf(parameters, "charset");
    part.boundary = ParameterOf(parameters, "boundary");
    part.fileName = ParameterOf(parameters, "name");
    part.ownPiece = ParameterOf(parameters, "x-eudora");
}

void ReadDisposition(PartType& part, const std::string& value) {
    if (value.empty()) return;
    const auto disposition = Own(g_mime_content_disposition_parse(nullptr, value.c_str()));
    if (disposition == nullptr) return;
    part.isAttachment = EqualsNoCase(
        OrEmpty(g_mime_content_disposition_get_disposition(disposition.get())), "attachment");
    const std::string name =
        ParameterOf(g_mime_content_disposition_get_parameters(disposition.get()), "filename");
    if (!name.empty()) part.fileName = name;
}

}  // namespace

PartType TypeOf(const Entity& entity, bool isInDigest, unsigned codePage) {
    PartType part;
    const std::string value = Utf8Of(FieldValue(entity, "Content-Type"), codePage);
    if (!value.empty()) ReadType(part, value);
    if (part.type.empty() || part.subtype.empty()) {
        part.type = isInDigest ? "message" : "text";
        part.subtype = isInDigest ? "rfc822" : "plain";
    }
    ReadDisposition(part, Utf8Of(FieldValue(entity, "Content-Disposition"), codePage));
    part.encoding = FieldValue(entity, "Content-Transfer-Encoding");
    return part;
}

std::string DecodedHeader(const std::string& value, unsigned codePage) {
    const std::string text = Utf8Of(value, codePage);
    if (text.find("=?") == std::string::npos) return text;
    return Taken(g_mime_utils_header_decode_text(nullptr, text.c_str()));
}

std::vector<Recipient> DecodedAddresses(const std::string& value, unsigned codePage) {
    std::string text = Utf8Of(value, codePage);
    if (std::ranges::count(text, ':') > kMostGroups) std::ranges::replace(text, ':', ' ');
    std::vector<Recipient> found;
    const Owned<InternetAddressList> list(internet_address_list_parse(nullptr, text.c_str()),
                                          [](gpointer object) {
                                              if (object != nullptr) g_object_unref(object);
                                          });
    AddMailboxes(list.get(), found);
    if (found.empty() && text.find_first_not_of(" ,;:<>\"") != std::string::npos) {
        found.push_back({"", DecodedHeader(text, codePage)});
    }
    return found;
}

std::optional<double> DecodedDate(const std::string& value, platform::Clock& clock) {
    GDateTime* const date = g_mime_utils_header_decode_date(value.c_str());
    if (date == nullptr) return std::nullopt;
    const std::chrono::sys_seconds instant{std::chrono::seconds(g_date_time_to_unix(date))};
    g_date_time_unref(date);
    const auto offset = clock.UtcOffset(instant);
    return ToOleDate(LocalSeconds(instant.time_since_epoch() + offset));
}

std::string DecodedText(std::string_view bytes, const std::string& charset, unsigned codePage) {
    const std::string meant = CharsetMeant(charset);
    if (meant == "windows-1252") return platform::ToUtf8(bytes, 1252);
    if (!meant.empty() && meant != "utf-8" && meant != "utf8") {
        Conversion conversion(meant);
        if (conversion.IsOpen()) return conversion.Run(bytes);
    }
    if (IsUtf8(bytes)) return std::string(bytes);
    const bool isToldUtf8 = meant == "utf-8" || meant == "utf8";
    return platform::ToUtf8(bytes, isToldUtf8 ? 65001 : codePage);
}

std::string Composed(const std::string& text) {
    if (text.size() > kLongestToCompose || IsAscii(text) || !IsUtf8(text)) return text;
    return Taken(g_utf8_normalize(text.c_str(), static_cast<gssize>(text.size()),
                                  G_NORMALIZE_DEFAULT_COMPOSE));
}

struct TransferDecoder::State {
    GMimeEncoding encoding;
    std::string buffer;
};

TransferDecoder::TransferDecoder(const std::string& encoding) : m_state(std::make_unique<State>()) {
    g_mime_encoding_init_decode(&m_state->encoding,
                                g_mime_content_encoding_from_string(encoding.c_str()));
}

TransferDecoder::~TransferDecoder() = default;

std::string_view TransferDecoder::Decode(std::string_view piece) {
    const std::size_t room = g_mime_encoding_outlen(&m_state->encoding, piece.size());
    if (m_state->buffer.size() < room) m_state->buffer.resize(room);
    const std::size_t length = g_mime_encoding_step(&m_state->encoding, piece.data(), piece.size(),
                                                    m_state->buffer.data());
    return std::string_view(m_state->buffer).substr(0, length);
}

std::string DecodedBody(std::string_view body, const std::string& encoding) {
    std::string text;
    TransferDecoder decoder(encoding);
    for (; !body.empty(); body.remove_prefix(std::min(kPiece, body.size()))) {
        text += decoder.Decode(body.substr(0, kPiece));
    }
    return text;
}

}  // namespace host
