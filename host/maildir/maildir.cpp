#include "host/maildir/maildir.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>
#include <unordered_map>

#include "host/base/paths.h"
#include "platform/os/program.h"
#include "text/ascii.h"
#include "text/mail_view.h"

namespace host::maildir {

namespace {

using platform::ErrorCode;

// Two runs in the same microsecond, on two hosts that number their processes alike, still differ.
std::string OwnSuffix() {
    std::random_device random;
    std::array<char, 32> hex{};
    std::snprintf(hex.data(), hex.size(), "R%08x%08x", random(), random());
    return "P" + std::to_string(platform::ProcessNumber()) + hex.data() + ".kvsync";
}

std::string SortedFlags(std::string_view flags) {
    std::string sorted(flags);
    std::ranges::sort(sorted);
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    return sorted;
}

std::string IdOf(std::string_view value) {
    const auto open = value.find('<');
    const auto close = open == std::string_view::npos ? open : value.find('>', open);
    if (close == std::string_view::npos) return std::string(text::Trimmed(value));
    return std::string(text::Trimmed(value.substr(open + 1, close - open - 1)));
}

}  // namespace

MaildirEntry EntryNamed(std::string name, bool isNew) {
    // The info part begins at the colon, or at an exclamation mark that introduces flags (a unique
    // name may hold others).
    const auto colon = name.find(':');
    const auto start = colon != name.npos ? colon : name.rfind("!2,");
    std::string unique = name.substr(0, start), flags;
    if (start != name.npos && name.compare(start + 1, 2, "2,") == 0) {
        flags = SortedFlags(name.substr(start + 3));
    }
    return {std::move(unique), std::move(name), std::move(flags), isNew};
}

std::string MessageIdInHeader(std::string_view message) {
    text::MailView mail(message);
    // A line without an end may lack a part of its value.
    if (!mail.HasBody()) mail = text::MailView(message.substr(0, message.rfind('\n') + 1));
    return IdOf(mail.Field("Message-ID").value_or(""));
}

std::string WithFlag(std::string_view flags, char flag, bool isSet) {
    std::string result(flags);
    std::erase(result, flag);
    if (isSet) result += flag;
    return SortedFlags(result);
}

Maildir::Maildir(platform::Files& files, platform::Clock& clock, std::string folder)
    : m_files(files),
      m_clock(clock),
      m_folder(std::move(folder)),
      m_suffix(OwnSuffix()),
      m_infoStart(files.Separator() == '\\' ? "!2," : ":2,") {}

std::string Maildir::Path(const char* folder, std::string_view name) const {
    const char separator = m_files.Separator();
    std::string path;
    path.reserve(m_folder.size() + name.size() + 5);
    path.append(m_folder).append(1, separator).append(folder);
    if (!name.empty()) path.append(1, separator).append(name);
    return path;
}

std::string Maildir::PathOf(const MaildirEntry& entry) const {
    return Path(entry.isNew ? "new" : "cur", entry.name);
}

base::Status Maildir::Create() {
    for (const char* folder : {"tmp", "new", "cur"}) {
        if (auto made = base::MakeFolders(m_files, Path(folder, {})); !made) return made;
    }
    return {};
}

base::Result<std::vector<MaildirEntry>> Maildir::List() {
    std::vector<MaildirEntry> entries;
    std::unordered_map<std::string, std::size_t> known;
    // Mails move from new to cur: in this order none is missed on its way, but one may be seen
    // twice.
    for (const char* folder : {"new", "cur"}) {
        auto listed = m_files.List(Path(folder, {}), "*");
        if (!listed && listed.Error().code == ErrorCode::kNotFound) continue;
        if (!listed) return listed.Error();
        for (auto& [name, isFolder] : *listed) {
            if (name.starts_with('.')) continue;
            MaildirEntry entry = EntryNamed(std::move(name), folder[0] == 'n');
            entry.isFolder = isFolder;
            const auto [at, isFirst] = known.emplace(entry.unique, entries.size());
            if (isFirst) entries.emplace_back();
            entries[at->second] = std::move(entry);
        }
    }
    return entries;
}

std::string Maildir::NewName() {
    using namespace std::chrono;
    const auto micros = duration_cast<microseconds>(m_clock.Now().time_since_epoch()).count();
    return std::to_string(micros / 1000000) + ".M" + std::to_string(micros % 1000000) + "Q" +
           std::to_string(++m_count) + m_suffix;
}

MaildirEntry Maildir::EntryOf(const std::string& unique, std::string_view flags) const {
    if (flags.empty()) return {unique, unique, {}, true};
    std::string sorted = SortedFlags(flags);
    return {unique, unique + m_infoStart + sorted, std::move(sorted), false};
}

base::Status Maildir::MoveTo(const std::string& from, const std::string& unique,
                             std::string_view flags) {
    auto moved = m_files.MoveLazily(from, PathOf(EntryOf(unique, flags)));
    if (moved || moved.Error().code != ErrorCode::kInvalidArgument || m_infoStart == "!2,") {
        return moved;
    }
    m_infoStart = "!2,";
    return m_files.MoveLazily(from, PathOf(EntryOf(unique, flags)));
}

base::Result<std::uint64_t> Maildir::Write(
    const std::string& unique, const std::function<base::Status(platform::File&)>& write) {
    auto file =
        m_files.Open(Path("tmp", unique), platform::OpenMode::kCreateNew, platform::Share::kNone);
    if (!file) return file.Error();
    auto status = write(**file);
    const auto size = (*file)->Size();
    if (status) status = (*file)->Close();
    file->reset();
    if (status && size) return *size;
    Discard(unique);
    return status ? size.Error() : status.Error();
}

base::Status Maildir::Deliver(const std::string& unique, std::string_view flags) {
    auto moved = MoveTo(Path("tmp", unique), unique, flags);
    if (!moved) Discard(unique);
    return moved;
}

base::Status Maildir::SetFlags(const MaildirEntry& entry, std::string_view flags) {
    // A mail that once had flags stays in cur.
    MaildirEntry target = EntryOf(entry.unique, flags);
    if (flags.empty() && !entry.isNew) {
        target.name = entry.unique + m_infoStart;
        target.isNew = false;
    }
    const std::string from = PathOf(entry), to = PathOf(target);
    if (from == to) return {};
    if (!target.isNew && !flags.empty()) return MoveTo(from, entry.unique, flags);
    return m_files.MoveLazily(from, to);
}

base::Status Maildir::Remove(const MaildirEntry& entry) {
    return m_files.Delete(PathOf(entry));
}

base::Status Maildir::MoveInto(Maildir& other, const MaildirEntry& entry, std::string_view flags) {
    return other.MoveTo(PathOf(entry), entry.unique, flags);
}

base::Result<std::string> Maildir::Read(const MaildirEntry& entry, std::uint64_t limit) {
    return platform::ReadWhole(m_files, PathOf(entry), limit, platform::Share::kReadWrite);
}

base::Status Maildir::Settle(const std::vector<MaildirEntry>& delivered) {
    std::vector<std::string> paths;
    paths.reserve(delivered.size());
    for (const MaildirEntry& entry : delivered) paths.push_back(PathOf(entry));
    return base::SettleFiles(m_files, m_folder, paths);
}

void Maildir::Discard(const std::string& unique) {
    (void)m_files.Delete(Path("tmp", unique));
}

base::Result<std::uint64_t> Maildir::SizeOf(const MaildirEntry& entry) {
    auto info = m_files.Stat(PathOf(entry));
    if (!info) return info.Error();
    return info->size;
}

base::Result<std::string> Maildir::ReadHeader(const MaildirEntry& entry) {
    auto file = m_files.Open(PathOf(entry), platform::OpenMode::kRead, platform::Share::kReadWrite);
    if (!file) return file.Error();
    constexpr std::size_t kBlock = 4096;
    std::string text;
    while (text.size() < kLargestHeader && !text::MailView(text).HasBody()) {
        const auto filled = text.size();
        text.resize(filled + kBlock);
        auto count = (*file)->Read({text.data() + filled, kBlock});
        if (!count) return count.Error();
        text.resize(filled + *count);
        if (*count < kBlock) break;
    }
    return text;
}

}  // namespace host::maildir
