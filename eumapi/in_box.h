#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "eumapi/result_code.h"
#include "mailbox/toc_records.h"
#include "platform/os/system.h"

// The in-box behind the Simple MAPI calls. Paths are Windows paths in the system code page.
namespace eumapi {

// One mail as its block in the .toc file has it.
struct IndexedMail : mailbox::MailPlace {
    std::uint32_t block = 0;  // its place in the file, counted from 0
};

// A mail of more bytes is refused with kTextTooLarge.
inline constexpr std::uint64_t kLargestMail = 256u << 20;

// The in-box of one Eudora: its mails in the order of In.toc, found by id in constant time. Of
// several blocks with one id only the first counts; uncounted and incomplete blocks do not. In.mbx
// stays open between calls while the list of mails is the same.
class InBox {
  public:
    // The folder is a path that ends in a separator.
    InBox(const platform::System& system, std::string eudoraFolder)
        : m_system(system),
          m_folder(std::move(eudoraFolder)),
          m_tocPath(m_folder + "In.toc"),
          m_mbxPath(m_folder + "In.mbx") {}

    // Reads In.toc if its size or time has changed since the last call. A missing file has no
    // mails. kNotSupported for a file of Eudora for Macintosh. A failure leaves the list as it was.
    Code Refresh();

    const std::string& Folder() const { return m_folder; }
    const std::vector<IndexedMail>& Mails() const { return m_mails; }
    // Null for an unknown id; valid until the list changes.
    const IndexedMail* Find(std::uint32_t id) const;
    // The position in Mails behind that mail, or behind the place where a mail that is gone stood.
    // Nothing for an id that was never seen.
    std::optional<std::size_t> Behind(std::uint32_t id) const;

    // The block of a mail as it stands in the file; kCorrupt if that place has another mail now.
    platform::Result<std::string> ReadBlock(const IndexedMail& mail) const;
    // The bytes of a mail, at most `most`. If its block claims more than the file has, the mail
    // ends where the next one begins or the file ends.
    platform::Result<std::string> ReadBytes(const IndexedMail& mail,
                                            std::uint64_t most = kLargestMail);
    // Closes In.mbx until it is needed again.
    void LetGo() { m_mbx.reset(); }

    // Changes an unread mail to read, in In.toc and in the list; any other state stays.
    Code MarkRead(const IndexedMail& mail);
    // Takes the mail out: Find and StayingFrom pass over it, and CarryOutRemovals moves it. Refused
    // where it could not be moved, as far as that can be told now.
    Code Remove(const IndexedMail& mail);
    // The position of the first mail from there on that was not removed; Mails().size() if there is
    // none.
    std::size_t StayingFrom(std::size_t position);
    // Moves the removed mails into the Trash: copies them in one pass, flushed, then writes In.toc
    // anew without their blocks; In.mbx keeps their bytes. After a failure each mail that was not
    // moved is in the in-box again, and a second try does not put it into the Trash twice.
    Code CarryOutRemovals();

  private:
    // Size in bytes, and time of the last change.
    using Stamp = std::pair<std::uint64_t, std::chrono::system_clock::time_point>;

    void Take(std::vector<IndexedMail> mails);
    platform::Result<std::uint64_t> LengthOf(const IndexedMail& mail);
    bool IsStaying(std::size_t position) const {
        return m_next.empty() || m_next[position] == position;
    }
    // Marks those of the blocks whose mails are in the Trash afterwards.
    Code PutIntoTrash(const std::vector<std::string>& blocks, std::vector<bool>& isThere);

    platform::System m_system;
    const std::string m_folder, m_tocPath, m_mbxPath;
    std::optional<Stamp> m_stamp;
    bool m_isSettled = false;
    std::vector<IndexedMail> m_mails;
    std::unordered_map<std::uint32_t, std::size_t> m_positions;
    // A mail that is gone -> the mail that stood before it then; nothing: it was the first.
    std::unordered_map<std::uint32_t, std::optional<std::uint32_t>> m_gone;
    std::unordered_set<std::uint32_t> m_removed;  // the first block of each id in In.toc
    // For each position in m_mails itself, or one further on before which no mail is staying, as
    // those between were removed; empty: all are staying.
    std::vector<std::size_t> m_next;
    std::unique_ptr<platform::File> m_mbx;
};

}  // namespace eumapi
