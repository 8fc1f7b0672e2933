#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "mailbox/toc_records.h"
#include "platform/os/files.h"

// Reading .toc files (docs/formats/toc.md). Nothing in a file is trusted.
namespace mailbox {

// Reads the header from the beginning of a .toc file; what the file lacks counts as zero.
platform::Result<TocHeader> ReadTocHeader(platform::File& toc);

// The same for a file that will be changed: kCorrupt if it is no table of contents of Eudora for
// Windows.
platform::Result<TocHeader> ReadTocHeaderToChange(platform::File& toc);

// The number of mails in the header of the .toc file at that path, in the form of `files`; 0 if
// there is no such file.
platform::Result<std::size_t> CountMails(platform::Files& files, std::string_view tocPath);

// Whether the two files are of one mailbox: `separator` stands where the first block says that its
// mail begins. True for a mailbox without mails.
platform::Result<bool> BelongTogether(platform::File& mbx, platform::File& toc,
                                      std::string_view separator);

// A table of contents as a whole. The count of its header is that of its mails.
struct Toc {
    TocHeader header;
    std::vector<MailPlace> mails;
};
// Reads a whole .toc file; an incomplete last block is left out. kNotSupported for a file of Eudora
// for Macintosh.
platform::Result<Toc> ReadToc(platform::File& toc);

// The first `count` blocks of a .toc file; a block that the file lacks is all zero.
platform::Result<std::vector<MailPlace>> ReadPlaces(platform::File& toc, std::uint32_t count);

// Writes bytes at a position, counted from the beginning of the file; any part may be written after
// a failure.
platform::Status WriteAt(platform::File& file, std::uint64_t position, std::string_view bytes);

}  // namespace mailbox
