#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

namespace test {

// A folder of its own for one test, gone with everything in it afterwards.
class TempFolder {
  public:
    TempFolder() {
        std::random_device random;
        do {
            m_path = std::filesystem::temp_directory_path() /
                     ("kvtest-" + std::to_string(random()) + std::to_string(random()));
        } while (!std::filesystem::create_directory(m_path));
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder() {
        // Windows does not remove what is read-only.
        std::error_code ignored;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_path, ignored)) {
            if (entry.is_symlink()) continue;
            std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_write,
                                         std::filesystem::perm_options::add, ignored);
        }
        std::filesystem::remove_all(m_path, ignored);
    }

    const std::filesystem::path& Path() const { return m_path; }
    std::string operator/(std::string_view name) const { return (m_path / name).string(); }

  private:
    std::filesystem::path m_path;
};

inline void WriteDisk(const std::filesystem::path& path, std::string_view content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string ReadDisk(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// A Wine prefix with a drive C and nothing in it.
class PrefixFolder {
  public:
    PrefixFolder() {
        std::filesystem::create_directory(DriveC());
        LinkDrive("c:", "../drive_c");
    }

    std::string Path() const { return m_folder.Path().string(); }
    std::filesystem::path DriveC() const { return m_folder.Path() / "drive_c"; }
    void LinkDrive(const char* drive, const std::filesystem::path& folder) const {
        std::filesystem::create_directory(m_folder / "dosdevices");
        std::filesystem::create_directory_symlink(folder, m_folder.Path() / "dosdevices" / drive);
    }
    void PutRegistry(std::string_view text) const { WriteDisk(m_folder / "system.reg", text); }

  private:
    TempFolder m_folder;
};

}  // namespace test
