#pragma once

#include <list>
#include <set>
#include <string>

#include "frame/trans_util.h"
#include "platform/kvutil/kvutil.h"

namespace mailstore {

// Eudora's folder for attachments, into which those of new records are copied. Paths are Windows
// paths in the system code page.
class AttachFolder {
  public:
    // Finds the folder below Eudora's, and makes it if it is missing.
    void Find(CEudoraTransUtil& util);

    // Copies the files of a list text (platform/kvutil/kvutil.h) into the folder and makes the
    // copies the record's files. RRC_FAILED if one cannot be stored; the record has those before
    // it.
    RRETURNCODE NewAttachments(CEudoraTransUtil& util, LPCTSTR listText, MapiMessage& record);

    // Frees a queue of records that will never be stored or sent, and deletes their copies. A copy
    // whose source was deleted stays; NameOnlyCopies queues a message with its path.
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

// Copies the files of a message into the temporary folder, as far as the settings allow, and gives
// them as a list text. The host owns the copies; DeleteAttachFile removes those that it leaves.
// RRC_FAILED, without a list, if one cannot be copied.
RRETURNCODE GetAttachments(CEudoraTransUtil& util, const CEudoraAppInfo& settings,
                           const MapiMessage& message, CString& csOut);

// Deletes all copies of GetAttachments that are left in the temporary folder, also of other runs.
void DeleteAttachFile(platform::System& system);

}  // namespace mailstore
