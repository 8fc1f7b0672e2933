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
    // Reads the mailbox, whose files are made if they are missing, and gives how many mails its
    // header counts. The names of waiting mails stay. After a failure, which is told in a message,
    // the names are as before, but new mails get no ids until the next Read: a number could be that
    // of a mail that is there.
    std::optional<std::uint32_t> Read(CEudoraTransUtil& util);
    bool CanGive() const { return m_canGive; }

    // Names a new mail by the next number that none has. Gives its index id.
    std::string Give(std::string_view messageId);
    // Nothing for a mail that is unknown here, or has no "To: " and so no place in an index.
    std::optional<std::string> MessageIdOf(std::string_view indexId) const;
    // All index ids that have a Message-ID, and these, for the log.
    void LogAll() const;

    void Forget(std::string_view indexId);
    // Forgets all but the records of a queue: their texts and the numbers after them need them.
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
