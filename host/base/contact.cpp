#include "host/base/contact.h"

#include "platform/os/code_page.h"
#include "text/ascii.h"
#include "text/utf.h"

namespace host::base {

namespace {

constexpr std::string_view kBlanks = " \t\v\f";

}  // namespace

std::string_view FieldName(Field field) {
    constexpr std::array<std::string_view, kFieldCount> kNames = {
        "nickname", "name", "address", "phone", "fax", "e-mail", "note"};
    return kNames[static_cast<std::size_t>(field)];
}

std::string Canonical(std::string_view text) {
    const std::string valid =
        text::IsAscii(text) ? std::string(text) : platform::ToUtf8(text, text::kUtf8);
    std::string result;
    std::size_t start = 0;
    while (start <= valid.size()) {
        const std::size_t end = std::min(valid.find_first_of("\r\n", start), valid.size());
        result += text::Trimmed(std::string_view(valid).substr(start, end - start), kBlanks);
        const bool isPair = valid.compare(end, 2, "\r\n") == 0;
        start = end + (isPair ? 2 : 1);
        result += '\n';
    }
    return std::string(text::Trimmed(result, "\n"));
}

bool HasStrangeCharacters(std::string_view text) {
    while (!text.empty()) {
        const char32_t character = text::TakeUtf8(text);
        if (character == 0xFFFD || (character >= 0x80 && character < 0xA0)) return true;
    }
    return false;
}

FieldSet NonEmpty(const Contact& contact) {
    return Differing(contact, {});
}

FieldSet Differing(const Contact& one, const Contact& other) {
    FieldSet set;
    for (const Field field : kAllFields) {
        if (one[field] != other[field]) set.Add(field);
    }
    return set;
}

std::string DisplayName(const Contact& contact, std::string_view otherwise) {
    for (Field field : {Field::kNickname, Field::kName, Field::kEmail}) {
        if (!contact[field].empty()) return contact[field];
    }
    return std::string(otherwise);
}

std::string BeyondNickname(const Contact& contact) {
    constexpr char kPart = '\x1F';
    std::string all;
    for (Field field : kAllFields) {
        if (field != Field::kNickname) all += contact[field] + kPart;
    }
    return all.find_first_not_of(kPart) != std::string::npos ? all : std::string();
}

}  // namespace host::base
