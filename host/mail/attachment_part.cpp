#include "host/mail/attachment_part.h"

#include <algorithm>
#include <memory>

#include "host/mail/content_type.h"
#include "host/mail/header_block.h"
#include "host/mail/transfer_encoding.h"
#include "text/ascii.h"

namespace host::mail {

namespace {

constexpr std::size_t kChunk = 1024 * kBase64LineBytes;
constexpr std::size_t kLineWidth = 78;
constexpr std::string_view kFileName = "filename";

// What RFC 2231 leaves as it is.
bool IsPlainLetter(char letter) {
    constexpr std::string_view kMarks = "!#$&+-.^_`{|}~";
    return text::IsLetter(letter) || text::IsDigit(letter) || kMarks.find(letter) != kMarks.npos;
}

std::string Escaped(std::string_view name) {
    std::string escaped;
    for (const char& letter : name) {
        escaped += IsPlainLetter(letter) ? std::string(1, letter) : '%' + text::Hex({&letter, 1});
    }
    return escaped;
}

// In as many pieces as lines need; no escape is cut.
std::string ExtendedParameter(std::string_view name) {
    const std::string label(kFileName), value = "UTF-8''" + Escaped(name);
    if (label.size() + value.size() <= kLineWidth - 2) return "; " + label + "*=" + value + '\n';
    constexpr std::size_t kRoom = kLineWidth - kFileName.size() - 6;
    std::string lines;
    int number = 0;
    for (std::string_view rest = value; !rest.empty();) {
        auto length = std::min(kRoom, rest.size());
        const auto escape = rest.substr(0, length).rfind('%');
        if (length < rest.size() && escape != rest.npos && escape + 2 >= length) length = escape;
        lines += ";\n\t" + label + '*' + std::to_string(number++) + "*=";
        lines += rest.substr(0, length);
        rest.remove_prefix(length);
    }
    return lines + '\n';
}

// The name as a parameter, in the form of RFC 2231 where it needs one.
std::string FileNameParameter(std::string_view name) {
    if (!text::IsAscii(name) || name.size() > kLineWidth) return ExtendedParameter(name);
    const auto plain = static_cast<std::size_t>(std::ranges::count_if(name, IsPlainLetter));
    const std::size_t odd = name.size() - plain;
    const bool fits = kFileName.size() + name.size() + odd <= kLineWidth - 2;
    std::string parameter = fits ? "; " : ";\n\t";
    parameter += kFileName;
    parameter += odd == 0 ? "=" + std::string(name) : '=' + Quoted(name);
    return parameter + '\n';
}

// A name without folders and without what no file name holds.
std::string PlainName(const std::string& name) {
    std::string plain = name.substr(name.find_last_of("/\\") + 1);
    std::ranges::replace_if(plain, text::IsControl, '_');
    return plain.empty() ? "attachment" : plain;
}

base::Status AppendFile(std::string& out, const MessageSink& sink, platform::File& file) {
    const auto buffer = std::make_unique<char[]>(kChunk);
    std::size_t filled = 0;
    for (;;) {
        const auto got = file.Read({buffer.get() + filled, kChunk - filled});
        if (!got) return got.Error();
        filled += *got;
        if (*got > 0 && filled < kChunk) continue;
        AppendBase64Lines(out, {buffer.get(), filled});
        if (*got == 0) return {};
        if (auto taken = sink(out); !taken) return taken;
        out.clear();
        filled = 0;
    }
}

}  // namespace

base::Status AppendAttachment(std::string& out, const MessageSink& sink, const std::string& name,
                              platform::File& file) {
    const std::string plain = PlainName(name);
    out += "Content-Type: ";
    out += ContentTypeOf(plain);
    out += "\nContent-Transfer-Encoding: base64\nContent-Disposition: attachment";
    out += FileNameParameter(plain) + '\n';
    return AppendFile(out, sink, file);
}

}  // namespace host::mail
