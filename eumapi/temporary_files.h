#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "eumapi/result_code.h"
#include "platform/os/system.h"

namespace eumapi {

struct AttachmentCopy {
    std::string path;  // of the copy
    std::string name;  // that the attachment bears
};

// Copies of a mail's attachments in the system's temporary folder. Whoever gets the mail deletes
// them; as long as nobody does, the destructor does.
class AttachmentCopies {
  public:
    explicit AttachmentCopies(const platform::System& system) : m_system(system) {}
    AttachmentCopies(const AttachmentCopies&) = delete;
    AttachmentCopies& operator=(const AttachmentCopies&) = delete;
    ~AttachmentCopies();

    // Copies a file. `isPresent` says whether it could be read: one that cannot is as good as none.
    Code Add(const std::string& source, std::string name, bool& isPresent);
    // Makes an empty file, which WriteTo fills.
    Code AddEmpty(std::string name);
    Code WriteTo(std::size_t file, std::string_view content);

    std::vector<AttachmentCopy>& Files() { return m_copies; }
    void HandOver() { m_isHandedOver = true; }

  private:
    void DropLast();

    platform::System m_system;
    std::vector<AttachmentCopy> m_copies;
    bool m_isHandedOver = false;
};

// Stands for a run that lives: a file that every run holds open, and the last one deletes.
class RunMark {
  public:
    // Deletes what killed runs left of their copies, unless another run lives.
    explicit RunMark(const platform::System& system);
    RunMark(const RunMark&) = delete;
    RunMark& operator=(const RunMark&) = delete;
    ~RunMark();

  private:
    void Hold();

    platform::System m_system;
    std::string m_path;
    std::unique_ptr<platform::File> m_mark;
};

}  // namespace eumapi
