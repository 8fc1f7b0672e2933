#pragma once

#include <functional>

#include "host/base/failure.h"
#include "host/contacts/contact_store.h"
#include "host/vcard/card.h"
#include "platform/os/clock.h"
#include "platform/os/files.h"

namespace host::contacts {

// A folder with one vCard in each file *.vcf; everything else in it is left alone. The id is the
// file's name, the marker its size and time. Each change is made in a side file, whose name other
// programs pass over, and takes effect in one step.
class VdirContacts : public ContactStore {
  public:
    // `newUid` gives a new unique name of letters, digits and hyphens at each call.
    VdirContacts(platform::Files& files, std::string folder, platform::Clock& clock,
                 std::function<std::string()> newUid)
        : m_files(files),
          m_folder(std::move(folder)),
          m_clock(clock),
          m_newUid(std::move(newUid)) {}

    // A folder that is not there counts as empty; the first change makes it. What is no regular
    // file is listed, but Read gives kNotRegular.
    base::Result<std::vector<base::StoreItem>> List() override;
    // kRefused, with file and line, for what is no single vCard.
    base::Result<StoredContact> Read(const std::string& id) override;
    std::optional<std::chrono::system_clock::time_point> ChangedAt(
        const base::StoreItem& item) const override;
    base::Contact Hold(const base::Contact& contact) const override;
    base::Result<std::string> Add(const base::Contact& values, const std::string& like) override;
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
    std::vector<std::string> m_leftovers;  // side files of runs that were cut off
};

// A random name in the form of a UUID.
std::string NewUuid();

}  // namespace host::contacts
