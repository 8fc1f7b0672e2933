// Attachments on their way in: copies in Eudora's Attach folder, entered in the new record.
#include <utility>

#include "frame/guard.h"
#include "mailstore/eudora_mail.h"
#include "mailstore/record_text.h"
#include "platform/os/code_page.h"
#include "text/path.h"
#include "text/plain_name.h"

using frame::Guarded;
using mailstore::CopyOf;

namespace {

// A file, and neither of the two OLE kinds.
constexpr std::uint32_t kFileFlags = ~(mapi::kOle | mapi::kOleStatic);

// The files of a record, taken out of it. Going away, they leave neither blocks nor copies.
class TakenFiles {
  public:
    TakenFiles(MapiMessage& record, platform::Files& files)
        : m_files(files),
          m_count(std::exchange(record.nFileCount, 0)),
          m_entries(std::exchange(record.lpFiles, nullptr)) {}
    ~TakenFiles() {
        for (std::uint32_t i = 0; m_entries != nullptr && i < m_count; ++i) {
            if (m_entries[i].lpszPathName != nullptr) {
                (void)m_files.Delete(m_entries[i].lpszPathName);
            }
            delete[] m_entries[i].lpszPathName;
            delete[] m_entries[i].lpszFileName;
        }
        delete[] m_entries;
    }
    TakenFiles(const TakenFiles&) = delete;
    TakenFiles& operator=(const TakenFiles&) = delete;

  private:
    platform::Files& m_files;
    std::uint32_t m_count;
    MapiFileDesc* m_entries;
};

}  // namespace

RRETURNCODE CREudoraMail::NewAttachments(LPCTSTR listText) {
    return Guarded("NewAttachments", [&] {
        if (m_lpNewMessage == nullptr) return RRC_OK;
        MapiMessage& record = *m_lpNewMessage;
        CArray<CRAttachmentInfo> list;
        if (StrToAttachmentInfo(listText, list) != RRC_OK) {
            KV_LOG(1, "Not all of the attachment list makes sense in CREudoraMail::NewAttachments");
        }
        // Kept to the end: the list may name one of them as a source.
        const TakenFiles replaced(record, Util().system.files);
        if (list.IsEmpty()) return RRC_OK;
        auto entries = std::make_unique<MapiFileDesc[]>(static_cast<std::size_t>(list.GetSize()));
        MapiFileDesc* entry = entries.get();
        for (const CRAttachmentInfo& item : list) {
            if (!item.csFilePath.IsEmpty() && !StoreAttachment(item, *entry)) break;
            // The record takes the entries with the first one that counts.
            if (record.lpFiles == nullptr) record.lpFiles = entries.release();
            ++record.nFileCount;
            if (item.bDeleteSource != 0) DeleteSource(item.csFilePath, entry->lpszPathName);
            ++entry;
        }
        const bool isComplete = record.nFileCount == static_cast<std::uint32_t>(list.GetSize());
        return isComplete ? RRC_OK : RRC_FAILED;
    });
}

bool CREudoraMail::StoreAttachment(const CRAttachmentInfo& item, MapiFileDesc& entry) {
    platform::Files& files = Util().system.files;
    const CString target = AttachPath(item.csFileName);
    auto path = CopyOf(target.Str()), name = CopyOf(item.csDisplayName.Str());
    if (target.IsEmpty() || !files.Copy(item.csFilePath.Str(), target.Str())) {
        KV_LOG(1, "Unable to Copy the file");
        const auto folder = files.Stat(m_csAttachDir.Str());
        if (!folder || !folder->isFolder) {
            Util().AddErrorText(
                Util().FormatString(frame::StringId::kCannotOpenFile, m_csAttachDir));
        }
        return false;
    }
    entry.flFlags = kFileFlags;
    entry.lpszPathName = path.release();
    entry.lpszFileName = name.release();
    return true;
}

// Noted first: without the note the copy would go with its mail.
void CREudoraMail::DeleteSource(const CString& source, const char* copy) {
    if (copy == nullptr) return;
    const auto noted = m_onlyCopies.insert(copy).first;
    if (!Util().system.files.Delete(source.Str())) m_onlyCopies.erase(noted);
}

// Empty if the name is not one for a file in the Attach folder.
CString CREudoraMail::AttachPath(const CString& fileName) {
    const unsigned codePage = Util().system.codePage;
    const std::string joined = m_csAttachDir.Str() + fileName.Str();
    if (joined.size() > text::kLongestPath || !text::IsPlainFileName(fileName.Str(), codePage)) {
        return {};
    }
    CString path = MakeUniquePath(joined);
    return path.Str().size() > text::kLongestPath ? CString() : path;
}

// Ends at a path that is too long for a file. The folder is read once, lest each of many successors
// has to be looked for in it.
CString CREudoraMail::MakeUniquePath(const CString& path) {
    platform::Files& files = Util().system.files;
    if (files.IsFree(path.Str())) return path;
    const unsigned codePage = Util().system.codePage;
    auto parts = text::SplitPath(path.Str(), codePage);
    std::set<std::string> taken;
    const auto pattern = parts.name + '*' + parts.extension;
    if (const auto entries = files.List(parts.drive + parts.folder, pattern)) {
        for (const auto& entry : *entries) taken.insert(platform::UpperCase(entry.name, codePage));
    }
    std::string name, candidate;
    do {
        parts.name += '1';
        name = platform::UpperCase(parts.name + parts.extension, codePage);
        candidate = text::JoinPath(parts);
    } while (candidate.size() <= text::kLongestPath &&
             (taken.contains(name) || !files.IsFree(candidate)));
    return candidate;
}
