#include "host/mail/mail.h"

#include <algorithm>

namespace host::mail {

namespace {

std::string Printable(std::string text) {
    std::ranges::replace_if(
        text,
        [](char letter) { return static_cast<unsigned char>(letter) < ' ' || letter == 0x7F; },
        ' ');
    return text;
}

}  // namespace

std::string MailName(std::string subject, std::string from) {
    subject = Printable(std::move(subject));
    if (subject.empty()) subject = "(no subject)";
    return from.empty() ? subject : subject + " from " + Printable(std::move(from));
}

}  // namespace host::mail
