#include "eumapi/temporary_files.h"

#include <algorithm>
#include <new>
#include <string_view>

#include "text/ascii.h"

namespace eumapi {

namespace {

using platform::OpenMode;
using platform::Share;

constexpr std::string_view kExtension = ".tmp";
constexpr int kMostTries = 100;

// A name as the system makes them: between prefix and extension stands a number.
bool IsTemporaryName(std::string_view name) {
    name.remove_prefix(kTemporaryPrefix.size());
    name.remove_suffix(kExtension.size());
    return std::ranges::all_of(name, [](char letter) { return text::HexValue(letter) >= 0; });
}

void Sweep(platform::Files& files, const std::string& folder) {
    const auto entries = files.List(folder, std::string(kTemporaryPrefix) + "*.tmp");
    if (!entries) return;
    for (const auto& entry : *entries) {
        if (entry.isFolder || !IsTemporaryName(entry.name)) continue;
        // Copies of read-only files were once read-only.
        (void)files.DeleteEvenReadOnly(folder + entry.name);
    }
}

}  // namespace

void DeleteQuietly(platform::Files& files, const std::string& path) noexcept {
    try {
        (void)files.Delete(path);
    } catch (const std::bad_alloc&) {
        // As good as a file that cannot be deleted.
    }
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

// Another run may sweep just now, which takes a moment.
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
