#include "host/mailsync/check_maildir.h"

#include <algorithm>

#include "host/base/failure.h"

namespace host::mailsync {

namespace {

bool LiesIn(platform::Files& files, const std::string& path, std::string folder) {
    if (folder.empty()) return false;
    if (path == folder) return true;
    if (folder.back() != files.Separator()) folder += files.Separator();
    return path.starts_with(folder);
}

// A Maildir has cur and new; an empty folder, or one with hidden files only, becomes one.
base::Status CheckContent(platform::Files& files, const std::string& maildir) {
    auto entries = files.List(maildir, "*");
    if (!entries) return base::Refused(entries.Error().Message(), "give yourself read permission");
    const auto has = [&](const char* name) {
        return std::ranges::any_of(
            *entries, [&](const auto& entry) { return entry.isFolder && entry.name == name; });
    };
    const bool isEmpty = std::ranges::all_of(
        *entries, [](const auto& entry) { return entry.name.starts_with('.'); });
    // Of a run that was cut off while it made them one or two may be there.
    const bool isMaildir = has("cur") || has("new") || has("tmp");
    if (isEmpty || isMaildir) return {};
    return base::Refused(maildir + " is no Maildir, but holds other things",
                         "name an empty folder");
}

}  // namespace

base::Status CheckMaildir(platform::Files& files, const std::string& maildir,
                          const std::string& eudoraFolder) {
    if (LiesIn(files, maildir, eudoraFolder)) {
        return base::Refused(maildir + " lies in Eudora's own folder", "name one outside of it");
    }
    auto info = files.Stat(maildir);
    if (!info && info.Error().code == platform::ErrorCode::kNotFound) {
        // A name below a file is not found either.
        const auto end = maildir.find_last_of(files.Separator());
        const auto above =
            end == std::string::npos || end == 0 ? info : files.Stat(maildir.substr(0, end));
        if (above && !above->isFolder) {
            return base::Refused(maildir + " lies below a file", "name a folder");
        }
        return {};
    }
    if (!info) return base::Refused(info.Error().Message(), "give yourself permission");
    if (!info->isFolder) return base::Refused(maildir + " is no folder", "name a folder");
    if (auto content = CheckContent(files, maildir); !content) return content;
    for (const char* part : {"", "cur", "new", "tmp"}) {
        const std::string path = *part ? maildir + files.Separator() + part : maildir;
        const auto inside = files.Stat(path);
        if (inside && inside->isFolder && inside->isReadOnly) {
            return base::Refused(path + " is read-only", "make it writable");
        }
        if (inside && !inside->isFolder)
            return base::Refused(path + " is no folder", "move it away");
    }
    return {};
}

}  // namespace host::mailsync
