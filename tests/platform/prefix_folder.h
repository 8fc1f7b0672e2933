#pragma once

#include "tests/platform/temp_folder.h"

namespace test {

// A Wine prefix with a drive C and nothing in it.
class PrefixFolder {
  public:
    PrefixFolder() {
        std::filesystem::create_directories(m_folder.Path() / "drive_c");
        std::filesystem::create_directories(m_folder.Path() / "dosdevices");
        std::filesystem::create_directory_symlink("../drive_c", m_folder.Path() / "dosdevices/c:");
    }

    std::string Path() const { return m_folder.Path().string(); }
    std::filesystem::path DriveC() const { return m_folder.Path() / "drive_c"; }
    void PutRegistry(std::string_view text) const {
        WriteDisk(m_folder.Path() / "system.reg", text);
    }

  private:
    TempFolder m_folder;
};

}  // namespace test
