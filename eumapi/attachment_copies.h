#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "eumapi/result_code.h"
#include "platform/os/system.h"

namespace eumapi {

// The part of a path that can be the name of a file of its own; empty if there is none: it is taken
// from a mail, and must lead nowhere.
std::string PlainFileName(std::string_view path, unsigned codePage);

struct AttachmentCopy {
    std::string path;  // of the copy
    std::string name;  // that the attachment bears
};

// Copies of a mail's attachments in the system's temporary folder. Whoever gets the mail deletes
// them; as long as nobody does, the destructor does.
class AttachmentCopies {
  public:
    AttachmentCopies(const platform::System& system, std::string eudoraFolder)
        : m_system(system), m_folder(std::move(eudoraFolder)) {}
    AttachmentCopies(const AttachmentCopies&) = delete;
    AttachmentCopies& operator=(const AttachmentCopies&) = delete;
    ~AttachmentCopies();

    // Copies the file that an attachment line names; if there is none, that of the same name in
    // Eudora's folder Attach, for a Eudora that was moved. `isPresent` says whether there was one.
    // Only files on a drive count: a mail must not make us talk to another machine.
    Code Add(std::string_view linePath, bool& isPresent);
    // Makes an empty file, which WriteTo fills.
    Code AddEmpty(std::string name);
    Code WriteTo(std::size_t file, std::string_view content);

    const std::vector<AttachmentCopy>& Files() const { return m_copies; }
    void HandOver() { m_isHandedOver = true; }

  private:
    std::string FindSource(std::string_view linePath) const;
    platform::Result<std::string> MakeFile(std::string name);

    platform::System m_system;
    std::string m_folder;
    std::vector<AttachmentCopy> m_copies;
    bool m_isHandedOver = false;
};

}  // namespace eumapi
