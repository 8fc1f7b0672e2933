#include "platform/kvutil/kvutil_core.h"

#include <algorithm>
#include <array>
#include <optional>

#include "text/ascii.h"
#include "text/double_byte.h"

namespace kvutil {

namespace {

constexpr std::size_t kFieldCount = 5;
constexpr std::string_view kPlain = "\\\t\r\n";
constexpr std::string_view kEscaped = "\\trn";

void AppendEscaped(std::string& out, const std::string& text) {
    for (const char byte : text) {
        if (const auto at = kPlain.find(byte); at != std::string_view::npos) {
            out += '\\';
            out += kEscaped[at];
        } else {
            out += byte;
        }
    }
}

// Nothing for a backslash before any other byte, or at the end: a path that was not escaped.
std::optional<std::string> Unescaped(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            out += text[i];
            continue;
        }
        if (++i == text.size()) return std::nullopt;
        const auto at = kEscaped.find(text[i]);
        if (at == std::string_view::npos) return std::nullopt;
        out += kPlain[at];
    }
    return out;
}

bool DecodeLine(std::string_view line, CRAttachmentInfo& info) {
    std::array<std::string_view, kFieldCount> fields;
    for (std::size_t i = 0; i < kFieldCount; ++i) {
        const auto tab = line.find('\t');
        if ((tab == std::string_view::npos) != (i + 1 == kFieldCount)) return false;
        fields[i] = line.substr(0, tab);
        if (tab != std::string_view::npos) line.remove_prefix(tab + 1);
    }
    const auto flag = text::NumberIn<std::uint32_t>(fields[0]);
    const auto deleteSource = text::NumberIn<std::uint32_t>(fields[1]);
    const auto displayName = Unescaped(fields[2]), fileName = Unescaped(fields[3]),
               filePath = Unescaped(fields[4]);
    if (!flag || !deleteSource || !displayName || !fileName || !filePath) return false;
    info = {*flag, *deleteSource, *displayName, *fileName, *filePath};
    // What the escapes make of a path that was not escaped ("C:\temp") is none.
    return std::ranges::none_of(*filePath,
                                [](char byte) { return static_cast<unsigned char>(byte) < ' '; });
}

}  // namespace

platform::Result<std::string> ReadBoundedText(platform::Registry& registry,
                                              platform::RegistryRoot root, std::string_view key,
                                              std::string_view value, std::size_t size) {
    auto text = registry.ReadText(root, key, value);
    if (text && text->size() >= size) {
        return platform::Failure{platform::ErrorCode::kTooLarge, std::string(key)};
    }
    return text;
}

std::string_view LastBytes(std::string_view text, std::size_t count, unsigned codePage) {
    if (count >= text.size()) return text;
    std::size_t begin = text.size() - count;
    if (text::WholeCharacterPrefix(text, begin, codePage) != begin) ++begin;
    return text.substr(begin);
}

std::string ShortenPath(std::string_view path, std::size_t limit, unsigned codePage) {
    constexpr std::string_view kDots = "...";
    if (path.size() <= limit) return std::string(path);
    if (limit <= kDots.size()) return std::string(kDots.substr(0, limit));
    const std::size_t kept = limit - kDots.size();
    // The end of a path tells more than its beginning.
    const auto head = text::WholeCharacterPrefix(path, kept / 3, codePage);
    std::string text(path.substr(0, head));
    return text.append(kDots).append(LastBytes(path, kept - head, codePage));
}

std::string EncodeAttachments(const CArray<CRAttachmentInfo>& list) {
    std::string out;
    for (const CRAttachmentInfo& info : list) {
        out += std::to_string(info.dwInfoFlag) + '\t' + std::to_string(info.bDeleteSource);
        for (const CString* text : {&info.csDisplayName, &info.csFileName, &info.csFilePath}) {
            out += '\t';
            AppendEscaped(out, text->Str());
        }
        out += '\n';
    }
    return out;
}

bool DecodeAttachments(std::string_view text, CArray<CRAttachmentInfo>& list) {
    while (!text.empty()) {
        const auto end = text.find('\n');
        CRAttachmentInfo info;
        if (!DecodeLine(text.substr(0, end), info)) return false;
        list.Add(info);
        if (end == std::string_view::npos) break;
        text.remove_prefix(end + 1);
    }
    return true;
}

}  // namespace kvutil
