#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "eumapi/result_code.h"
#include "mailbox/toc_records.h"
#include "platform/os/not_copied.h"
#include "platform/os/system.h"

namespace eumapi {

// A mailbox of Eudora's that mails are added to. While it is open no other program writes it. Its
// content stays, also bytes of the .mbx file that belong to no block; uncounted blocks of the .toc
// file are overwritten. What was read of it serves each later Open that finds it as Close left it.
class Mailbox {
  public:
    // `folder` is Eudora's, a Windows path ending in a backslash.
    Mailbox(const platform::System& system, const std::string& folder,
            const mailbox::MailboxKind& kind)
        : m_system(system),
          m_kind(kind),
          m_mbxPath(folder + std::string(kind.name) + ".mbx"),
          m_tocPath(folder + std::string(kind.name) + ".toc") {}

    // Makes missing files. Refuses, without writing, a .toc file of Eudora for Macintosh
    // (kNotSupported), a file with content whose partner is missing, and files that do not belong
    // together (kFailure). What follows is for an open mailbox.
    Code Open();
    void Close() noexcept;

    // A number that no mail here has: the next above the highest, as long as there is one.
    std::uint32_t FreeId() const;
    bool HasId(std::uint32_t id) const { return m_mails.contains(id); }
    // Whether a mail of that id and with those bytes is here.
    platform::Result<bool> Contains(std::uint32_t id, std::string_view text);

    // Appends the text of the n-th mail, counted from 0, to `out`; a failure ends the run before
    // that mail.
    using MakeText = std::function<Code(std::size_t n, std::string& out)>;
    // The mails of an append that are stored, the first ones, and why the next one is not.
    struct Appended {
        std::size_t count = 0;
        Code code = mapi::kSuccess;
        bool isOfText = false;  // the code is of MakeText
    };
    // Appends one mail for each block, in one pass; offset and length in the blocks are filled in.
    // The count changes last, after all else is on the disk. Each mail is stored in full or not at
    // all; bytes behind the stored ones are removed if the disk allows.
    Appended Append(std::span<const std::string> blocks, const MakeText& makeText);

  private:
    // Sizes in bytes, and the time of the table's last change.
    struct Stamp {
        std::uint64_t mbxSize = 0, tocSize = 0;
        std::chrono::system_clock::time_point modified;
        bool operator==(const Stamp&) const = default;
    };
    struct Place {
        std::uint32_t offset = 0, length = 0;
    };

    std::optional<Stamp> ReadStamp() const;
    Code OpenFiles();
    Code BeginTable();
    Code ReadTable();
    void Take(const mailbox::MailPlace& mail);
    void TakeAll(const std::vector<mailbox::MailPlace>& mails) noexcept;

    platform::System m_system;
    const mailbox::MailboxKind m_kind;
    const std::string m_mbxPath, m_tocPath;
    std::unique_ptr<platform::File> m_mbx, m_toc;
    bool m_isKnown = false;       // what the members below tell holds for the files
    std::optional<Stamp> m_left;  // by Close
    mailbox::TocHeader m_header;
    std::uint64_t m_mbxSize = 0;                            // bytes
    std::unordered_multimap<std::uint32_t, Place> m_mails;  // by id
    std::uint32_t m_highestId = 0;
};

// Closes a mailbox at the end of a scope, whether it could be opened or not.
class ClosedAtEnd : platform::NotCopied {
  public:
    explicit ClosedAtEnd(Mailbox& mailbox) : m_mailbox(mailbox) {}
    ~ClosedAtEnd() { m_mailbox.Close(); }

  private:
    Mailbox& m_mailbox;
};

}  // namespace eumapi
