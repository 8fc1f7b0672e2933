#include "host/vcard/card_fields.h"

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
#include <vector>

#include "host/vcard/content_line.h"
#include "platform/os/code_page.h"
#include "text/ascii.h"
#include "text/calendar.h"

namespace host::vcard {

namespace {

constexpr unsigned kLatin = 1252;

// By field.
constexpr std::array<std::string_view, base::kFieldCount> kNames = {
    "NICKNAME", "FN", "ADR", "TEL", "TEL", "EMAIL", "NOTE"};

template <class Test>
std::optional<std::size_t> Find(const Card& card, const Test& test) {
    const auto& properties = card.Properties();
    const auto found = std::ranges::find_if(properties, test);
    if (found == properties.end()) return std::nullopt;
    return static_cast<std::size_t>(found - properties.begin());
}

std::optional<std::size_t> FindName(const Card& card, std::string_view name) {
    return Find(card, [&](const Property& property) { return property.name == name; });
}

// The value in UTF-8 with the transfer forms of older writers undone; still escaped.
std::string PlainValue(const Property& property) {
    std::string value = property.value;
    if (std::ranges::any_of(property.parameters, &Parameter::IsQuotedPrintable)) {
        std::string decoded;
        // A decoded line end is text: as such it stands escaped. No text holds a zero byte.
        for (const char byte : DecodeQuotedPrintable(value)) {
            if (byte == '\n') decoded += "\\n";
            if (byte != '\n' && byte != '\r' && byte != '\0') decoded += byte;
        }
        value = std::move(decoded);
    }
    if (const Parameter* charset = property.Find("CHARSET")) {
        const std::string name = text::Raised(charset->values[0]);
        if (name == "ISO-8859-1" || name == "WINDOWS-1252") {
            value = platform::ToUtf8(value, kLatin);
        }
    }
    return value;
}

// The texts that are not empty, with a separator between them.
template <class Texts>
std::string JoinedTexts(const Texts& texts, char separator) {
    std::string joined;
    for (const std::string& text : texts) {
        if (!joined.empty() && !text.empty()) joined += separator;
        joined += text;
    }
    return joined;
}

// The parts of an ADR value, still escaped.
enum Component { kBox, kExtension, kStreet, kPlace, kRegion, kCode, kCountry, kComponents };

std::vector<std::string> ComponentsOf(std::string_view value) {
    std::vector<std::string> components = SplitEscaped(value, ';');
    components.resize(kComponents);
    return components;
}

std::string Lines(const std::string& component) {
    std::vector<std::string> lines = SplitEscaped(component, ',');
    for (std::string& line : lines) line = base::Canonical(UnescapeText(line));
    return JoinedTexts(lines, '\n');
}

std::string PlaceLine(const std::vector<std::string>& components) {
    return JoinedTexts(
        std::array{Lines(components[kPlace]), Lines(components[kRegion]), Lines(components[kCode])},
        ' ');
}

// Takes `lines` off the front or the back of `text`, a line end with them; but not from beside a
// blank line, which would be lost at the edge of what is left.
bool TakeFront(std::string_view& text, const std::string& lines) {
    if (lines.empty() || !text.starts_with(lines + '\n') || text.starts_with(lines + "\n\n"))
        return false;
    text.remove_prefix(lines.size() + 1);
    return true;
}

bool TakeBack(std::string_view& text, const std::string& lines) {
    if (lines.empty() || !text.ends_with('\n' + lines) || text.ends_with("\n\n" + lines))
        return false;
    text.remove_suffix(lines.size() + 1);
    return true;
}

// The lines of text that the value of an ADR property stands for: post-office box, extension,
// street, then place, region and code on one line, then country.
std::string AddressLines(std::string_view value) {
    const std::vector<std::string> components = ComponentsOf(value);
    return JoinedTexts(
        std::array{Lines(components[kBox]), Lines(components[kExtension]),
                   Lines(components[kStreet]), PlaceLine(components), Lines(components[kCountry])},
        '\n');
}

// The ADR value for new lines. A component whose line is still where it was stays a component; all
// else becomes the street. AddressLines of the result gives `lines` again.
std::string ChangeAddress(std::string_view oldValue, std::string_view lines) {
    std::vector<std::string> components = ComponentsOf(oldValue);
    if (!TakeBack(lines, Lines(components[kCountry]))) components[kCountry].clear();
    if (!TakeBack(lines, PlaceLine(components))) {
        for (const Component part : {kPlace, kRegion, kCode}) components[part].clear();
    }
    for (const Component part : {kBox, kExtension}) {
        if (!TakeFront(lines, Lines(components[part]))) components[part].clear();
    }
    components[kStreet] = EscapeText(lines);
    std::string value = components[0];
    for (std::size_t i = 1; i < components.size(); ++i) value += ';' + components[i];
    return value;
}

// The list value's first piece in front of the others.
std::string FieldText(const Property& property, base::Field field) {
    std::string value = PlainValue(property);
    if (field == base::Field::kNickname) return UnescapeText(SplitEscaped(value, ',')[0]);
    if (field == base::Field::kAddress) {
        const Parameter* label = property.Find("LABEL");
        return label != nullptr ? UnescapeText(label->values[0]) : AddressLines(value);
    }
    constexpr std::string_view kPhoneScheme = "tel:", kMailScheme = "mailto:";
    if (property.Find("VALUE") != nullptr) {
        for (const std::string_view scheme : {kPhoneScheme, kMailScheme}) {
            if (value.starts_with(scheme)) value.erase(0, scheme.size());
        }
    }
    return UnescapeText(value);
}

// How much a property is preferred to others of its kind: 1 is the most, 101 not at all.
unsigned PreferenceOf(const Property& property) {
    constexpr unsigned kLeast = 100;
    const Parameter* const pref = property.Find("PREF");
    const auto number = pref != nullptr ? text::NumberIn<unsigned>(pref->values[0]) : std::nullopt;
    if (number) return std::clamp(*number, 1u, kLeast);
    return property.HasType("pref") ? 1 : kLeast + 1;
}

// The property of a field, of which `seen` was the value when it was looked at last.
std::optional<std::size_t> FindField(const Card& card, base::Field field, const std::string& seen) {
    std::optional<std::size_t> found;
    std::pair<unsigned, bool> best;
    for (std::size_t i = 0; i < card.Properties().size(); ++i) {
        const Property& property = card.Properties()[i];
        const bool isIt =
            property.name == kNames[static_cast<std::size_t>(field)] &&
            (property.name != "TEL" || property.HasType("fax") == (field == base::Field::kFax));
        if (!isIt) continue;
        const bool isOther = !seen.empty() && base::Canonical(FieldText(property, field)) != seen;
        const std::pair rank(PreferenceOf(property), isOther);
        if (found && rank >= best) continue;
        found = i;
        best = rank;
    }
    return found;
}

// "Given Family" from the components of N: family, given, additional, prefixes, suffixes.
std::string NameFromComponents(const Property& property) {
    std::vector<std::string> parts = SplitEscaped(PlainValue(property), ';');
    parts.resize(5);
    for (std::string& part : parts) part = UnescapeText(part);
    return base::Canonical(
        JoinedTexts(std::array{parts[3], parts[1], parts[2], parts[0], parts[4]}, ' '));
}

std::string ComponentsFromName(const std::string& name) {
    const auto comma = name.find(',');
    const auto blank = name.rfind(' ');
    std::string family = name, given;
    if (comma != std::string::npos) {
        family = name.substr(0, comma);
        given = name.substr(comma + 1);
    } else if (blank != std::string::npos) {
        family = name.substr(blank + 1);
        given = name.substr(0, blank);
    }
    return EscapeText(base::Canonical(family)) + ';' + EscapeText(base::Canonical(given)) + ";;;";
}

Property NewProperty(base::Field field) {
    Property property;
    property.name = kNames[static_cast<std::size_t>(field)];
    if (field == base::Field::kPhone) property.parameters = {{"TYPE", {"work", "voice"}}};
    if (field == base::Field::kFax) property.parameters = {{"TYPE", {"fax"}}};
    return property;
}

// A LABEL knows the escapes of a text, but needs only this one.
std::string EscapeBackslashes(const std::string& text) {
    std::string escaped;
    for (const char byte : text) escaped.append(byte == '\\' ? 2 : 1, byte);
    return escaped;
}

// The value of a field's property for a new text, in place of `old`.
std::string NewValue(const Property& old, base::Field field, const std::string& text) {
    if (field == base::Field::kAddress) return ChangeAddress(PlainValue(old), text);
    if (field != base::Field::kNickname) return EscapeText(text);
    std::string value = EscapeText(text);
    const std::vector<std::string> pieces = SplitEscaped(PlainValue(old), ',');
    for (std::size_t i = 1; i < pieces.size(); ++i) value += ',' + pieces[i];
    return value;
}

// Writes a property with a plain value, in place of the one at `index` if there is one.
void Put(Card& card, std::optional<std::size_t> index, Property property) {
    for (const auto* parameter : {"ENCODING", "CHARSET", "VALUE"}) {
        property.RemoveParameter(parameter);
    }
    if (index) {
        card.Rewrite(*index, std::move(property));
    } else {
        card.Append(std::move(property));
    }
}

void SetProperty(Card& card, std::string_view name, const std::string& value) {
    const auto index = FindName(card, name);
    Property property = index ? card.Properties()[*index] : Property();
    property.name = name;
    property.value = value;
    Put(card, index, std::move(property));
}

void SetField(Card& card, base::Field field, const std::string& text, const std::string& seen) {
    const auto index = FindField(card, field, seen);
    Property property = index ? card.Properties()[*index] : NewProperty(field);
    const bool hasMore =
        field == base::Field::kNickname && index && SplitEscaped(property.value, ',').size() > 1;
    if (text.empty() && !hasMore) {
        if (index) card.Remove(*index);
        return;
    }
    property.value = NewValue(property, field, text);
    std::erase_if(property.parameters, std::mem_fn(&Parameter::IsQuotedPrintable));
    if (property.Find("LABEL") != nullptr) {
        property.RemoveParameter("LABEL");
        property.parameters.push_back({"LABEL", {EscapeBackslashes(text)}});
    }
    Put(card, index, std::move(property));
}

void SetName(Card& card, const base::Contact& values, const std::string& seen) {
    std::string name = values[base::Field::kName];
    const bool isNew = !FindName(card, "FN");
    SetField(card, base::Field::kName, name.empty() ? base::DisplayName(values, "?") : name, seen);
    if (name.ends_with(base::kOlderMark)) name.resize(name.size() - base::kOlderMark.size());
    const auto n = FindName(card, "N");
    if (card.IsVersion4() && !isNew && !name.empty() && !n) return;
    if (n && !name.empty() && NameFromComponents(card.Properties()[*n]) == name) return;
    SetProperty(card, "N", name.empty() ? ";;;;" : ComponentsFromName(name));
}

bool IsBookkeeping(const Property& property) {
    constexpr std::string_view kOwn[] = {"",    "BEGIN",  "END", "VERSION", "UID",
                                         "REV", "PRODID", "N",   "KIND"};
    return std::ranges::find(kOwn, property.name) != std::end(kOwn);
}

}  // namespace

CardContent ReadFields(const Card& card, const base::Contact& seen) {
    CardContent content;
    content.uid = card.Value("UID");
    const std::string kind = text::Raised(card.Value("KIND"));
    content.isPerson = kind.empty() || kind == "INDIVIDUAL" || kind == "ORG";
    int shown = 0;
    for (base::Field field : base::kAllFields) {
        if (const auto index = FindField(card, field, seen[field])) {
            ++shown;
            content.contact[field] = base::Canonical(FieldText(card.Properties()[*index], field));
        }
    }
    for (const Property& property : card.Properties()) content.beyond += !IsBookkeeping(property);
    content.beyond -= shown;
    std::string components;
    const auto n = FindName(card, "N");
    if (n) components = NameFromComponents(card.Properties()[*n]);
    std::string& name = content.contact[base::Field::kName];
    if (name.empty()) name = components;
    base::Contact unnamed = content.contact;
    unnamed[base::Field::kName].clear();
    if (n && components.empty() && name == base::DisplayName(unnamed, "?")) name.clear();
    return content;
}

void SetUid(Card& card, const std::string& uid) {
    SetProperty(card, "UID", uid);
}

void WriteFields(Card& card, const base::Contact& values, base::FieldSet which,
                 std::chrono::system_clock::time_point now, const base::Contact& seen) {
    for (base::Field field : base::kAllFields) {
        if (!which.Has(field)) continue;
        field == base::Field::kName ? SetName(card, values, seen[field])
                                    : SetField(card, field, values[field], seen[field]);
    }
    SetProperty(card, "REV", text::Format("%Y%m%dT%H%M%SZ", text::CivilTime(now)));
}

}  // namespace host::vcard
