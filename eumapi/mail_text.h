#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace eumapi {

// The bytes of a mailbox's mail taken apart: separator line, header, body. Anything is accepted; a
// mail without an empty line is all header. The object points into the bytes, which outlive it.
class MailText {
  public:
    explicit MailText(std::string_view bytes);

    // The line "From ???@??? ..." without its line end; empty if the mail does not begin with it.
    std::string_view Separator() const { return m_separator; }
    // The value of the first field of that name, in any case, unfolded and trimmed.
    std::optional<std::string> Field(std::string_view name) const;
    // The values of all fields of that name, with commas between them.
    std::string AllFields(std::string_view name) const;
    // What stands behind the empty line, with bare LF line ends.
    std::string Body() const;
    // Whether the header's end is in the bytes.
    bool HasBody() const { return m_hasBody; }

  private:
    struct HeaderField {
        std::string_view name, value;  // folded as it stands
    };
    void TakeHeaderLine(std::string_view line);

    std::string_view m_separator, m_body;
    std::vector<HeaderField> m_fields;
    bool m_hasBody = false;
};

}  // namespace eumapi
