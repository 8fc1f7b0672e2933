#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "mailbox/toc_records.h"
#include "platform/os/files.h"

// What there is to ask of a .toc file. Nothing in it is trusted.
namespace mailbox {

// Reads the header from the beginning of a .toc file; what the file lacks counts as zero.
platform::Result<TocHeader> ReadTocHeader(platform::File& toc);

// The same before the file is changed: kCorrupt if it is no table of contents of Eudora for
// Windows, as docs/formats/toc.md tells.
platform::Result<TocHeader> ReadTocHeaderToChange(platform::File& toc);

// How many mails the header of the .toc file at that path counts; 0 if there is no such file.
platform::Result<std::size_t> CountMails(platform::Files& files, std::string_view tocPath);

// Whether `separator` stands where the first block says that its mail begins; true for a mailbox
// without mails. Two files that fail this are those of different mailboxes.
platform::Result<bool> BelongTogether(platform::File& mbx, platform::File& toc,
                                      std::string_view separator);

// A table of contents as a whole. The count of its header is that of its mails.
struct Toc {
    TocHeader header;
    std::vector<MailPlace> mails;
};
// Reads a whole .toc file; a block that the file cuts short is none. kNotSupported for a file of
// Eudora for Macintosh.
platform::Result<Toc> ReadToc(platform::File& toc);

// The first `count` blocks of a .toc file; a block that the file lacks is all zero.
platform::Result<std::vector<MailPlace>> ReadPlaces(platform::File& toc, std::uint32_t count);

// Writes bytes at a position, counted from the beginning of the file.
platform::Status WriteAt(platform::File& file, std::uint64_t position, std::string_view bytes);

}  // namespace mailbox
