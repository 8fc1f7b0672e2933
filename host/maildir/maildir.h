#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/failure.h"
#include "platform/os/clock.h"
#include "platform/os/files.h"

// Maildirs and the names of their files (https://cr.yp.to/proto/maildir.html).
namespace host::maildir {

inline bool HasFlag(std::string_view flags, char flag) {
    return flags.find(flag) != flags.npos;
}
// The flags with one of them set or not, in ASCII order, each once.
std::string WithFlag(std::string_view flags, char flag, bool isSet);

// How many bytes of a file are read in search of its header's end.
inline constexpr std::size_t kLargestHeader = 64 * 1024;

// The Message-ID in the header of a message, without its angle brackets; empty if it has none.
// Line ends may be LF or CR LF, the field may be folded, its name in any case; what stands behind
// the header does not matter. Of a header that is cut off only whole fields count.
std::string MessageIdInHeader(std::string_view message);

// A file in a Maildir, by its name: "UNIQUE:2,FLAGS", or "UNIQUE!2,FLAGS" where names take no
// colon. A name with another info part has no flags.
struct MaildirEntry {
    std::string unique;  // the file's name without its info part: what it is remembered by
    std::string name;    // the whole file name
    std::string flags;   // letters behind ":2,", in ASCII order
    bool isNew = false;  // lies in new/, not in cur/
    // A folder of that name, or a link to one, is no mail. In the place of a mail it tells that
    // nobody removed that.
    bool isFolder = false;
};
MaildirEntry EntryNamed(std::string name, bool isNew);

// A Maildir on which other programs work at the same time. Paths are native, in UTF-8; `files` and
// `clock` outlive the object. The info part of new names begins with "!2," on Windows, and from the
// first refused colon on.
class Maildir {
  public:
    Maildir(platform::Files& files, platform::Clock& clock, std::string folder);

    // Makes what is missing of the folder and its cur, new and tmp.
    base::Status Create();
    // All mails and folders in new and cur, each once, in no order. What is hidden is passed over;
    // a missing Maildir is empty. A file that another program renames meanwhile may be missed.
    base::Result<std::vector<MaildirEntry>> List();
    // A unique name: time, counter, process number and random digits.
    std::string NewName();
    // Lets `write` fill a file in tmp, and gives its size; after a failure there is none.
    base::Result<std::uint64_t> Write(const std::string& unique,
                                      const std::function<base::Status(platform::File&)>& write);
    // Moves a written file from tmp to cur (with flags) or new (without): a reader sees it whole or
    // not at all. Durable after Settle. After a failure the file is deleted.
    base::Status Deliver(const std::string& unique, std::string_view flags);
    // Removes the file of that name from tmp, if there is one.
    void Discard(const std::string& unique);
    // Renames so that exactly these flags are set; kNotFound if the file is gone. Durable after
    // Settle.
    base::Status SetFlags(const MaildirEntry& entry, std::string_view flags);
    base::Status Remove(const MaildirEntry& entry);
    // Moves a mail with these flags into another, existing Maildir on the same file system. Durable
    // after a Settle of that one.
    base::Status MoveInto(Maildir& other, const MaildirEntry& entry, std::string_view flags);
    // The whole mail; kTooLarge above `limit` bytes.
    base::Result<std::string> Read(const MaildirEntry& entry, std::uint64_t limit);
    // The beginning of a mail: its header, as far as kLargestHeader, and the rest of a block.
    base::Result<std::string> ReadHeader(const MaildirEntry& entry);
    // Returns when all of the above is on the disk. `delivered` lists the deliveries since the last
    // call, which are flushed one by one where the system cannot flush all at once.
    base::Status Settle(const std::vector<MaildirEntry>& delivered);

    // In bytes; kNotFound if the file is gone.
    base::Result<std::uint64_t> SizeOf(const MaildirEntry& entry);

    // The entry under which Deliver puts a mail.
    MaildirEntry EntryOf(const std::string& unique, std::string_view flags) const;
    std::string PathOf(const MaildirEntry& entry) const;

  private:
    std::string Path(const char* folder, std::string_view name) const;
    base::Status MoveTo(const std::string& from, const std::string& unique, std::string_view flags);

    platform::Files& m_files;
    platform::Clock& m_clock;
    std::string m_folder;
    std::string m_suffix;     // of each new name: this object's own
    std::string m_infoStart;  // ":2," or "!2,"
    unsigned m_count = 0;
};

}  // namespace host::maildir
