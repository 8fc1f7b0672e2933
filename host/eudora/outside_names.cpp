#include "host/eudora/outside_names.h"

#include "host/base/paths.h"
#include "platform/os/system.h"

namespace host::eudora {

namespace {

constexpr const char* kNames[] = {"nndbase.txt", "nndbase.toc", "In.mbx",    "In.toc",   "Out.mbx",
                                  "Out.toc",     "Trash.mbx",   "Trash.toc", "NickName", "Attach"};

// The target of a path with all links followed; of a broken link its own text.
std::string TargetOf(const std::string& path) {
    if (auto real = platform::NativeFiles().RealPath(path)) return *real;
    std::error_code unknown;
    const auto target = std::filesystem::read_symlink(base::ToPath(path), unknown);
    return unknown ? "where nobody can see" : base::FromPath(target);
}

}  // namespace

std::vector<OutsideName> NamesLeadingOutside(const SetupOptions& options) {
    std::vector<OutsideName> outside;
    if (!options.eudora) return outside;
    auto& files = platform::NativeFiles();
    const std::string root = WithoutLinks(*options.eudora);
    const auto look = [&](const std::string& folder, const char* pattern) {
        for (const auto& entry : files.List(folder, pattern).ValueOr({})) {
            const std::string path = folder + files.Separator() + entry.name;
            if (!platform::LiesIn(files, path, root)) outside.push_back({path, TargetOf(path)});
        }
    };
    for (const char* name : kNames) look(root, name);
    for (const auto& entry : files.List(root, "NickName").ValueOr({})) {
        const std::string folder = root + files.Separator() + entry.name;
        if (platform::LiesIn(files, folder, root)) look(folder, "*");
    }
    return outside;
}

base::Failure LeadsOutside(const OutsideName& name) {
    return base::Refused(
        name.path + " leads out of the Eudora folder, to " + name.target,
        "put the file itself there, or say --follow-links if that is what you want");
}

base::Status RefuseNamesLeadingOutside(const SetupOptions& options) {
    const auto outside = NamesLeadingOutside(options);
    if (outside.empty() || options.followLinks) return {};
    return LeadsOutside(outside.front());
}

}  // namespace host::eudora
