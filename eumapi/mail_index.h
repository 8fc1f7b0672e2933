#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "eumapi/result_code.h"
#include "mailbox/toc_records.h"
#include "platform/os/system.h"

namespace eumapi {

// One mail as its block in a .toc file has it.
struct IndexedMail : mailbox::MailPlace {
    std::uint32_t block = 0;  // its place in the file, counted from 0
};

// The mails of one .toc file in the file's order, found by id at a cost that does not depend on
// their number. Of several blocks with one id the first counts: an id names one mail. A block that
// the file's count leaves out or that the file cuts short is none.
class MailIndex {
  public:
    // The system outlives this object.
    MailIndex(const platform::System& system, std::string tocPath)
        : m_system(system), m_path(std::move(tocPath)) {}

    // Reads the file if it changed since the last call, which one look at its size and time tells.
    // A missing file has no mails. kNotSupported for a file of Eudora for Macintosh; after a
    // failure the mails are those of before.
    Code Refresh();

    const std::string& Path() const { return m_path; }
    const std::vector<IndexedMail>& Mails() const { return m_mails; }
    // Another number after each time that the file was read.
    unsigned Version() const { return m_version; }
    const IndexedMail* Find(std::uint32_t id) const;
    // The position in Mails of what stands behind that mail. For a mail that was there at an
    // earlier time, of what stood behind it; nothing for an id that was never seen.
    std::optional<std::size_t> Behind(std::uint32_t id) const;

    // Changes the state of a mail, in the file too, from unread to read.
    Code MarkRead(const IndexedMail& mail);
    // The block of a mail as it stands in the file; kCorrupt if that place has another mail now.
    platform::Result<std::string> ReadBlock(const IndexedMail& mail) const;

  private:
    struct Stamp {
        std::uint64_t size = 0;
        std::chrono::system_clock::time_point modified;
        bool operator==(const Stamp&) const = default;
    };

    std::optional<Stamp> Look(Code& code) const;
    Code Load();
    void Take(std::vector<IndexedMail> mails);

    platform::System m_system;
    std::string m_path;
    std::optional<Stamp> m_stamp;
    bool m_isSettled = false;
    unsigned m_version = 0;
    std::vector<IndexedMail> m_mails;
    std::unordered_map<std::uint32_t, std::size_t> m_positions;
    // A mail that is gone -> the mail that stood before it then; nothing: it was the first.
    std::unordered_map<std::uint32_t, std::optional<std::uint32_t>> m_gone;
};

}  // namespace eumapi
