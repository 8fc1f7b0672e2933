#include "host/doctor/folders.h"

#include <algorithm>
#include <array>

#include "host/backup/backups.h"
#include "host/base/output.h"
#include "host/contacts/vdir_contacts.h"
#include "host/maildir/maildir.h"
#include "host/mailsync/mail_sync.h"
#include "host/state/folder_mark.h"
#include "platform/os/clock.h"
#include "platform/os/system.h"

namespace host::doctor {

namespace {

using platform::ErrorCode;

// What a folder is known again by.
std::string MarkOf(const std::string& folder) {
    const bool hasMark = !state::FolderMark::Of(platform::NativeFiles(), folder).empty();
    return hasMark ? " (marked)" : " (not marked yet)";
}

// The bytes of all files in a folder and in the folders in it.
std::uint64_t SizeOf(platform::Files& files, const std::string& folder) {
    std::uint64_t size = 0;
    for (const auto& entry : files.List(folder, "*").ValueOr({})) {
        const std::string path = folder + files.Separator() + entry.name;
        const auto info = files.Stat(path);
        size += entry.isFolder ? SizeOf(files, path) : info ? info->copySize : 0;
    }
    return size;
}

}  // namespace

std::string Sized(std::uint64_t bytes) {
    constexpr std::array kUnits = {"KB", "MB", "GB", "TB"};
    constexpr std::uint64_t kTenths = 10'000;  // of the next unit
    std::uint64_t tenths = bytes / 100;
    std::size_t unit = 0;
    for (; tenths >= kTenths && unit + 1 < kUnits.size(); ++unit) tenths /= 1000;
    return std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10) + ' ' + kUnits[unit];
}

// A missing folder is only a note: the first sync makes it.
Finding ContactsFinding(const std::optional<std::string>& folder) {
    constexpr const char* kWhat = "folder of vCards";
    if (!folder) {
        return {Health::kNote, kWhat, "none is named",
                "name it with --contacts DIR or in the configuration file"};
    }
    auto& files = platform::NativeFiles();
    const auto info = files.Stat(*folder);
    if (!info) {
        return {Health::kNote, kWhat, *folder + " does not exist yet",
                "check the path; the first sync makes it"};
    }
    if (!info->isFolder) return {Health::kFault, kWhat, *folder + " is no folder", "name a folder"};
    if (files.IsReadOnly(*folder)) {
        return {Health::kFault, kWhat, *folder + " cannot be written",
                "give yourself write permission there: chmod u+w '" + *folder + "'"};
    }
    contacts::VdirContacts cards(files, *folder, platform::NativeClock(), nullptr);
    const auto items = cards.List();
    if (!items) return FaultOf(kWhat, items.Error());
    std::size_t unusable = 0;
    Finding finding{Health::kGood, kWhat, {}, {}};
    for (const base::StoreItem& item : *items) {
        const auto card = cards.Read(item.id);
        if (card) continue;
        // A run passes over what is no regular file, and stops at the others.
        const bool isPassedOver = card.Error().code == ErrorCode::kNotRegular;
        const Health health = isPassedOver ? Health::kNote : Health::kFault;
        if (++unusable == 1 || health > finding.health) {
            finding.state = ": " + card.Error().Cause();
            finding.advice = card.Error().advice;
            finding.health = health;
        }
    }
    if (unusable > 0)
        finding.state =
            ", and " + std::to_string(unusable) + " that cannot be used" + finding.state;
    finding.state = *folder + MarkOf(*folder) + ", " +
                    base::Counted(items->size() - unusable, "vCard") + finding.state;
    return finding;
}

Finding MaildirFinding(const std::optional<std::string>& folder,
                       const std::optional<std::string>& eudora) {
    constexpr const char* kWhat = "Maildir";
    if (!folder) {
        return {Health::kNote, kWhat, "none is named",
                "name it with --maildir DIR or in the configuration file"};
    }
    auto& files = platform::NativeFiles();
    const std::string path = eudora::WithoutLinks(*folder);
    const auto checked =
        mailsync::CheckMaildir(files, path, eudora ? eudora::WithoutLinks(*eudora) : "");
    if (!checked) return FaultOf(kWhat, checked.Error());
    if (!files.Exists(path)) {
        return {Health::kNote, kWhat, path + " does not exist yet",
                "check the path; the first sync makes it"};
    }
    const auto mails = maildir::Maildir(files, platform::NativeClock(), path).List();
    if (!mails) return FaultOf(kWhat, mails.Error());
    const std::size_t count = std::ranges::count(*mails, false, &maildir::MaildirEntry::isFolder);
    return {Health::kGood, kWhat, path + MarkOf(path) + ", " + base::Counted(count, "mail"), {}};
}

Finding BackupsFinding(const std::string& folder) {
    constexpr const char* kWhat = "backups";
    auto& files = platform::NativeFiles();
    const auto backups = backup::Backups(files, folder, platform::NativeClock()).List();
    if (!backups) return FaultOf(kWhat, backups.Error());
    if (backups->empty()) return {Health::kGood, kWhat, "none yet", {}};
    return {Health::kGood,
            kWhat,
            base::Counted(backups->size(), "backup") + ", " + Sized(SizeOf(files, folder)) +
                " in " + folder + ", the oldest is " + backups->front().id,
            {}};
}

}  // namespace host::doctor
