#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Reads a mailbox as docs/formats/mbx.md and toc.md tell, with nothing of the code that writes one.
namespace mailbox_check {

struct Rules {
    // From this mail on, counted from 0, the mails must be as the translator writes them: to the
    // byte, without a gap between them and in front of them. Before it they need only make sense.
    std::uint32_t ours = 0xFFFFFFFF;
    // After a run that was killed: bytes and blocks that nothing counts, and gaps before the mails
    // of a later run.
    bool mayHaveLeftovers = false;
    // Whether the file of an attachment line exists. Null: not asked.
    std::function<bool(const std::string& path)> exists;
};

struct Mail {
    std::uint32_t offset = 0, length = 0, seconds = 0, id = 0;
    std::uint16_t state = 0;
    std::string date, from, subject;  // of the block
    std::string text;
    std::vector<std::string> attachments;  // paths in the lines at the end of the text
};

struct Report {
    std::vector<Mail> mails;
    std::vector<std::string> faults;  // a line for each, "mail 3: ..."
};

Report Check(std::string_view mbx, std::string_view toc, const Rules& rules);

}  // namespace mailbox_check
