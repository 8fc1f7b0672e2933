#include "host/vcard/card.h"

#include <algorithm>
#include <utility>

#include "text/ascii.h"

namespace host::vcard {

namespace {

bool IsMark(const Property& property, std::string_view name) {
    return property.name == name && text::EqualNoCase(property.value, "VCARD");
}

}  // namespace

Card Card::Create(std::string_view uid, std::string_view version) {
    Card card;
    for (const auto& [name, value] :
         {std::pair<std::string_view, std::string_view>{"BEGIN", "VCARD"},
          {"VERSION", version},
          {"UID", uid},
          {"END", "VCARD"}}) {
        Property property;
        property.name = name;
        property.value = value;
        property.raw = card.Write(property);
        card.m_properties.push_back(std::move(property));
    }
    return card;
}

std::optional<CardError> Card::Parse(std::string_view bytes) {
    Card card;
    bool hasBegun = false, hasEnded = false;
    LineReader reader(bytes);
    Property property;
    std::string text;
    const auto error = [&](std::string what) {
        return CardError{reader.LineNumber(), std::move(what)};
    };
    while (reader.Next(property.raw, text)) {
        if (text.find('\0') != std::string::npos) return error("a zero byte");
        if (text.find_first_not_of(" \t\r") == std::string::npos) {
            card.m_properties.push_back(std::exchange(property, {}));
            continue;
        }
        if (auto what = ParseContentLine(text, property)) return error(std::move(*what));
        if (!hasBegun && !IsMark(property, "BEGIN")) return error("no BEGIN:VCARD");
        if (hasEnded) {
            CardError second = error("a second vCard in one file");
            second.isSecondCard = IsMark(property, "BEGIN");
            return second.isSecondCard ? second : error("something behind END:VCARD");
        }
        if (hasBegun && property.name == "BEGIN") return error("a vCard inside the vCard");
        if (!hasBegun) card.m_lineEnd = property.raw.ends_with("\r\n") ? "\r\n" : "\n";
        hasBegun = true;
        hasEnded = IsMark(property, "END");
        card.m_properties.push_back(std::exchange(property, {}));
    }
    if (!hasBegun) return error("no BEGIN:VCARD");
    if (!hasEnded) return error("no END:VCARD at the end");
    const std::string_view version = card.Value("VERSION");
    if (version.empty()) return error("no VERSION");
    if (version != "3.0" && version != "4.0") {
        return error("version " + std::string(version) + ", which is neither 3.0 nor 4.0");
    }
    *this = std::move(card);
    return std::nullopt;
}

std::string Card::Serialise() const {
    std::string bytes;
    for (const Property& property : m_properties) bytes += property.raw;
    return bytes;
}

std::string_view Card::Value(std::string_view name) const {
    for (const Property& property : m_properties) {
        if (property.name == name) return property.value;
    }
    return {};
}

void Card::Rewrite(std::size_t index, Property property) {
    property.raw = Write(property);
    m_properties[index] = std::move(property);
}

std::size_t Card::Append(Property property) {
    property.raw = Write(property);
    const auto end = std::find_if(m_properties.rbegin(), m_properties.rend(),
                                  [](const Property& p) { return IsMark(p, "END"); });
    const auto place = m_properties.insert(end.base() - 1, std::move(property));
    return static_cast<std::size_t>(place - m_properties.begin());
}

void Card::Remove(std::size_t index) {
    m_properties.erase(m_properties.begin() + static_cast<std::ptrdiff_t>(index));
}

std::string Card::Write(const Property& property) const {
    return Fold(FormatContentLine(property), m_lineEnd);
}

}  // namespace host::vcard
