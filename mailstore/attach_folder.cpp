#include "mailstore/attach_folder.h"

#include <utility>

#include "mailstore/built_record.h"
#include "mailstore/in_box.h"
#include "platform/os/code_page.h"
#include "text/path.h"

namespace mailstore {

namespace {

// A file, and neither of the two OLE kinds.
constexpr std::uint32_t kFileFlags = ~(mapi::kOle | mapi::kOleStatic);

bool IsFolder(platform::Files& files, std::string_view path) {
    const auto info = files.Stat(path);
    return info && info->isFolder;
}

// The path, or the first of its successors with "1" appended to the name at which nothing exists;
// ends at one that is too long for a file. The folder is read once, lest each of many successors
// has to be looked for in it.
std::string MakeUniquePath(const platform::System& system, const std::string& path) {
    if (system.files.IsFree(path)) return path;
    auto parts = text::SplitPath(path, system.codePage);
    std::set<std::string> taken;
    const auto pattern = parts.name + '*' + parts.extension;
    if (const auto entries = system.files.List(parts.drive + parts.folder, pattern)) {
        for (const auto& entry : *entries) {
            taken.insert(platform::UpperCase(entry.name, system.codePage));
        }
    }
    std::string name, candidate;
    do {
        parts.name += '1';
        name = platform::UpperCase(parts.name + parts.extension, system.codePage);
        candidate = text::JoinPath(parts);
    } while (candidate.size() <= text::kLongestPath &&
             (taken.contains(name) || !system.files.IsFree(candidate)));
    return candidate;
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
            util.AddErrorText(util.FormatString(frame::StringId::kCannotOpenFile, m_csAttachDir));
        }
        return false;
    }
    entry.flFlags = kFileFlags;
    entry.lpszPathName = path.release();
    entry.lpszFileName = name.release();
    return true;
}

// Noted first: without the note the copy would go with its mail.
void AttachFolder::DeleteSource(platform::Files& files, const CString& source, const char* copy) {
    if (copy == nullptr) return;
    const auto noted = m_onlyCopies.insert(copy).first;
    if (!files.Delete(source.Str())) m_onlyCopies.erase(noted);
}

// Empty if the name is not one for a file in the folder.
CString AttachFolder::FreePath(const platform::System& system, const CString& fileName) const {
    const std::string joined = m_csAttachDir.Str() + fileName.Str();
    if (joined.size() > text::kLongestPath ||
        !text::IsPlainFileName(fileName.Str(), system.codePage)) {
        return {};
    }
    const std::string path = MakeUniquePath(system, joined);
    return path.size() > text::kLongestPath ? CString() : path;
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
            ReportNamed(util, frame::StringId::kAttachmentKept, file.lpszPathName);
        }
    }
}

}  // namespace mailstore
