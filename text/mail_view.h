#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace text {

// Takes the first field off a header, continuation lines included (RFC 5322, section 2.2.3). A line
// without a colon is taken off in the same way and is no field.
std::string_view TakeField(std::string_view& header);

// The parts of a mail: separator line of a mailbox file, header, body. Any bytes are accepted; a
// mail without an empty line is all header. It points into the bytes, which outlive it.
class MailView {
  public:
    explicit MailView(std::string_view bytes);

    // The line "From ???@??? ..." without its line end; empty if the mail does not begin with it.
    std::string_view Separator() const { return m_separator; }
    // The value of the first field of that name, in any case, trimmed; a line break in it and the
    // blanks behind it are one blank.
    std::optional<std::string> Field(std::string_view name) const;
    // The values of all fields of that name, with ", " between them.
    std::string AllFields(std::string_view name) const;
    // The lines between the separator line and the empty line.
    std::string_view Header() const { return m_header; }
    // The bytes behind the empty line.
    std::string_view Body() const { return m_body; }
    // Whether the header's end is in the bytes.
    bool HasBody() const { return m_hasBody; }

  private:
    std::string_view m_separator, m_header, m_body;
    bool m_hasBody = false;
};

}  // namespace text
