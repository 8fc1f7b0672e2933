#include "host/mail/mail.h"

#include <algorithm>

#include "text/ascii.h"

namespace host::mail {

namespace {

std::string Printable(std::string text) {
    std::ranges::replace_if(text, text::IsControl, ' ');
    return text;
}

}  // namespace

std::string MailName(std::string subject, std::string from) {
    subject = Printable(std::move(subject));
    if (subject.empty()) subject = "(no subject)";
    return from.empty() ? subject : subject + " from " + Printable(std::move(from));
}

}  // namespace host::mail
