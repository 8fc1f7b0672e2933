#include "host/maildir/message_header.h"

#include "text/ascii.h"
#include "text/mail_view.h"

namespace host::maildir {

namespace {

std::string IdOf(std::string_view value) {
    const auto open = value.find('<');
    const auto close = open == std::string_view::npos ? open : value.find('>', open);
    if (close == std::string_view::npos) return std::string(text::Trimmed(value));
    return std::string(text::Trimmed(value.substr(open + 1, close - open - 1)));
}

}  // namespace

std::string MessageIdInHeader(std::string_view message) {
    text::MailView mail(message);
    // A line without an end may lack a part of its value.
    if (!mail.HasBody()) mail = text::MailView(message.substr(0, message.rfind('\n') + 1));
    return IdOf(mail.Field("Message-ID").value_or(""));
}

base::Result<std::string> ReadHeader(platform::Files& files, const std::string& path) {
    auto file = files.Open(path, platform::OpenMode::kRead, platform::Share::kReadWrite);
    if (!file) return file.Error();
    constexpr std::size_t kBlock = 4096;
    std::string text;
    while (text.size() < kLargestHeader && !text::MailView(text).HasBody()) {
        const auto filled = text.size();
        text.resize(filled + kBlock);
        auto count = (*file)->Read({text.data() + filled, kBlock});
        if (!count) return count.Error();
        text.resize(filled + *count);
        if (*count < kBlock) break;
    }
    return text;
}

}  // namespace host::maildir
