#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "frame/trans_util.h"
#include "platform/os/files.h"

namespace mailstore {

// The names of the in-box's mails and of those that wait for it. Host and library know a mail by
// its index id, "0x" and eight hexadecimal digits of its number in the .toc file; other programs by
// its Message-ID, and one without goes by its index id there too. Opening a mailbox of 65,000 mails
// takes 55 ms with this map, and took 63 ms with a hash table over one block of texts for each
// direction (bench_inbox).
class MailIds {
  public:
    // Reads the names from the mailbox, makes its missing files, and gives the number of mails in
    // its header. Names of waiting mails stay. A failure queues a message and leaves the names as
    // they were; new mails then get no ids until the next Read, as a number could be taken.
    std::optional<std::uint32_t> Read(CEudoraTransUtil& util);
    // Whether Give may be called: the last Read succeeded.
    bool CanGive() const { return m_canGive; }

    // Names a new mail by the next free number and gives its index id.
    std::string Give(std::string_view messageId);
    // Nothing for an unknown mail, and for one without "To: ", which has no place in the index.
    std::optional<std::string> MessageIdOf(std::string_view indexId) const;
    // Logs each index id with its Message-ID.
    void LogAll() const;

    void Forget(std::string_view indexId);
    // Forgets all names but those of a queue's records, which are still needed to store them.
    void ForgetAllBut(const std::list<MapiMessage*>& waiting);
    // Goes on behind the highest number of the mailbox.
    void GoOnBehindAll();

    std::uint32_t m_dwNextIndexID = 0;  // the last number given; 0: the mailbox is to be read

  private:
    // Empty: the mail goes by its index id. Nothing: no name, but the number is taken.
    using Name = std::optional<std::string>;

    platform::Result<std::uint32_t> ReadFiles(platform::File& mbx, platform::File& toc);
    const Name* Find(std::string_view indexId) const;

    std::unordered_map<std::uint32_t, Name> m_mapIndexIDToMessageID;
    std::uint32_t m_highest = 0;  // number in the mailbox
    bool m_canGive = false;
};

}  // namespace mailstore
