#include <algorithm>
#include <cctype>
#include <map>
#include <vector>

#include "fuzz/fuzz.h"
#include "platform/posix/character_case.h"
#include "platform/prefix/registry_line.h"
#include "platform/prefix/registry_text.h"
#include "text/utf.h"

using namespace platform::prefix;

namespace {

using Place = std::pair<std::u16string, std::u16string>;  // key and name, in lower case
// For each value where the data of the line that counts begin and end.
using Registry = std::map<Place, std::pair<std::size_t, std::size_t>>;

const char* BehindBlanks(const char* at) {
    while (std::isspace(static_cast<unsigned char>(*at)) != 0) ++at;
    return at;
}

// Whether a line of hex data that begins at `at` is sound and ends in a backslash.
bool GoesOn(const char* at) {
    while (std::isxdigit(static_cast<unsigned char>(*at)) != 0) {
        char* end = nullptr;
        if (std::strtoul(at, &end, 16) > 0xFF) return false;
        at = BehindBlanks(end);
        if (*at == ',') at = BehindBlanks(at + 1);
    }
    return *at == '\\';
}

// Where the hex data begin; an empty text for other data.
const char* HexData(const char* at) {
    const std::string data(at);
    if (data.starts_with("hex:")) return at + 4;
    if (!data.starts_with("hex(")) return "";
    at += 4;
    char* end = const_cast<char*>(at);
    if (std::isxdigit(static_cast<unsigned char>(*at)) != 0) std::strtoul(at, &end, 16);
    return std::string_view(end).starts_with("):") ? end + 2 : "";
}

// In lower case, one backslash before each part and none behind.
std::u16string PlainKeyOf(std::u16string_view key) {
    std::u16string plain;
    for (std::size_t i = 0; i < key.size(); ++i) {
        if (key[i] == u'\\') continue;
        if (i == 0 || key[i - 1] == u'\\') plain += u'\\';
        plain += static_cast<char16_t>(platform::posix::FoldCase(key[i]));
    }
    return plain;
}

// The whole text, read the plain way.
Registry Read(std::string_view text) {
    std::vector<std::string> lines;
    std::vector<std::size_t> begins;
    for (std::size_t at = 0; at < text.size(); at += lines.back().size() + 1) {
        begins.push_back(at);
        lines.emplace_back(text.substr(at, text.find('\n', at) - at));
    }
    Registry registry;
    std::optional<std::u16string> key;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::string_view rest(BehindBlanks(lines[i].c_str()));
        const char first = rest.empty() ? '\0' : rest.front();
        rest.remove_prefix(first != '\0');
        if (first == '[') {
            key = platform::prefix::TakeEscaped(rest, ']');
            if (key) key = PlainKeyOf(*key);
        }
        if (!key || (first != '"' && first != '@')) continue;
        auto name = first == '"' ? platform::prefix::TakeEscaped(rest, '"') : std::u16string();
        const char* data = name ? BehindBlanks(rest.data()) : "";
        if (*data != '=') continue;
        data = BehindBlanks(data + 1);
        for (auto& unit : *name) unit = static_cast<char16_t>(platform::posix::FoldCase(unit));
        auto& [begin, end] = registry[{*key, *name}];
        begin = begins[i] + static_cast<std::size_t>(data - lines[i].c_str());
        for (data = HexData(data); GoesOn(data) && i + 1 < lines.size();) {
            data = BehindBlanks(lines[++i].c_str());
        }
        end = begins[i] + lines[i].size() - lines[i].ends_with('\r');
        begin = std::min(begin, end);
    }
    return registry;
}

// The value that stands at that place of the text, and there alone.
std::optional<platform::prefix::RegistryValue> ValueAt(std::string_view text,
                                                       const Registry::value_type& found) {
    const auto& [place, stretch] = found;
    const auto value = platform::prefix::FindValue(text, place.first, place.second);
    const auto feed = text.find('\n', stretch.second);
    const std::string alone(text.substr(stretch.first, feed - stretch.first + 1));
    Require(value == platform::prefix::FindValue("[k]\n@=" + alone, u"k", u""));
    return value;
}

// Sets the value at `place`. What is written is found, the others stay what they were, and nothing
// changes but that value's data, or what is put in for it at one place.
void CheckWriting(std::string_view text, const Registry& before, const Place& place,
                  const platform::prefix::RegistryValue& value) {
    const auto& [key, name] = place;
    const std::string changed = platform::prefix::WithValue(text, key, name, value, {});
    Require(platform::prefix::WithValue(changed, key, name, value, {}) == changed);
    const auto old = before.find(place);
    if (old != before.end()) {
        const auto [begin, end] = old->second;
        const bool isSame = ValueAt(text, *old) == value;
        Require(isSame ? changed == text
                       : changed.starts_with(text.substr(0, begin)) &&
                             changed.ends_with(text.substr(end)));
    } else {
        std::size_t front = 0;
        while (front < text.size() && text[front] == changed[front]) ++front;
        Require(changed.ends_with(text.substr(front)));
    }
    const Registry after = Read(changed);
    Require(after.size() == before.size() + (old == before.end()));
    for (const auto& found : after) {
        const auto was = before.find(found.first);
        const auto expected = found.first == place ? value : ValueAt(text, *was);
        Require(ValueAt(changed, found) == expected);
    }
}

}  // namespace

// Whatever the text holds: values are read from the lines that count, and one of them (the length
// says which) can be set, as can one that is not there.
void Check(std::string_view text) {
    const Registry registry = Read(text);
    const platform::prefix::RegistryValue number{platform::prefix::RegistryValue::kNumber, "1234"};
    CheckWriting(text, registry, {u"\\new\\key", u"path"}, number);
    if (registry.empty()) return;
    const Place place = std::next(registry.begin(), text.size() % registry.size())->first;
    CheckWriting(text, registry, place,
                 {platform::prefix::RegistryValue::kText, std::string("v\0\"\0\x42\x30", 6)});
    CheckWriting(text, registry, {place.first, u"no name"}, number);
}
