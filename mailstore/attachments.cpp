#include "mailstore/attachments.h"

#include <optional>
#include <utility>

#include "mailstore/draft.h"
#include "mailstore/eudora_access.h"
#include "platform/os/code_page.h"
#include "text/path.h"

namespace mailstore {

namespace {

using frame::StringId;

constexpr std::uint32_t kOleFlags = mapi::kOle | mapi::kOleStatic;
constexpr const char *kPrefix = "Qzv", *kPattern = "Qzv*.tmp";

bool IsFolder(platform::Files& files, std::string_view path) {
    const auto info = files.Stat(path);
    return info && info->isFolder;
}

// Whether the file is within the limit. Nothing, with a message, if its size cannot be read.
std::optional<bool> PassesSizeLimit(CEudoraTransUtil& util, const CEudoraAppInfo& settings,
                                    const std::string& path) {
    const auto fail = [&](const char* call, const platform::Failure& failure, StringId message) {
        KV_LOG(1, "%s = %x", call, static_cast<unsigned>(failure.systemError));
        util.AddError(message);
        return std::nullopt;
    };
    const auto file =
        util.system.files.Open(path, platform::OpenMode::kRead, platform::Share::kRead);
    if (!file) {
        return fail("CreateFile() API failed in CREudoraMail::GetAttachments", file.Error(),
                    StringId::kAttachmentUnopened);
    }
    if (settings.m_bLimitAttachSize == 0) return true;
    auto size = (*file)->Size();
    if (!size) size = (*file)->Size();
    if (!size) {
        return fail("GetFileSize() API failed in CREudoraMail::GetAttachments, and  Error Code",
                    size.Error(), StringId::kAttachmentSizeUnknown);
    }
    return *size <= std::uint64_t{static_cast<std::uint32_t>(settings.m_nAttachLimitKB)} * 1024;
}

bool AddAttachment(CEudoraTransUtil& util, const CEudoraAppInfo& settings, const MapiFileDesc& file,
                   CArray<CRAttachmentInfo>& list) {
    if ((file.flFlags & (kOleFlags)) != 0) return true;
    const CString source(file.lpszPathName);
    const auto passes = PassesSizeLimit(util, settings, source.Str());
    if (!passes || !*passes) return passes.has_value();
    platform::Files& files = util.system.files;
    const auto folder = files.TempFolder();
    const auto target = folder ? files.CreateTempFile(*folder, kPrefix) : folder;
    if (!target || !platform::CopyInto(files, source.Str(), *target)) {
        KV_LOG(1, "Unable to Copy the file");
        return false;
    }
    const std::string path = file.lpszFileName != nullptr ? file.lpszFileName : source.Str();
    const CString name = path.substr(text::LastSeparator(path, util.system.codePage) + 1);
    list.Add({1, 1, name, name, *target});
    return true;
}

}  // namespace

void AttachFolder::Find(CEudoraTransUtil& util) {
    std::string folder = util.csEudoraDir.Str();
    const auto last = text::LastSeparator(folder, util.system.codePage);
    const bool isClosed = !folder.empty() && folder.back() == '\\' && last == folder.size() - 1;
    if (!isClosed) folder += '\\';
    folder += "Attach";
    m_csAttachDir = folder + '\\';
    if (!IsFolder(util.system.files, folder) && !util.system.files.CreateFolder(folder)) {
        KV_LOG(1, "Unable to Create Directory in CREudoraMail::GetAppInfo\n");
    }
    KV_LOG(5, "Attachment Folder path = %s\n", m_csAttachDir.Str().c_str());
}

RRETURNCODE AttachFolder::NewAttachments(CEudoraTransUtil& util, LPCTSTR listText,
                                         MapiMessage& record) {
    CArray<CRAttachmentInfo> list;
    if (StrToAttachmentInfo(listText, list) != RRC_OK) {
        KV_LOG(1, "Not all of the attachment list makes sense in CREudoraMail::NewAttachments");
    }
    // Kept to the end: the list may name a file that the record had as a source.
    const BuiltRecord replaced(new MapiMessage{}, FreeRecord{&util.mapi});
    std::swap(replaced->nFileCount, record.nFileCount);
    std::swap(replaced->lpFiles, record.lpFiles);
    if (list.IsEmpty()) return RRC_OK;
    const auto count = static_cast<std::uint32_t>(list.GetSize());
    auto entries = std::make_unique<MapiFileDesc[]>(count);
    MapiFileDesc* entry = entries.get();
    for (const CRAttachmentInfo& item : list) {
        if (!item.csFilePath.IsEmpty() && !Store(util, item, *entry)) break;
        // The record takes the entries with the first one that counts.
        if (record.lpFiles == nullptr) record.lpFiles = entries.release();
        ++record.nFileCount;
        if (item.bDeleteSource != 0) {
            DeleteSource(util.system.files, item.csFilePath, entry->lpszPathName);
        }
        ++entry;
    }
    return record.nFileCount == count ? RRC_OK : RRC_FAILED;
}

bool AttachFolder::Store(CEudoraTransUtil& util, const CRAttachmentInfo& item,
                         MapiFileDesc& entry) {
    platform::Files& files = util.system.files;
    const CString target = FreePath(util.system, item.csFileName);
    auto path = CopyOf(target.Str()), name = CopyOf(item.csDisplayName.Str());
    if (target.IsEmpty() || !files.Copy(item.csFilePath.Str(), target.Str())) {
        KV_LOG(1, "Unable to Copy the file");
        if (!IsFolder(files, m_csAttachDir.Str())) {
            util.AddErrorText(util.FormatString(StringId::kCannotOpenFile, m_csAttachDir));
        }
        return false;
    }
    entry.flFlags = ~kOleFlags;
    entry.lpszPathName = path.release();
    entry.lpszFileName = name.release();
    return true;
}

// Deletes the source of a copy. The copy is noted first, so that it is never deleted as the only
// one.
void AttachFolder::DeleteSource(platform::Files& files, const CString& source, const char* copy) {
    if (copy == nullptr) return;
    const auto noted = m_onlyCopies.insert(copy).first;
    if (!files.Delete(source.Str())) m_onlyCopies.erase(noted);
}

// The name in the folder, or the first of its successors with "1" appended at which nothing exists.
// Empty if the name is not one for a file in the folder, or the path is too long for one. The
// folder is read once, lest each of many successors has to be looked for in it.
CString AttachFolder::FreePath(const platform::System& system, const CString& fileName) const {
    const auto isTooLong = [](const std::string& path) { return path.size() > text::kLongestPath; };
    std::string path = m_csAttachDir.Str() + fileName.Str();
    if (isTooLong(path) || !text::IsPlainFileName(fileName.Str(), system.codePage)) return {};
    if (system.files.IsFree(path)) return path;
    auto parts = text::SplitPath(path, system.codePage);
    std::set<std::string> taken;
    const std::string pattern = parts.name + '*' + parts.extension;
    for (const auto& entry : system.files.List(m_csAttachDir.Str(), pattern).ValueOr({})) {
        taken.insert(platform::UpperCase(entry.name, system.codePage));
    }
    std::string name;
    do {
        parts.name += '1';
        name = platform::UpperCase(parts.name + parts.extension, system.codePage);
        path = text::JoinPath(parts);
    } while (!isTooLong(path) && (taken.contains(name) || !system.files.IsFree(path)));
    return isTooLong(path) ? CString() : path;
}

bool AttachFolder::IsOnlyCopy(const MapiFileDesc& file) const {
    return file.lpszPathName != nullptr && m_onlyCopies.contains(file.lpszPathName);
}

void AttachFolder::FreeRecords(CMapi& mapi, std::list<MapiMessage*>& records) const {
    for (; !records.empty(); records.pop_front()) {
        for (MapiFileDesc& file : mapi::Files(*records.front())) {
            if (IsOnlyCopy(file)) delete[] std::exchange(file.lpszPathName, nullptr);
        }
        mapi.FreeMessage(records.front());
    }
}

void AttachFolder::NameOnlyCopies(CEudoraTransUtil& util,
                                  const std::list<MapiMessage*>& records) const {
    for (const MapiMessage* record : records) {
        for (const MapiFileDesc& file : mapi::Files(*record)) {
            if (!IsOnlyCopy(file)) continue;
            ReportNamed(util, StringId::kAttachmentKept, file.lpszPathName);
        }
    }
}

RRETURNCODE GetAttachments(CEudoraTransUtil& util, const CEudoraAppInfo& settings,
                           const MapiMessage& message, CString& csOut) {
    CArray<CRAttachmentInfo> list;
    for (const MapiFileDesc& file : mapi::Files(message)) {
        if (!AddAttachment(util, settings, file, list)) return RRC_FAILED;
    }
    (void)AttachmentInfoToStr(list, csOut);
    return RRC_OK;
}

void DeleteAttachFile(platform::System& system) {
    KV_LOG(5, "Enter - CREudoraMail::DeleteAttachFile");
    const auto folder = system.files.TempFolder();
    if (!folder) return;
    const auto matches = system.files.List(*folder, kPattern);
    if (!matches || matches->empty()) return;
    for (const auto& entry : *matches) {
        // Copies of read-only files were once read-only.
        if (!entry.isFolder) (void)system.files.DeleteEvenReadOnly(*folder + entry.name);
        KV_LOG(5, "          - %s\n", entry.name.c_str());
        system.clock.Sleep(std::chrono::milliseconds(0));
    }
    KV_LOG(5, "Exit - CREudoraMail::DeleteAttachFile");
}

}  // namespace mailstore
