// Opening a session on the in-box: the mailbox files are made if they are missing and give the ids
// of their mails.
#include <algorithm>
#include <new>

#include "frame/guard.h"
#include "mailbox/mailbox_index.h"
#include "mailbox/toc_file.h"
#include "mailbox/toc_records.h"
#include "mailstore/eudora_mail.h"

using frame::Guarded;
using frame::StringId;
using platform::File;
using platform::OpenMode;
using platform::Share;

namespace {

constexpr int kModeAfterEmpty = 3;  // of Open, after an empty mailbox

}  // namespace

RRETURNCODE CREudoraMail::Open(int nMode, RWORD value2, RWORD value3, RWORD value4, RWORD word,
                               RWORD word2, RWORD value5, RWORD value6, RWORD value7,
                               CEudoraTransUtil* pUtil) {
    return Guarded("Open", [&] {
        KV_LOG(5, "CREudoraMail::Open - Flag =  %d Mode = %d\n", m_bBoxFileOpenFlag, nMode);
        if (pUtil != nullptr) m_pUtil = pUtil;
        SetBoxFileOpenFlagRegistry(0);
        if (m_bBoxFileOpenFlag != 0 && nMode == kModeAfterEmpty) SetBoxFileOpenFlagRegistry(1);
        m_pMapi = &Util().mapi;
        if (m_dwNextIndexID != 0) {
            m_bBoxFileOpenFlag = 0;
        } else if (const RRETURNCODE code = IndexMailbox(); code != RRC_OK) {
            return code;
        }
        return CREudoraTransBase::Open(nMode, value2, value3, value4, word, word2, value5, value6,
                                       value7, pUtil);
    });
}

CString CREudoraMail::MailboxPath(const char* extension) {
    const std::string& folder = Util().csEudoraDir.Str();
    if (m_csMailboxName.IsEmpty()) return folder;
    return folder + '\\' + m_csMailboxName.Str() + extension;
}

RRETURNCODE CREudoraMail::IndexMailbox() {
    m_isIndexed = false;
    m_csMailboxName = Util().GetString(StringId::kInBox);
    const CString mbxPath = MailboxPath(".mbx"), tocPath = MailboxPath(".toc");
    // What it cannot make does not open either.
    (void)CreateMailboxFiles(mbxPath, tocPath);
    const auto mbx = OpenMailboxFile(mbxPath, OpenMode::kRead, Share::kRead, "WriteNewMails");
    if (mbx == nullptr) return RRC_FAILED;
    const auto toc = OpenMailboxFile(tocPath, OpenMode::kRead, Share::kNone, "Open");
    if (toc == nullptr) return RRC_FAILED;
    try {
        return FillMaps(*mbx, *toc);
    } catch (const std::bad_alloc&) {
        KV_LOG(1, "Memory Allcation failed in CREudoraMail::Open\n");
        Util().AddError(StringId::kNoMemory);
        return RRC_FAILED;
    }
}

std::unique_ptr<File> CREudoraMail::OpenMailboxFile(const CString& path, OpenMode mode, Share share,
                                                    const char* operation) {
    auto file = Util().system.files.Open(path.Str(), mode, share);
    if (file) return *std::move(file);
    KV_LOG(1, "Unable to Open a file [%s] in CREudoraMail::%s()\n", path.Str().c_str(), operation);
    KV_LOG(1, "File Open Error Cause = %d in CREudoraMail::%s()\n", file.Error().systemError,
           operation);
    Util().AddErrorText(Util().FormatString(StringId::kCannotOpenFile, path));
    return nullptr;
}

RRETURNCODE CREudoraMail::FillMaps(File& mbx, File& toc) {
    const auto fail = [&](const platform::Failure& failure) {
        KV_LOG(1, "%s in CREudoraMail::Open\n", failure.Message().c_str());
        Util().AddErrorText(failure.Message().c_str());
        return RRC_FAILED;
    };
    const auto header = mailbox::ReadTocHeader(toc);
    if (!header) return fail(header.Error());
    const std::uint32_t count = header->wNumberOfMsgs;
    m_mapMessageIDToIndexID.Reserve(count);
    m_mapIndexIDToMessageID.Reserve(count);
    m_idsOfTable.clear();
    const auto lastId = mailbox::ReadIndex(
        mbx, toc, count, [&](std::uint32_t msgId, std::optional<std::string_view> messageId) {
            // The library, too, takes the first of two mails with one id.
            const bool isFirst = m_idsOfTable.insert(msgId).second;
            if (!isFirst || !messageId) return;
            const std::string indexId = mailbox::IndexIdOf(msgId);
            const std::string_view name = messageId->empty() ? indexId : *messageId;
            m_mapMessageIDToIndexID.Set(name, indexId);
            m_mapIndexIDToMessageID.Set(indexId, name);
            KV_LOG(5, "CREudoraMail::Open - IndexID = %s\n", indexId.c_str());
        });
    if (!lastId) return fail(lastId.Error());
    m_dwNextIndexID = std::max({1U, count, *lastId});
    m_isIndexed = true;
    if (count > 0) KV_LOG(4, "@@@@@@@@ wNumberOfMsgs = %d\n", static_cast<int>(count));
    m_bBoxFileOpenFlag = count == 0 ? 1 : 0;
    return RRC_OK;
}

RRETURNCODE CREudoraMail::CreateMailboxFiles(const CString& mbx, const CString& toc) {
    platform::Files& files = Util().system.files;
    // Nothing but a new file is ever written to.
    const auto make = [&](const CString& path, std::string_view content) {
        const auto file = files.Open(path.Str(), OpenMode::kCreateNew, Share::kNone);
        if (!file) return false;
        const auto written = (*file)->Write(content), closed = (*file)->Close();
        if (written && closed) return true;
        (void)files.Delete(path.Str());
        Util().AddCause((written ? closed : written).Error());
        return false;
    };
    if (files.IsFree(mbx.Str()) && !make(mbx, "")) {
        KV_LOG(1, "Failed to Create Inbox file = %s\n", mbx.Str().c_str());
        return RRC_FAILED;
    }
    if (files.IsFree(toc.Str()) && !make(toc, mailbox::NewTocHeader())) {
        KV_LOG(1, "Failed to Create Toc file = %s\n", toc.Str().c_str());
        return RRC_FAILED;
    }
    return RRC_OK;
}
