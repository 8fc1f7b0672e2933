#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/posix/registry_text.h"

using platform::posix::FindValue;
using platform::posix::RegistryValue;
using platform::posix::WithValue;

namespace {

constexpr char16_t kKey[] = u"Software\\Mail", kName[] = u"Path";

void Require(bool isTrue) {
    if (!isTrue) std::abort();
}

}  // namespace

// Whatever the file holds: what is written is found, another value stays what it was, and nothing
// but one stretch of the text changes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto other = FindValue(text, kKey, u"Other");
    const RegistryValue value{RegistryValue::kText, std::string("v\0\"\0\x42\x30", 6)};
    const std::string changed =
        WithValue(text, kKey, kName, value, std::chrono::system_clock::from_time_t(1));
    Require(FindValue(changed, kKey, kName) == value);
    Require(FindValue(changed, kKey, u"Other") == other);
    Require(WithValue(changed, kKey, kName, value, {}) == changed);

    std::size_t front = 0, back = 0;
    while (front < text.size() && front < changed.size() && text[front] == changed[front]) ++front;
    while (back < text.size() - front && back < changed.size() - front &&
           text[text.size() - 1 - back] == changed[changed.size() - 1 - back]) {
        ++back;
    }
    const auto gone = text.substr(front, text.size() - front - back);
    const bool hadValue = FindValue(text, kKey, kName).has_value();
    Require(hadValue || gone.empty());
    // Data in hex may have stood on several lines, but no value's data hold the start of a key.
    Require(gone.find("\n[") == std::string_view::npos);
    return 0;
}
