#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/os/system.h"

namespace eumapi {

// Deletes a file on the way out of something that may have failed: throws nothing.
void DeleteQuietly(platform::Files& files, const std::string& path) noexcept;

// How the names of the copies begin that mails are read into, in the system's temporary folder.
inline constexpr std::string_view kTemporaryPrefix = "eua";

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
