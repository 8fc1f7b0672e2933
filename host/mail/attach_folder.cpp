#include "host/mail/attach_folder.h"

#include <algorithm>
#include <array>

#include "platform/os/program.h"
#include "platform/os/system.h"
#include "text/ascii.h"
#include "text/path.h"

namespace host::mail {

namespace {

using platform::OpenMode;
using platform::Share;

// A copy that was cut off may have its size before its bytes.
bool IsOursOrZero(char copied, char ours) {
    return copied == ours || copied == '\0';
}

// Files only: no folder of ours has folders.
void RemoveWithFiles(platform::Files& files, const std::string& path) {
    for (const auto& entry : files.List(path, "*").ValueOr({})) {
        if (!entry.isFolder) (void)files.Delete(path + files.Separator() + entry.name);
    }
    (void)files.RemoveFolder(path);
}

// Anybody may put something of that name into a temporary folder.
void RemoveLeftovers(std::string folder, const std::string& prefix) {
    auto& files = platform::NativeFiles();
    if (!folder.ends_with(files.Separator())) folder += files.Separator();
    for (const auto& entry : files.List(folder, prefix + "*").ValueOr({})) {
        const std::string path = folder + entry.name;
        if (platform::IsOwnFolder(path)) RemoveWithFiles(files, path);
    }
}

}  // namespace

AttachFolder::AttachFolder(platform::Files& files, std::string folder, unsigned codePage)
    : m_files(files), m_folder(std::move(folder) + '\\'), m_codePage(codePage) {}

// Other letters may be one to the system that are two here, so it is asked as well.
bool AttachFolder::Take(const std::string& name) {
    return m_taken.insert(text::Lowered(name)).second && !m_files.Exists(m_folder + name);
}

std::string AttachFolder::FreeName(const std::string& name) {
    if (Take(name)) return name;
    auto parts = text::SplitPath(name, m_codePage);
    const std::string stem = parts.name;
    unsigned& number = m_lastNumber.try_emplace(text::Lowered(name), 1).first->second;
    std::string numbered;
    do {
        parts.name = stem + '-' + std::to_string(++number);
        numbered = text::JoinPath(parts);
    } while (!Take(numbered));
    return numbered;
}

void AttachFolder::ChooseNames(std::vector<NewAttachment>& attachments) {
    if (!m_isListed && !attachments.empty()) {
        for (const auto& entry : m_files.List(m_folder, "*").ValueOr({})) {
            m_taken.insert(text::Lowered(entry.name));
        }
        m_isListed = true;
    }
    for (NewAttachment& attachment : attachments) attachment.copyName = FreeName(attachment.name);
}

bool AttachFolder::IsPartOf(const std::string& copy, const std::string& whole) {
    auto copied = m_files.Open(copy, OpenMode::kRead, Share::kRead);
    auto ours = m_files.Open(whole, OpenMode::kRead, Share::kRead);
    if (!copied || !ours) return false;
    std::array<char, 16384> left{}, right{};
    for (;;) {
        const auto count = (*copied)->Read(left);
        const auto most = (*ours)->Read(right);
        if (!count || !most || *count > *most) return false;
        if (!std::equal(left.data(), left.data() + *count, right.data(), IsOursOrZero))
            return false;
        if (*count < left.size()) return true;
    }
}

void AttachFolder::TakeBack(const std::vector<std::string>& names,
                            const std::vector<NewAttachment>& attachments) {
    for (std::size_t i = 0; i < std::min(names.size(), attachments.size()); ++i) {
        const std::string copy = m_folder + names[i];
        if (IsPartOf(copy, attachments[i].path)) (void)m_files.Delete(copy);
    }
    for (const NewAttachment& attachment : attachments) (void)m_files.Delete(attachment.path);
}

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

IncomingFolder::~IncomingFolder() {
    RemoveWithFiles(platform::NativeSystem().files, m_path);
}

}  // namespace host::mail
