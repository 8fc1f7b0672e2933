// Ending a session: what was queued goes out, and what was made for the session goes away.
#include "frame/guard.h"
#include "mailstore/eudora_mail.h"

using frame::Guarded;

RRETURNCODE CREudoraMail::Close(int) {
    return Guarded("Close", [&] {
        KV_LOG(5, "Enter - CREudoraMail::Close");
        RRETURNCODE result = Guarded("Close", [&] { return SendQueuedMails(); });
        if (m_pMapi != nullptr) m_pMapi->DeleteCurrentAttachments();
        m_pMapi = nullptr;
        if (WriteNewMails() != RRC_OK) result = RRC_FAILED;
        if (UpdateMailStatus() != RRC_OK) result = RRC_FAILED;
        DeleteAttachFile();
        if (m_lstNewMails.empty()) m_onlyCopies.clear();
        return result;
    });
}

RRETURNCODE CREudoraMail::SendQueuedMails() {
    while (!m_lstOutBoxMails.empty()) {
        FreeNewMessage();
        m_lpNewMessage = m_lstOutBoxMails.front();
        m_lstOutBoxMails.pop_front();
        const bool isSent = Mapi().UpdateMail(m_lpNewMessage) == 1;
        if (!isSent) ReportMapiError();
        FreeNewMessage();
        if (isSent) continue;
        KV_LOG(1, "Updatation failed in CREudoraMail::Close()\n");
        NameOnlyCopies(m_lstOutBoxMails);
        FreeRecords(m_lstOutBoxMails);
        return RRC_FAILED;
    }
    return RRC_OK;
}

void CREudoraMail::DeleteAttachFile() {
    KV_LOG(5, "Enter - CREudoraMail::DeleteAttachFile");
    platform::System& system = Util().system;
    const auto folder = system.files.TempFolder();
    if (!folder) return;
    const auto matches = system.files.List(*folder, "Qzv*.tmp");
    if (!matches || matches->empty()) return;
    for (const auto& entry : *matches) {
        // Copies of read-only files were once read-only.
        if (!entry.isFolder) (void)system.files.DeleteEvenReadOnly(*folder + entry.name);
        KV_LOG(5, "          - %s\n", entry.name.c_str());
        system.clock.Sleep(std::chrono::milliseconds(0));
    }
    KV_LOG(5, "Exit - CREudoraMail::DeleteAttachFile");
}
