#include "host/mail/attach_folder.h"

#include <algorithm>
#include <array>

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
        const auto entries = m_files.List(m_folder, "*");
        for (const auto& entry : entries ? *entries : std::vector<platform::FolderEntry>()) {
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

}  // namespace host::mail
