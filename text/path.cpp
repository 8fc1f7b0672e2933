#include "text/path.h"

#include <algorithm>

#include "text/ascii.h"
#include "text/double_byte.h"

namespace text {

namespace {

// No second byte of a character is lower.
constexpr unsigned char kLowestTrailByte = 0x31;
constexpr std::string_view kDevices[] = {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$", "CLOCK$"};

bool HasForbiddenLetter(std::string_view name, unsigned codePage) {
    while (!name.empty()) {
        const auto character = TakeCharacter(name, codePage);
        const bool isPair =
            character.size() == 2 && static_cast<unsigned char>(character[1]) >= kLowestTrailByte;
        if (!isPair && std::ranges::any_of(character, IsForbiddenInNames)) return true;
    }
    return false;
}

// Windows takes superscripts for digits here, as code page 1252 has them and as UTF-8.
bool IsNumberedDevice(std::string_view name) {
    if (!StartsWithNoCase(name, "COM") && !StartsWithNoCase(name, "LPT")) return false;
    const std::string_view number = name.substr(3), superscripts = "\xB9\xB2\xB3";
    if (number.size() == 2 && number[0] == '\xC2')
        return superscripts.find(number[1]) != number.npos;
    return number.size() == 1 &&
           ((number[0] >= '1' && number[0] <= '9') || superscripts.find(number[0]) != number.npos);
}

}  // namespace

std::size_t LastSeparator(std::string_view path, unsigned codePage) {
    const auto last = FindLastOf(path, "\\/", codePage);
    const bool mayBeDrive = last == path.npos || last == 0;
    return mayBeDrive && FindLastOf(path.substr(0, 2), ":", codePage) == 1 ? 1 : last;
}

std::string_view NameIn(std::string_view path, unsigned codePage) {
    return path.substr(LastSeparator(path, codePage) + 1);
}

std::string WithSeparator(std::string folder, unsigned codePage) {
    if (folder.empty() || LastSeparator(folder, codePage) + 1 != folder.size()) folder += '\\';
    return folder;
}

PathParts SplitPath(std::string_view path, unsigned codePage) {
    PathParts parts;
    if (path.size() >= 2 && path[1] == ':') {
        parts.drive = path.substr(0, 2);
        path.remove_prefix(2);
    }
    if (const auto last = LastSeparator(path, codePage); last != std::string_view::npos) {
        parts.folder = path.substr(0, last + 1);
        path.remove_prefix(last + 1);
    }
    // No trail byte equals a dot in any of the double-byte code pages.
    const auto dot = path.rfind('.');
    parts.name = path.substr(0, dot);
    if (dot != std::string_view::npos) parts.extension = path.substr(dot);
    return parts;
}

std::string JoinPath(const PathParts& parts) {
    return parts.drive + parts.folder + parts.name + parts.extension;
}

std::vector<std::string> NamesIn(std::string_view path, unsigned codePage) {
    std::vector<std::string> names(1);
    const auto finish = [&names] {
        const bool isWayUp = names.back() == "..";
        if (isWayUp || names.back() == ".") names.back().clear();
        if (isWayUp && names.size() > 1) names.erase(names.end() - 2);
        if (!names.back().empty()) names.emplace_back();
    };
    while (!path.empty()) {
        const auto character = TakeCharacter(path, codePage);
        if (character == "\\" || character == "/") {
            finish();
        } else {
            names.back() += character;
        }
    }
    finish();
    names.pop_back();
    return names;
}

bool IsForbiddenInNames(char letter) {
    constexpr std::string_view kForbidden = "\\/:*?\"<>|";
    return static_cast<unsigned char>(letter) < ' ' || kForbidden.find(letter) != kForbidden.npos;
}

bool IsDevice(std::string_view name) {
    name = TrimmedBack(name.substr(0, name.find('.')), " ");
    return IsNumberedDevice(name) ||
           std::ranges::any_of(kDevices, [&](auto device) { return EqualNoCase(name, device); });
}

bool IsPlainFileName(std::string_view name, unsigned codePage) {
    const bool isNothing = Trimmed(name, ". ").empty();
    return !isNothing && !HasForbiddenLetter(name, codePage) && !IsDevice(name);
}

std::string PlainNameIn(std::string_view path, unsigned codePage) {
    const auto name = NameIn(path, codePage);
    return IsPlainFileName(name, codePage) ? std::string(name) : std::string();
}

}  // namespace text
