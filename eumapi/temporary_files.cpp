#include "eumapi/temporary_files.h"

#include <algorithm>
#include <new>
#include <string_view>

#include "text/ascii.h"

namespace eumapi {

namespace {

using platform::OpenMode;
using platform::Share;

// How the names of the copies begin.
constexpr std::string_view kTemporaryPrefix = "eua", kExtension = ".tmp";
constexpr int kMostTries = 100;

// A name as the system makes them: between prefix and extension stands a number.
bool IsTemporaryName(std::string_view name) {
    name.remove_prefix(kTemporaryPrefix.size());
    name.remove_suffix(kExtension.size());
    return std::ranges::all_of(name, [](char letter) { return text::HexValue(letter) >= 0; });
}

void Sweep(platform::Files& files, const std::string& folder) {
    const std::string pattern = std::string(kTemporaryPrefix) + "*.tmp";
    for (const auto& entry : files.List(folder, pattern).ValueOr({})) {
        if (entry.isFolder || !IsTemporaryName(entry.name)) continue;
        // Copies of read-only files were once read-only.
        (void)files.DeleteEvenReadOnly(folder + entry.name);
    }
}

// On the way out of something that may have failed: throws nothing.
void DeleteQuietly(platform::Files& files, const std::string& path) noexcept {
    try {
        (void)files.Delete(path);
    } catch (const std::bad_alloc&) {
        // As good as a file that cannot be deleted.
    }
}

}  // namespace

AttachmentCopies::~AttachmentCopies() {
    while (!m_isHandedOver && !m_copies.empty()) DropLast();
}

void AttachmentCopies::DropLast() {
    DeleteQuietly(m_system.files, m_copies.back().path);
    m_copies.pop_back();
}

Code AttachmentCopies::AddEmpty(std::string name) {
    const auto folder = m_system.files.TempFolder();
    if (!folder) return mapi::kAttachmentWriteFailure;
    // The entry comes first, so that a lack of memory leaves no file behind.
    m_copies.push_back({{}, std::move(name)});
    auto path = m_system.files.CreateTempFile(*folder, kTemporaryPrefix);
    if (!path) {
        m_copies.pop_back();
        return mapi::kAttachmentWriteFailure;
    }
    m_copies.back().path = *std::move(path);
    return mapi::kSuccess;
}

Code AttachmentCopies::Add(const std::string& source, std::string name, bool& isPresent) {
    isPresent = false;
    if (const Code code = AddEmpty(std::move(name)); code != mapi::kSuccess) return code;
    const auto status = platform::CopyInto(m_system.files, source, m_copies.back().path);
    isPresent = status.HasValue();
    if (status) return mapi::kSuccess;
    if (status.Error().context != source) return mapi::kAttachmentWriteFailure;
    DropLast();
    return mapi::kSuccess;
}

Code AttachmentCopies::WriteTo(std::size_t file, std::string_view content) {
    const auto open = m_system.files.Open(m_copies[file].path, platform::OpenMode::kReadWrite,
                                          platform::Share::kNone);
    if (!open || !(*open)->Write(content) || !(*open)->Close()) {
        return mapi::kAttachmentWriteFailure;
    }
    return mapi::kSuccess;
}

RunMark::RunMark(const platform::System& system) : m_system(system) {
    const auto folder = m_system.files.TempFolder();
    if (!folder) return;
    m_path = *folder + std::string(kTemporaryPrefix) + ".lock";
    if (const auto alone =
            m_system.files.Open(m_path, OpenMode::kReadWriteOrCreate, Share::kNone)) {
        Sweep(m_system.files, *folder);
    }
    Hold();
}

RunMark::~RunMark() {
    m_mark.reset();
    // Stays while another run holds it.
    if (!m_path.empty()) DeleteQuietly(m_system.files, m_path);
}

// Waits while another run sweeps, which takes a moment.
void RunMark::Hold() {
    for (int tries = 0; tries < kMostTries; ++tries) {
        auto file = m_system.files.Open(m_path, OpenMode::kReadWriteOrCreate, Share::kReadWrite);
        if (!file && file.Error().code == platform::ErrorCode::kSharingViolation) {
            m_system.clock.Sleep(std::chrono::milliseconds(10));
            continue;
        }
        if (file) m_mark = *std::move(file);
        return;
    }
}

}  // namespace eumapi
