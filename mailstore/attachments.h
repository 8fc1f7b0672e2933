#pragma once

#include <list>
#include <set>
#include <string>

#include "frame/trans_util.h"
#include "platform/kvutil/kvutil.h"

namespace mailstore {

// Eudora's folder for attachments: what comes in with new records is copied into it. Paths are
// Windows paths in the system code page.
class AttachFolder {
  public:
    // Finds the folder below Eudora's, and makes it if it is missing.
    void Find(CEudoraTransUtil& util);

    // Copies the files that the list text names into the folder, and enters them in the record
    // instead of what it had. RRC_FAILED if one cannot be stored; those before it are entered.
    RRETURNCODE NewAttachments(CEudoraTransUtil& util, LPCTSTR listText, MapiMessage& record);

    // Empties a queue of records that will never be mails. Their files go with them, but for those
    // that are all that is left of what the host handed over; NameOnlyCopies tells the host these.
    void FreeRecords(CMapi& mapi, std::list<MapiMessage*>& records) const;
    void NameOnlyCopies(CEudoraTransUtil& util, const std::list<MapiMessage*>& records) const;
    void ForgetOnlyCopies() { m_onlyCopies.clear(); }

    CString m_csAttachDir;  // ends in a backslash

  private:
    bool Store(CEudoraTransUtil& util, const CRAttachmentInfo& item, MapiFileDesc& entry);
    void DeleteSource(platform::Files& files, const CString& source, const char* copy);
    CString FreePath(const platform::System& system, const CString& fileName) const;
    bool IsOnlyCopy(const MapiFileDesc& file) const;

    // Copies whose source was deleted for them.
    std::set<std::string, std::less<>> m_onlyCopies;
};

// Copies the files of a message as the settings allow into the temporary folder, and lists them as
// text; the host owns the copies and may leave them to DeleteAttachFile. RRC_FAILED as a whole if
// one cannot be copied, without a list.
RRETURNCODE GetAttachments(CEudoraTransUtil& util, const CEudoraAppInfo& settings,
                           const MapiMessage& message, CString& csOut);

// Removes the copies that GetAttachments made and nobody took, those of other runs too.
void DeleteAttachFile(platform::System& system);

}  // namespace mailstore
