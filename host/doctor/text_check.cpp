#include "host/doctor/text_check.h"

#include "host/base/contact.h"
#include "platform/os/code_page.h"

namespace host::doctor {

bool TextCheck::IsText(std::string_view text) const {
    return !base::HasStrangeCharacters(platform::ToUtf8(text, m_codePage));
}

void TextCheck::Add(std::string_view text, bool isCut) {
    if (text.empty()) return;
    ++m_texts;
    const bool isText = IsText(text) || (isCut && IsText(text.substr(0, text.size() - 1)));
    if (!isText) ++m_strange;
}

}  // namespace host::doctor
