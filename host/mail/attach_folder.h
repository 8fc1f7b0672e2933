#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/base/failure.h"
#include "host/mail/mail.h"
#include "platform/os/files.h"
#include "platform/os/not_copied.h"

// The two folders through which attachments go into Eudora.
namespace host::mail {

// The folder in which Eudora keeps attachments. The translator lengthens a name that is taken with
// each copy, until none fits; so this object chooses free names for the copies. Names are in the
// system code page.
class AttachFolder {
  public:
    // `folder` is a Windows path in that code page, which `files` takes like those of attachments,
    // and need not exist. `files` outlives this.
    AttachFolder(platform::Files& files, std::string folder, unsigned codePage);

    // Names the copies of a mail's attachments: as the attachment is named where that is free,
    // else with the first free number behind ("image001-2.png"). No name is given out twice. The
    // folder is listed once.
    void ChooseNames(std::vector<NewAttachment>& attachments);

    // Removes the copies, whole or in part, that an interrupted run made of these attachments under
    // these names, and the attachments' own files. A copy with other content stays. Failures are
    // ignored.
    void TakeBack(const std::vector<std::string>& names,
                  const std::vector<NewAttachment>& attachments);

  private:
    std::string FreeName(const std::string& name);
    bool Take(const std::string& name);
    bool IsPartOf(const std::string& copy, const std::string& whole);

    platform::Files& m_files;
    std::string m_folder;  // ends in a separator
    unsigned m_codePage;
    bool m_isListed = false;
    std::unordered_set<std::string> m_taken;                 // lower case
    std::unordered_map<std::string, unsigned> m_lastNumber;  // the same
};

// A private folder with a name that nobody can guess, in the temporary folder of the module's
// machine, for files on their way into Eudora. The destructor removes it with its files.
class IncomingFolder : platform::NotCopied {
  public:
    // `key` is a part of the name that is the same for each run on one Eudora. Folders of earlier
    // runs with this key are removed, so only one run at a time may use it.
    static base::Result<std::unique_ptr<IncomingFolder>> Create(const std::string& key);
    ~IncomingFolder();

    const std::string& Path() const { return m_path; }  // a Windows path, as the module takes it

  private:
    explicit IncomingFolder(std::string path) : m_path(std::move(path)) {}

    std::string m_path;
};

}  // namespace host::mail
