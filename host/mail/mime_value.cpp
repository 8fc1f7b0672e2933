#include "host/mail/mime_value.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include <gmime/gmime.h>

#include "host/mail/encoded_words.h"
#include "platform/os/code_page.h"
#include "text/ascii.h"
#include "text/calendar.h"
#include "text/encoded_words.h"
#include "text/utf.h"

namespace host::mail {

namespace {

constexpr std::ptrdiff_t kMostGroups = 100;  // the address parser calls itself for each
constexpr std::size_t kPiece = 64 * 1024;

template <class T>
using Owned = std::unique_ptr<T, decltype(&g_object_unref)>;

template <class T>
Owned<T> Own(T* object) {
    return {object, g_object_unref};
}

std::string OrEmpty(const char* text) {
    return text != nullptr ? text : "";
}

// Bare 8-bit text of a header as UTF-8.
std::string Utf8Of(const std::string& text, unsigned codePage) {
    return text::IsUtf8(text) ? text : platform::ToUtf8(text, codePage);
}

// Encoded words as atoms, so that nothing inside them can be taken for a mark of the list.
class HiddenWords {
  public:
    explicit HiddenWords(std::string_view text) {
        while (const auto word = text::FindEncodedWord(text, text::Damage::kPassedOver)) {
            m_text += word->before;
            m_text += kBegin + std::to_string(m_words.size()) + '=';
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
    static inline const std::string kBegin = "=kvword";
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

std::string ParameterOf(GMimeParamList* list, const char* name) {
    GMimeParam* const parameter =
        list != nullptr ? g_mime_param_list_get_parameter(list, name) : nullptr;
    return parameter != nullptr ? OrEmpty(g_mime_param_get_value(parameter)) : std::string();
}

void ReadType(PartType& part, const std::string& value) {
    const auto type = Own(g_mime_content_type_parse(nullptr, value.c_str()));
    part.type = text::Lowered(OrEmpty(g_mime_content_type_get_media_type(type.get())));
    part.subtype = text::Lowered(OrEmpty(g_mime_content_type_get_media_subtype(type.get())));
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
    part.isAttachment = text::EqualNoCase(
        OrEmpty(g_mime_content_disposition_get_disposition(disposition.get())), "attachment");
    const std::string name =
        ParameterOf(g_mime_content_disposition_get_parameters(disposition.get()), "filename");
    if (!name.empty()) part.fileName = name;
}

}  // namespace

PartType TypeOf(const Entity& entity, bool isInDigest, unsigned codePage) {
    PartType part;
    const std::string value = Utf8Of(FieldValue(entity, "Content-Type"), codePage);
    if (value.find('/') != std::string::npos) ReadType(part, value);
    if (part.type.empty() || part.subtype.empty()) {
        part.type = isInDigest ? "message" : "text";
        part.subtype = isInDigest ? "rfc822" : "plain";
    }
    ReadDisposition(part, Utf8Of(FieldValue(entity, "Content-Disposition"), codePage));
    part.encoding = FieldValue(entity, "Content-Transfer-Encoding");
    return part;
}

std::string DecodedHeader(const std::string& value, unsigned codePage) {
    return DecodeWords(Utf8Of(value, codePage), codePage);
}

std::vector<Recipient> DecodedAddresses(const std::string& value, unsigned codePage) {
    std::string text = Utf8Of(value, codePage);
    if (std::ranges::count(text, ':') > kMostGroups) std::ranges::replace(text, ':', ' ');
    std::vector<Recipient> found;
    const HiddenWords hidden(text);
    const Owned<InternetAddressList> list(
        internet_address_list_parse(nullptr, hidden.Text().c_str()), [](gpointer object) {
            if (object != nullptr) g_object_unref(object);
        });
    AddMailboxes(list.get(), found);
    for (Recipient& one : found) {
        one.name = DecodeWords(hidden.Shown(one.name), codePage);
        one.address = DecodeWords(hidden.Shown(one.address), codePage);
    }
    if (found.empty() && text.find_first_not_of(" ,;:<>\"") != std::string::npos) {
        found.push_back({"", DecodedHeader(text, codePage)});
    }
    return found;
}

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
