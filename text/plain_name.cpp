#include "text/plain_name.h"

#include <algorithm>

#include "text/ascii.h"
#include "text/double_byte.h"
#include "text/path.h"

namespace {

constexpr std::string_view kForbidden = "\\/:*?\"<>|";
constexpr unsigned char kLowestTrailByte = 0x31;
constexpr std::string_view kDevices[] = {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$", "CLOCK$"};
constexpr std::string_view kNumberedDevices[] = {"COM", "LPT"};
// Windows takes the superscripts of code page 1252 for digits here.
constexpr std::string_view kDeviceNumbers = "123456789\xB9\xB2\xB3";

bool IsForbidden(char letter) {
    return static_cast<unsigned char>(letter) < 0x20 || kForbidden.find(letter) != kForbidden.npos;
}

// Second halves of double-byte characters may equal forbidden letters.
bool HasForbiddenLetter(std::string_view name, unsigned codePage) {
    for (std::size_t i = 0; i < name.size(); ++i) {
        const bool isPair = text::IsLeadByte(static_cast<unsigned char>(name[i]), codePage) &&
                            i + 1 < name.size() &&
                            static_cast<unsigned char>(name[i + 1]) >= kLowestTrailByte;
        if (isPair) {
            ++i;
        } else if (IsForbidden(name[i])) {
            return true;
        }
    }
    return false;
}

bool IsNumberedDevice(std::string_view name) {
    return name.size() == 4 && kDeviceNumbers.find(name[3]) != kDeviceNumbers.npos &&
           std::any_of(std::begin(kNumberedDevices), std::end(kNumberedDevices),
                       [&](auto device) { return text::EqualNoCase(name.substr(0, 3), device); });
}

// A device stays one with any extension, and with spaces before it.
bool IsDevice(std::string_view name) {
    name = name.substr(0, name.find('.'));
    name = name.substr(0, name.find_last_not_of(' ') + 1);
    return IsNumberedDevice(name) ||
           std::any_of(std::begin(kDevices), std::end(kDevices),
                       [&](auto device) { return text::EqualNoCase(name, device); });
}

}  // namespace

namespace text {

bool IsPlainFileName(std::string_view name, unsigned codePage) {
    const bool isNothing = name.find_first_not_of(". ") == std::string_view::npos;
    return !isNothing && !HasForbiddenLetter(name, codePage) && !IsDevice(name);
}

std::string PlainNameIn(std::string_view path, unsigned codePage) {
    const auto separator = LastSeparator(path, codePage);
    const auto name = separator == path.npos ? path : path.substr(separator + 1);
    return IsPlainFileName(name, codePage) ? std::string(name) : std::string();
}

}  // namespace text
