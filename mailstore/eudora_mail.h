#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_set>

#include "frame/trans_base.h"
#include "mailstore/id_map.h"
#include "mailstore/new_mail_writer.h"
#include "mapi/mapi.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/files.h"

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
    RRETURNCODE Open(int nMode, RWORD value2, RWORD value3, RWORD value4, RWORD word, RWORD word2,
                     RWORD value5, RWORD value6, RWORD value7, CEudoraTransUtil* pUtil) override;
    RRETURNCODE Close(int nMode) override;
    RRETURNCODE SaveSettings(RWORD word, tagRAPPINFO* pAppInfo, RWORD word2) override;
    RRETURNCODE MoveFirst() override;
    RRETURNCODE MoveNext() override;
    RRETURNCODE GoToRecord(LPCTSTR pszRecId) override;
    RRETURNCODE AddNewRecord(RWORD word) override;
    using CREudoraTransBase::EditRecord;
    RRETURNCODE EditRecord() override;
    using CREudoraTransBase::DeleteRecord;
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
    RRETURNCODE BuildFieldList() override;
    RRETURNCODE ResetRecordState() override;
    RRETURNCODE PrepareForAdd() override;
    RRETURNCODE PrepareForEdit() override;
    RRETURNCODE PrepareForUpdate() override;
    virtual RRETURNCODE InitLocalVars();

    // Starts Eudora and gives it time to come up (9.5 seconds) unless it runs already. 1 if it
    // could not be started, else 0.
    int RunEudoraPro();
    // Appends the queued mails to the mailbox files. What cannot be written stays queued; what the
    // mailbox cannot take at all is dropped, and the messages name it.
    RRETURNCODE WriteNewMails();
    // Stores the noted read states in the .toc file; those of mails that stay queued stay noted.
    RRETURNCODE UpdateMailStatus();
    // Removes the temporary files that GetAttachments made.
    void DeleteAttachFile();
    // Makes what is missing of the two files; RRC_FAILED if one cannot be made.
    RRETURNCODE CreateMailboxFiles(const CString& mbx, const CString& toc);
    // Copies the current message's files as the settings allow, and lists them as text.
    RRETURNCODE GetAttachments(CString& csOut);
    // Copies the files that the list text names into the Attach folder and enters them in the new
    // record.
    RRETURNCODE NewAttachments(LPCTSTR listText);
    // The path, or the first of its successors with "1" appended to the name at which nothing
    // exists.
    CString MakeUniquePath(const CString& path);
    // Queues the text for CMapi's last error.
    void ReportMapiError();

  protected:
    // The session that Open took; the module's own before.
    CMapi& Mapi();

    MapiMessage* m_lpNewMessage = nullptr;
    CMapi* m_pMapi = nullptr;
    std::uint32_t m_dwNextIndexID = 0;  // 0: the mailbox is not indexed yet
    mailstore::IdMap m_mapMessageIDToIndexID;
    mailstore::IdMap m_mapIndexIDToMessageID;
    std::string m_pszTo, m_pszCc, m_pszBcc;
    bool m_bAppReady = false;
    bool m_bOutBox = false;
    bool m_bOutBoxRecord = false;
    std::list<MapiMessage*> m_lstOutBoxMails;
    std::list<MapiMessage*> m_lstNewMails;
    std::map<std::string, std::string> m_mapMailStatus;
    CString m_csAttachDir;
    CString m_csMailboxName;

  private:
    bool BringUp(CEudoraTransUtil& util);
    void MakeAttachFolder(CEudoraTransUtil& util);
    CString MailboxPath(const char* extension);
    RRETURNCODE IndexMailbox();
    std::unique_ptr<platform::File> OpenMailboxFile(const CString& path, platform::OpenMode mode,
                                                    platform::Share share, const char* operation);
    RRETURNCODE FillMaps(platform::File& mbx, platform::File& toc);
    RRETURNCODE SendQueuedMails();
    void FreeNewMessage();
    void FreeRecords(std::list<MapiMessage*>& records);
    void FreeNewMails();
    bool IsOnlyCopy(const MapiFileDesc& file) const;
    void NameOnlyCopies(const std::list<MapiMessage*>& records);

    RRETURNCODE GiveField(MailField field, const MapiMessage& message, void* pCell);
    RRETURNCODE GiveText(const char* text, char*& cell);
    RRETURNCODE GiveDate(const char* text, double& cell);
    RRETURNCODE GiveBody(const MapiMessage& message, char*& cell);
    RRETURNCODE GiveAttachments(char*& cell);
    RRETURNCODE GiveMessageId(char*& cell);
    RRETURNCODE InvalidMessage();
    // Judges the result of CMapi's MoveFirst or MoveNext: RRC_OK if it reached a message.
    RRETURNCODE CheckMove(int result);
    bool IsTooLarge();
    bool IsTooOld();

    bool AddAttachment(const MapiFileDesc& file, CArray<CRAttachmentInfo>& list);
    bool PassesSizeLimit(const CString& path, bool& passes);
    CString NamePart(const char* path);
    bool StoreAttachment(const CRAttachmentInfo& item, MapiFileDesc& entry);
    void DeleteSource(const CString& source, const char* copy);
    CString AttachPath(const CString& fileName);

    void SetStatus(std::int32_t status);
    void SetNewField(MailField field, void* pCell);
    void GiveId(std::string_view messageId);
    void QueueForSending();
    void QueueForMailbox();
    void NoteStatus();
    void ForgetAllIds();
    std::string MessageIdOf(const MapiMessage& record) const;
    void ReleaseStored(std::size_t count) noexcept;
    RRETURNCODE DropNewMails();
    RRETURNCODE ReportUnwritten(const mailbox::Appended& appended);
    void ReportFile(const platform::Failure& failure, const CString& path);
    RRETURNCODE DropBeyondFull();
    void ReportNamed(frame::StringId id, const CString& name);
    RRETURNCODE StoreMailStatus();

    bool m_isIndexed = false;   // numbers for new mails can be given
    bool m_passedOver = false;  // the last MoveFirst has called MoveNext
    std::unordered_set<std::uint32_t> m_idsOfTable;
    std::size_t m_uncertain = 0;  // the first of m_lstNewMails, which may be stored already
    // Copies in the Attach folder whose source was deleted for them.
    std::set<std::string, std::less<>> m_onlyCopies;
};
