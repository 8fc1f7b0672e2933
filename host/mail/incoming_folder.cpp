#include "host/mail/incoming_folder.h"

#include "host/base/failure.h"
#include "platform/os/program.h"
#include "platform/os/system.h"

namespace host::mail {

namespace {

// Files only: no folder of ours has folders.
void RemoveWithFiles(platform::Files& files, const std::string& path) {
    if (const auto entries = files.List(path, "*")) {
        for (const auto& entry : *entries) {
            if (!entry.isFolder) (void)files.Delete(path + files.Separator() + entry.name);
        }
    }
    (void)files.RemoveFolder(path);
}

// Anybody may put something of that name into a temporary folder.
void RemoveLeftovers(std::string folder, const std::string& prefix) {
    auto& files = platform::NativeFiles();
    if (!folder.ends_with(files.Separator())) folder += files.Separator();
    const auto entries = files.List(folder, prefix + "*");
    for (const auto& entry : entries ? *entries : std::vector<platform::FolderEntry>()) {
        const std::string path = folder + entry.name;
        if (platform::IsOwnFolder(path)) RemoveWithFiles(files, path);
    }
}

}  // namespace

base::Result<std::unique_ptr<IncomingFolder>> IncomingFolder::Create(const std::string& key) {
    platform::Files& files = platform::NativeSystem().files;
    const auto temp = files.TempFolder();
    if (!temp) return temp.Error();
    const std::string prefix = "kvsync-" + key + '-';
    if (const auto native = platform::NativePathOf(*temp)) RemoveLeftovers(*native, prefix);
    auto path = files.CreateTempFolder(*temp, prefix);
    if (!path) return path.Error();
    return std::unique_ptr<IncomingFolder>(new IncomingFolder(*std::move(path)));
}

IncomingFolder::IncomingFolder(std::string path) : m_path(std::move(path)) {}

IncomingFolder::~IncomingFolder() {
    RemoveWithFiles(platform::NativeSystem().files, m_path);
}

}  // namespace host::mail
