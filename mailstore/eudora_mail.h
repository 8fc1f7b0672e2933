#pragma once

#include "frame/trans_base.h"
#include "mailstore/attachments.h"
#include "mailstore/draft.h"
#include "mailstore/mail_ids.h"
#include "mailstore/mail_queues.h"

// The mail translator: the mails of Eudora's in-box as records of eleven fields. It walks, reads
// and deletes them through Eudora's Simple MAPI library and learns their Message-IDs from the
// mailbox files. The current record is the message that CMapi holds; there is no store of records
// here. New mails and read states wait in memory until Close writes them into the mailbox files,
// and mails to be sent until Close hands them to the library.
class CREudoraMail : public CREudoraTransBase {
  public:
    ~CREudoraMail() override;

    using CREudoraTransBase::GetAppInfo;
    RRETURNCODE GetAppInfo(BOOL bConfigure, CRHostContext* pHost, CString& csSelection, RWORD word,
                           CString& csSummary, RWORD word2) override;
    using CREudoraTransBase::Open;
    // Reads the ids of the mailbox, unless they are known, and makes missing mailbox files.
    RRETURNCODE Open(int nMode, RWORD value2, RWORD value3, RWORD value4, RWORD word, RWORD word2,
                     RWORD value5, RWORD value6, RWORD value7, CEudoraTransUtil* pUtil) override;
    // Sends waiting mails, stores new ones, then stores read states; a failure of one step does not
    // stop the others and makes the result RRC_FAILED.
    RRETURNCODE Close(int nMode) override;
    RRETURNCODE SaveSettings(RWORD word, tagRAPPINFO* pAppInfo, RWORD word2) override;
    RRETURNCODE MoveFirst() override;
    RRETURNCODE MoveNext() override;
    RRETURNCODE GoToRecord(LPCTSTR pszRecId) override;
    RRETURNCODE AddNewRecord(RWORD word) override;
    using CREudoraTransBase::EditRecord;
    RRETURNCODE EditRecord() override;
    using CREudoraTransBase::DeleteRecord;
    // The only change that does not wait for Close.
    RRETURNCODE DeleteRecord() override;
    RRETURNCODE DeleteAllRecords() override;
    RRETURNCODE GetRecordID(CString& csRecordId) override;
    RRETURNCODE GetModifiedInfo(CString& csModifiedInfo) override;
    RRETURNCODE GetField(LPCTSTR pszFieldId, unsigned long* pType, void* pCell) override;
    RRETURNCODE SetField(LPCTSTR pszFieldId, unsigned long* pType, void* pCell) override;
    RRETURNCODE IsOkToSetRecord(RWORD word, RFIELDCALLBACK pfnGetValue, void* pContext,
                                BOOL* pbOk) override;

    int ShowOptions() override;
    RRETURNCODE InitDefaultSettings() override;
    int PassesFilters() override;
    // Queues a finished record for the out-box or the mailbox, or notes the read state of an edit.
    RRETURNCODE PrepareForUpdate() override;
    RRETURNCODE InitLocalVars();

  protected:
    mailstore::MailIds m_ids;
    mailstore::Draft m_draft;
    mailstore::AttachFolder m_attach;
    mailstore::MailQueues m_queues{m_attach};
    bool m_bAppReady = false;
    bool m_bOutBox = false;        // the record in hand goes to the out-box
    bool m_bOutBoxRecord = false;  // the record that the host addresses went there

  private:
    RRETURNCODE IndexMailbox();
    RRETURNCODE GiveAttachments(char*& cell);
    RRETURNCODE GiveMessageId(char*& cell);
    // Judges the result of CMapi's MoveFirst or MoveNext: RRC_OK if it reached a message.
    RRETURNCODE CheckMove(int result);
    bool IsTooLarge();
    bool IsTooOld();
    void SetStatus(std::uint32_t status);
    void GiveId(std::string_view messageId);
    void QueueForMailbox();

    bool m_isOpen = false;
    bool m_passedOver = false;  // the last MoveFirst has called MoveNext
};
