#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "eumapi/result_code.h"
#include "platform/os/not_copied.h"
#include "platform/os/system.h"

// Files for callers of MAPIReadMail in the system's temporary folder. Paths are Windows paths in
// the system code page.
namespace eumapi {

struct AttachmentCopy {
    std::string path;  // of the copy
    std::string name;  // that the attachment bears
};

// Copies of a mail's attachments. The destructor deletes them; after HandOver they belong to the
// caller of MAPIReadMail.
class AttachmentCopies : platform::NotCopied {
  public:
    explicit AttachmentCopies(const platform::System& system) : m_system(system) {}
    ~AttachmentCopies();

    // Copies a file. An unreadable file counts as missing: `isPresent` is false and the code is
    // success.
    Code Add(const std::string& source, std::string name, bool& isPresent);
    // Makes an empty file, which WriteTo fills.
    Code AddEmpty(std::string name);
    Code WriteTo(std::size_t file, std::string_view content);

    std::vector<AttachmentCopy>& Files() { return m_copies; }
    // From now on the copies belong to the caller of MAPIReadMail.
    void HandOver() { m_isHandedOver = true; }

  private:
    void DropLast();

    platform::System m_system;
    std::vector<AttachmentCopy> m_copies;
    bool m_isHandedOver = false;
};

// Marks a living run by a file that every run holds open and the last one deletes.
class RunMark : platform::NotCopied {
  public:
    // Deletes the copies that killed runs left, unless another run lives.
    explicit RunMark(const platform::System& system);
    ~RunMark();

  private:
    void Hold();

    platform::System m_system;
    std::string m_path;
    std::unique_ptr<platform::File> m_mark;
};

}  // namespace eumapi
