#include <algorithm>
#include <vector>

#include "fuzz/fuzz.h"
#include "platform/prefix/registry_line.h"

using namespace platform::prefix;

namespace {

using Place = std::pair<std::u16string, std::u16string>;  // key and name

// Each key and name that some line of the text gives, be it the one that counts or not.
std::vector<Place> PlacesIn(std::string_view text) {
    std::vector<Place> places;
    std::optional<std::u16string> key;
    for (std::size_t at = 0; at < text.size();) {
        const RegistryLine line = LineAt(text, at);
        at = line.next;
        if (line.In(text).starts_with('[')) {
            key = ParseKeyLine(line.In(text));
        } else if (const auto value = ReadValueLine(text, line); key && value) {
            places.emplace_back(*key, value->name);
            at = value->next;
        }
    }
    return places;
}

// Sets the value at `place`. It is found then, the others stay what they were, and a text that had
// no line for it keeps every byte.
void CheckWriting(std::string_view text, const std::vector<Place>& places, const Place& place,
                  const RegistryValue& value) {
    const auto& [key, name] = place;
    const std::string changed = WithValue(text, key, name, value, {});
    Require(FindValue(changed, key, name) == value);
    Require(WithValue(changed, key, name, value, {}) == changed);
    Require(FindValue(text, key, name) != value || changed == text);
    bool isNew = true;
    for (const Place& other : places) {
        const bool isOther = !EqualFolded(other.first, key) || !EqualFolded(other.second, name);
        isNew = isNew && isOther;
        Require(!isOther || FindValue(changed, other.first, other.second) ==
                                FindValue(text, other.first, other.second));
    }
    const auto front = std::ranges::mismatch(text, changed).in1 - text.begin();
    Require(!isNew || changed.ends_with(text.substr(static_cast<std::size_t>(front))));
}

}  // namespace

// Whatever the text holds, a value of it (the length says which) can be set, as can one that its
// key lacks, and one of a new key.
void Check(std::string_view text) {
    const auto places = PlacesIn(text);
    const RegistryValue number{RegistryValue::kNumber, "1234"};
    CheckWriting(text, places, {u"new\\key", u"path"}, number);
    if (places.empty()) return;
    const Place& place = places[text.size() % places.size()];
    CheckWriting(text, places, place, {RegistryValue::kText, std::string("v\0\"\0\x42\x30", 6)});
    CheckWriting(text, places, {place.first, u"no name"}, number);
}
