#pragma once

#include <functional>
#include <unordered_map>

#include "host/base/failure.h"
#include "host/contacts/contact_store.h"
#include "host/vcard/card.h"
#include "platform/os/clock.h"
#include "platform/os/files.h"

// The folder's side of a contact sync. Paths are native, in UTF-8.
namespace host::contacts {

// A folder with one vCard in each file *.vcf, in any case; hidden and other files are left alone.
// An id is the file's name; a marker is its size in bytes and its time in nanoseconds. Each change
// is written to a hidden side file and takes effect in one step; side files of interrupted runs are
// removed.
class VdirContacts : public ContactStore {
  public:
    // `newUid` gives a new unique name of letters, digits and hyphens at each call. New cards are
    // of version "4.0" or "3.0". `files` and `clock` outlive the store.
    VdirContacts(platform::Files& files, std::string folder, platform::Clock& clock,
                 std::function<std::string()> newUid, std::string cardVersion = "4.0")
        : m_files(files),
          m_folder(std::move(folder)),
          m_clock(clock),
          m_newUid(std::move(newUid)),
          m_cardVersion(std::move(cardVersion)) {}

    // By name, so that numbers behind nicknames that clash do not hang on the file system. A
    // missing folder counts as empty; the first Add makes it. What is no regular file is listed,
    // and Read gives kNotRegular for it.
    base::Result<std::vector<base::StoreItem>> List() override;
    // kRefused, with file and line, for a file that is no vCard of version 3.0 or 4.0; kNotRegular
    // for an empty one and one with several; kTooLarge above 64 MB.
    base::Result<StoredContact> Read(const std::string& id) override;
    std::optional<std::chrono::system_clock::time_point> ChangedAt(
        const base::StoreItem& item) const override;
    void Expect(const std::string& id, const base::Contact& seen) override { m_seen[id] = seen; }
    base::Contact Hold(const base::Contact& contact) const override;
    std::string NewId() override;
    base::Result<std::string> Add(const std::string& id, const base::Contact& values,
                                  const std::string& like) override;
    base::Result<std::string> Change(const base::StoreItem& known, const base::Contact& values,
                                     base::FieldSet which) override;
    base::Status Remove(const base::StoreItem& known) override;

  private:
    std::string PathOf(const std::string& name) const;
    base::Result<std::string> Look(const std::string& name);
    base::Result<std::string> ReadCard(const std::string& name);
    base::Result<std::string> ReadUnchanged(const base::StoreItem& known);
    // Writes a card with these fields; gives its name.
    base::Result<std::string> Put(const std::string& name, vcard::Card card,
                                  const base::Contact& values, base::FieldSet which);

    platform::Files& m_files;
    std::string m_folder;
    platform::Clock& m_clock;
    std::function<std::string()> m_newUid;
    std::string m_cardVersion;
    std::unordered_map<std::string, base::Contact> m_seen;  // last, by name
    std::vector<std::string> m_leftovers;                   // side files of runs that were cut off
};

}  // namespace host::contacts
