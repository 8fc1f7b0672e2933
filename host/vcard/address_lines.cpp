#include "host/vcard/address_lines.h"

#include <array>
#include <vector>

#include "host/base/contact.h"
#include "host/vcard/card_text.h"

namespace host::vcard {

namespace {

enum Component { kBox, kExtension, kStreet, kPlace, kRegion, kCode, kCountry, kComponents };
using Components = std::array<std::string, kComponents>;  // still escaped

Components Split(std::string_view value) {
    Components components;
    std::size_t i = 0;
    for (std::string& piece : SplitEscaped(value, ';')) {
        if (i < kComponents) components[i++] = std::move(piece);
    }
    return components;
}

std::string Lines(const std::string& component) {
    std::string lines;
    for (const std::string& piece : SplitEscaped(component, ',')) {
        const std::string line = base::Canonical(UnescapeText(piece));
        if (line.empty()) continue;
        if (!lines.empty()) lines += '\n';
        lines += line;
    }
    return lines;
}

std::string PlaceLine(const Components& components) {
    std::string line;
    for (const int part : {kPlace, kRegion, kCode}) {
        const std::string text = Lines(components[static_cast<std::size_t>(part)]);
        if (!line.empty() && !text.empty()) line += ' ';
        line += text;
    }
    return line;
}

// Takes `lines` off the front or the back of `text`, a line end with them.
bool TakeFront(std::string_view& text, const std::string& lines) {
    if (lines.empty() || !text.starts_with(lines + '\n')) return false;
    text.remove_prefix(lines.size() + 1);
    return true;
}

bool TakeBack(std::string_view& text, const std::string& lines) {
    if (lines.empty() || !text.ends_with('\n' + lines)) return false;
    text.remove_suffix(lines.size() + 1);
    return true;
}

}  // namespace

std::string AddressLines(std::string_view value) {
    const Components components = Split(value);
    std::string text;
    for (const std::string& lines :
         {Lines(components[kBox]), Lines(components[kExtension]), Lines(components[kStreet]),
          PlaceLine(components), Lines(components[kCountry])}) {
        if (!text.empty() && !lines.empty()) text += '\n';
        text += lines;
    }
    return text;
}

std::string ChangeAddress(std::string_view oldValue, std::string_view lines) {
    Components components = Split(oldValue);
    std::string_view street = lines;
    if (!TakeBack(street, Lines(components[kCountry]))) components[kCountry].clear();
    if (!TakeBack(street, PlaceLine(components))) {
        components[kPlace].clear();
        components[kRegion].clear();
        components[kCode].clear();
    }
    for (const Component part : {kBox, kExtension}) {
        if (!TakeFront(street, Lines(components[part]))) components[part].clear();
    }
    components[kStreet] = EscapeText(street);
    std::string value = components[0];
    for (std::size_t i = 1; i < components.size(); ++i) value += ';' + components[i];
    return value;
}

}  // namespace host::vcard
