#include "platform/prefix/path_mapper.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include "platform/os/code_page.h"
#include "platform/os/system.h"
#include "platform/posix/character_case.h"
#include "text/ascii.h"
#include "text/path.h"

namespace platform::prefix {

namespace fs = std::filesystem;

namespace {

bool IsSeparator(char letter) {
    return letter == '\\' || letter == '/';
}

// Windows knows no name that ends in a dot or a blank: it drops them.
std::string WithoutTail(std::string_view name) {
    return std::string(text::TrimmedBack(name, ". "));
}

bool Exists(const std::string& path) {
    std::error_code unknown;
    return fs::exists(path, unknown);
}

// An absolute path, also of what does not exist.
std::string WithoutLinks(const std::string& path) {
    std::error_code error;
    const fs::path canonical = fs::weakly_canonical(fs::absolute(path, error), error);
    return error ? path : canonical.string();
}

}  // namespace

bool IsWindowsName(std::string_view name) {
    return std::ranges::none_of(name, text::IsForbiddenInNames);
}

Result<MappedPath> PathMapper::Map(std::string_view windowsPath) const {
    const Failure notFound{ErrorCode::kNotFound, std::string(windowsPath)};
    std::string_view path = windowsPath;
    const bool isOffDrives = path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1]);
    if (path.empty() || isOffDrives) return notFound;
    char drive = 'c';
    if (path.size() >= 2 && path[1] == ':') {
        drive = text::Lower(path[0]);
        if (!text::IsLetter(drive)) return Failure{ErrorCode::kInvalidArgument, notFound.context};
        path.remove_prefix(2);
    }
    const std::string root = m_prefix + "/dosdevices/" + drive + ":";
    auto names = text::NamesIn(path, m_codePage);
    std::string asSpelt = root;
    bool areNames = true;
    for (auto& name : names) {
        name = WithoutTail(ToUtf8(name, m_codePage));
        areNames = areNames && IsWindowsName(name) && !name.empty();
        asSpelt += '/' + name;
    }
    // A path that is there as it is spelt needs one look instead of one at each folder.
    if (areNames && !names.empty() && Exists(asSpelt)) return MappedPath{asSpelt, asSpelt, true};
    if (!Exists(root)) return notFound;
    MappedPath mapped{root + "/", root + "/", true};
    std::error_code unknown;
    for (const auto& name : names) {
        if (!fs::is_directory(mapped.path, unknown)) return notFound;
        if (!IsWindowsName(name) || name.empty()) {
            return Failure{ErrorCode::kInvalidArgument, notFound.context};
        }
        std::string folder = std::move(mapped.path);
        if (folder.back() != '/') folder += '/';
        mapped.asNamed = mapped.path = folder + name;
        if (Exists(mapped.path)) continue;
        const auto found = NativeFiles().List(folder, name);
        mapped.exists = found && !found->empty();
        if (mapped.exists) mapped.path = folder + found->front().name;
    }
    return mapped;
}

std::optional<std::string> PathMapper::NativePath(std::string_view windowsPath) const {
    if (windowsPath.size() < 3 || windowsPath[1] != ':' || !IsSeparator(windowsPath[2])) {
        return std::nullopt;
    }
    if (const auto mapped = Map(windowsPath)) return WithoutLinks(mapped->path);
    // A folder on the way is missing.
    const auto last = text::LastSeparator(windowsPath, m_codePage);
    if (last == 2) return std::nullopt;
    auto folder = NativePath(windowsPath.substr(0, last));
    if (folder) *folder += '/' + ToUtf8(windowsPath.substr(last + 1), m_codePage);
    return folder;
}

std::optional<std::string> PathMapper::WindowsPath(const std::string& nativePath) const {
    const fs::path wanted = WithoutLinks(nativePath);
    std::optional<std::string> best;
    std::error_code none;
    for (const auto& link : fs::directory_iterator(m_prefix + "/dosdevices", none)) {
        const std::string name = link.path().filename();
        if (name.size() != 2 || name[0] < 'a' || name[0] > 'z' || name[1] != ':') continue;
        const fs::path below = wanted.lexically_relative(WithoutLinks(link.path()));
        if (below.empty() || *below.begin() == "..") continue;
        std::string path{static_cast<char>(name[0] - 'a' + 'A'), ':', '\\'};
        if (below != ".") path += below;
        // The shortest path; of equally short ones the one with the first drive letter.
        if (!best || std::pair(path.size(), path) < std::pair(best->size(), *best)) best = path;
    }
    if (!best) return std::nullopt;
    std::replace(best->begin(), best->end(), '/', '\\');
    bool lossy = false;
    std::string path = FromUtf8(*best, m_codePage, &lossy);
    if (lossy) return std::nullopt;
    return path;
}

}  // namespace platform::prefix
