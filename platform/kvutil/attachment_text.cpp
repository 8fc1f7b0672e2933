#include "platform/kvutil/attachment_text.h"

#include <array>
#include <charconv>
#include <optional>

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

// A backslash before any other byte, or at the end, stands for itself: texts that a host wrote
// by hand with plain Windows paths come through.
std::string Unescaped(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) {
            if (const auto at = kEscaped.find(text[i + 1]); at != std::string_view::npos) {
                out += kPlain[at];
                ++i;
                continue;
            }
        }
        out += text[i];
    }
    return out;
}

std::optional<std::uint32_t> Number(std::string_view text) {
    std::uint32_t value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

bool DecodeLine(std::string_view line, CRAttachmentInfo& info) {
    std::array<std::string_view, kFieldCount> fields;
    for (std::size_t i = 0; i < kFieldCount; ++i) {
        const auto tab = line.find('\t');
        if ((tab == std::string_view::npos) != (i + 1 == kFieldCount)) return false;
        fields[i] = line.substr(0, tab);
        if (tab != std::string_view::npos) line.remove_prefix(tab + 1);
    }
    const auto flag = Number(fields[0]);
    const auto deleteSource = Number(fields[1]);
    if (!flag || !deleteSource) return false;
    info.dwInfoFlag = *flag;
    info.bDeleteSource = *deleteSource;
    info.csDisplayName = Unescaped(fields[2]);
    info.csFileName = Unescaped(fields[3]);
    info.csFilePath = Unescaped(fields[4]);
    return true;
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
