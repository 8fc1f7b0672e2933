#include "platform/kvutil/attachment_text.h"

#include <algorithm>
#include <array>
#include <optional>

#include "text/ascii.h"

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

// What the escapes make of a path that was not escaped ("C:\temp") is none.
bool HasControlCharacter(std::string_view path) {
    return std::any_of(path.begin(), path.end(),
                       [](char byte) { return static_cast<unsigned char>(byte) < ' '; });
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
    return !HasControlCharacter(*filePath);
}

}  // namespace

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
