#include "eumapi/eudora_folder.h"

#include "integration/locate/locate.h"

namespace eumapi {

std::optional<std::string> FindEudoraFolder(const platform::System& system) {
    auto folder = system.registry.ReadText(platform::RegistryRoot::kLocalMachine,
                                           locate::kAppPathsKey, locate::kAppPathsFolder);
    if (!folder || folder->empty()) return std::nullopt;
    const auto info = system.files.Stat(*folder);
    if (!info || !info->isFolder) return std::nullopt;
    return *folder + '\\';
}

MailboxPaths PathsOf(const std::string& folder, std::string_view mailbox) {
    const std::string base = folder + std::string(mailbox);
    return {base + ".mbx", base + ".toc"};
}

bool IsMacintoshToc(std::string_view header) {
    return header.starts_with(std::string_view("\x00\x01", 2));
}

}  // namespace eumapi
