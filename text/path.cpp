#include "text/path.h"

#include "text/double_byte.h"

namespace text {

std::string_view::size_type LastSeparator(std::string_view path, unsigned codePage) {
    auto last = std::string_view::npos;
    for (std::string_view::size_type i = 0; i < path.size(); ++i) {
        if (IsLeadByte(static_cast<unsigned char>(path[i]), codePage)) {
            ++i;
        } else if (path[i] == '\\' || path[i] == '/' || (path[i] == ':' && i == 1)) {
            last = i;
        }
    }
    return last;
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

}  // namespace text
