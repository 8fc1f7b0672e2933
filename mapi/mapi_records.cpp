#include <new>

#include "mapi/mapi.h"
#include "platform/kvutil/kvutil.h"

namespace {

void FreeTexts(const MapiRecipDesc& recipient) {
    delete[] recipient.lpszName;
    delete[] recipient.lpszAddress;
    delete[] static_cast<char*>(recipient.lpEntryID);
}

}  // namespace

int CMapi::AllocMessage(MapiMessage*& record) {
    record = new (std::nothrow) MapiMessage{};
    return record != nullptr ? 1 : 0;
}

int CMapi::FreeMessage(MapiMessage* record, bool keepFiles) {
    if (record == nullptr) return 0;
    ReleaseBorrowed(record);
    for (char* text : {record->lpszSubject, record->lpszNoteText, record->lpszMessageType,
                       record->lpszDateReceived, record->lpszConversationID}) {
        delete[] text;
    }
    if (record->lpOriginator != nullptr) FreeTexts(*record->lpOriginator);
    delete record->lpOriginator;
    for (const MapiRecipDesc& recipient : mapi::Recipients(*record)) {
        FreeTexts(recipient);
    }
    delete[] record->lpRecips;
    for (const MapiFileDesc& file : mapi::Files(*record)) {
        if (!keepFiles) DeleteFileOf(file);
        delete[] file.lpszPathName;
        delete[] file.lpszFileName;
        delete[] static_cast<char*>(file.lpFileType);
    }
    delete[] record->lpFiles;
    delete record;
    return 1;
}

// A file that cannot be deleted stays, for want of memory too: the records have to be freed.
bool CMapi::DeleteFileOf(const MapiFileDesc& file) noexcept {
    try {
        if (file.lpszPathName == nullptr || !m_system.files.Exists(file.lpszPathName)) return false;
        (void)m_system.files.Delete(file.lpszPathName);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void CMapi::_DeleteAttachments(const MapiMessage* record) {
    KV_LOG(5, "- Enter - CMapi:: _DeleteAttachments\n");
    if (record == nullptr) return;
    for (const MapiFileDesc& file : mapi::Files(*record)) {
        if (DeleteFileOf(file)) KV_LOG(5, "          - %s\n", file.lpszPathName);
        Yield();
    }
    KV_LOG(5, "- Exit - CMapi:: _DeleteAttachments\n");
}

void CMapi::DeleteCurrentAttachments() {
    if (m_lpMessage.IsLibrarys()) _DeleteAttachments(m_lpMessage.Get());
}
