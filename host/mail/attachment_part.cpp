#include "host/mail/attachment_part.h"

#include <memory>

#include <gmime/gmime.h>

#include "host/mail/content_type.h"
#include "host/mail/transfer_encoding.h"

namespace host::mail {

namespace {

constexpr std::size_t kChunk = 57 * 1024;  // whole lines of base64

// The name as a parameter in the form of RFC 2231 where it needs one.
std::string FileNameParameter(const std::string& name) {
    const std::unique_ptr<GMimeParamList, decltype(&g_object_unref)> list(g_mime_param_list_new(),
                                                                          g_object_unref);
    g_mime_param_list_set_parameter(list.get(), "filename", name.c_str());
    g_mime_param_set_charset(g_mime_param_list_get_parameter(list.get(), "filename"), "UTF-8");
    GString* const text = g_string_new(nullptr);
    g_mime_param_list_encode(list.get(), nullptr, TRUE, text);
    std::string parameter(text->str, text->len);
    g_string_free(text, TRUE);
    return parameter;
}

// A name without folders and without what no file name holds.
std::string PlainName(const std::string& name) {
    std::string plain = name.substr(name.find_last_of("/\\") + 1);
    for (char& letter : plain) {
        if (static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F) letter = '_';
    }
    return plain.empty() ? "attachment" : plain;
}

platform::Status AppendFile(std::string& out, const MessageSink& sink, platform::File& file) {
    Base64Stream stream(out);
    const auto buffer = std::make_unique<char[]>(kChunk);
    for (;;) {
        const auto got = file.Read({buffer.get(), kChunk});
        if (!got) return got.Error();
        if (*got == 0) break;
        stream.Add({buffer.get(), *got});
        if (auto taken = sink(out); !taken) return taken;
        out.clear();
    }
    stream.Finish();
    return {};
}

}  // namespace

platform::Status AppendAttachment(std::string& out, const MessageSink& sink,
                                  const std::string& name, platform::File& file) {
    const std::string plain = PlainName(name);
    out += "Content-Type: ";
    out += ContentTypeOf(plain);
    out += "\nContent-Transfer-Encoding: base64\nContent-Disposition: attachment";
    out += FileNameParameter(plain);
    if (!out.ends_with('\n')) out += '\n';
    out += '\n';
    return AppendFile(out, sink, file);
}

}  // namespace host::mail
