#include "host/eudora/shadow_folder.h"

#include <algorithm>
#include <filesystem>

#include "host/base/failure.h"
#include "host/base/native_path.h"
#include "text/ascii.h"

namespace host::eudora {

namespace fs = std::filesystem;

namespace {

base::Status StatusOf(const std::error_code& error, const fs::path& path) {
    if (!error) return {};
    return base::Refused(base::FromPath(path) + " cannot be made: " + error.message(),
                         "check the temporary folder");
}

// A link to a folder becomes a folder of links to what that one holds.
base::Status Unfold(const fs::path& path) {
    std::error_code error;
    if (!fs::is_symlink(path, error)) return {};
    const fs::path real = fs::canonical(path, error);
    if (error) return StatusOf(error, path);
    fs::remove(path, error);
    fs::create_directory(path, error);
    if (error) return StatusOf(error, path);
    for (const auto& entry : fs::directory_iterator(real, error)) {
        fs::create_symlink(entry.path(), path / entry.path().filename(), error);
        if (error) return StatusOf(error, path);
    }
    return StatusOf(error, path);
}

// The name that `folder` has for it; as it is spelt if there is none.
fs::path Spelt(const fs::path& folder, const std::string& name) {
    std::error_code ignored;
    if (fs::exists(fs::symlink_status(folder / base::ToPath(name), ignored)))
        return base::ToPath(name);
    for (const auto& entry : fs::directory_iterator(folder, ignored)) {
        if (text::EqualNoCase(base::FromPath(entry.path().filename()), name))
            return entry.path().filename();
    }
    return base::ToPath(name);
}

}  // namespace

base::Status ShadowFolder(const std::string& root, const std::vector<std::string>& names) {
    fs::path path = base::ToPath(root);
    if (auto unfolded = Unfold(path); !unfolded) return unfolded;
    for (const std::string& name : names) {
        path /= Spelt(path, name);
        if (auto unfolded = Unfold(path); !unfolded) return unfolded;
        std::error_code error;
        fs::create_directory(path, error);
        if (error) return StatusOf(error, path);
    }
    return {};
}

base::Status ShadowPrefix(const std::string& prefix, const std::string& shadow) {
    const fs::path from = base::ToPath(prefix), to = base::ToPath(shadow);
    std::error_code error;
    fs::create_directories(to / "dosdevices", error);
    if (error) return StatusOf(error, to);
    for (const auto& entry : fs::directory_iterator(from / "dosdevices", error)) {
        std::error_code broken;
        const fs::path real = fs::canonical(entry.path(), broken);
        if (broken) continue;
        fs::create_symlink(real, to / "dosdevices" / entry.path().filename(), error);
        if (error) return StatusOf(error, to);
    }
    if (error) return StatusOf(error, from);
    // Without the person's registry the temporary folder is that of the drive.
    fs::copy_file(from / "system.reg", to / "system.reg", error);
    return StatusOf(error, to);
}

}  // namespace host::eudora
