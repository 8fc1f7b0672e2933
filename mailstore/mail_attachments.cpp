// Attachments on their way out: copies of the current message's files in the temporary folder.
#include "frame/guard.h"
#include "mailstore/eudora_mail.h"
#include "text/path.h"

using frame::Guarded;
using frame::StringId;
using platform::OpenMode;
using platform::Share;

RRETURNCODE CREudoraMail::GetAttachments(CString& csOut) {
    return Guarded("GetAttachments", [&] {
        csOut.Empty();
        if (m_appInfo.m_bAttachments == 0) return RRC_OK;
        MapiMessage* message = nullptr;
        if (Mapi().GetCurrentMessage(message) != 1) {
            KV_LOG(1, "Invalid Message Pointer in CREudoraMail::GetAttachments\n");
            Util().AddError(StringId::kNoMessage);
            return RRC_FAILED;
        }
        CArray<CRAttachmentInfo> list;
        const std::uint32_t count = message->lpFiles != nullptr ? message->nFileCount : 0;
        for (std::uint32_t i = 0; i < count; ++i) {
            if (!AddAttachment(message->lpFiles[i], list)) return RRC_FAILED;
        }
        (void)AttachmentInfoToStr(list, csOut);
        return RRC_OK;
    });
}

bool CREudoraMail::AddAttachment(const MapiFileDesc& file, CArray<CRAttachmentInfo>& list) {
    if ((file.flFlags & (mapi::kOle | mapi::kOleStatic)) != 0) return true;
    const CString source(file.lpszPathName);
    bool passes = false;
    if (!PassesSizeLimit(source, passes)) return false;
    if (!passes) return true;
    platform::Files& files = Util().system.files;
    const auto folder = files.TempFolder();
    const auto target = folder ? files.CreateTempFile(*folder, "Qzv") : folder;
    if (!target || !platform::CopyInto(files, source.Str(), *target)) {
        KV_LOG(1, "Unable to Copy the file");
        return false;
    }
    const CString name = NamePart(file.lpszFileName != nullptr ? file.lpszFileName : source);
    list.Add({1, 1, name, name, *target});
    return true;
}

// Measured on the open file, before anything is copied. False if it cannot be measured.
bool CREudoraMail::PassesSizeLimit(const CString& path, bool& passes) {
    const auto file = Util().system.files.Open(path.Str(), OpenMode::kRead, Share::kRead);
    if (!file) {
        KV_LOG(1, "CreateFile() API failed in CREudoraMail::GetAttachments = %x",
               static_cast<unsigned>(file.Error().systemError));
        Util().AddError(StringId::kAttachmentUnopened);
        return false;
    }
    passes = m_appInfo.m_bLimitAttachSize == 0;
    if (passes) return true;
    auto size = (*file)->Size();
    if (!size) size = (*file)->Size();
    if (!size) {
        KV_LOG(1, "GetFileSize() API failed in CREudoraMail::GetAttachments, and  Error Code = %x",
               static_cast<unsigned>(size.Error().systemError));
        Util().AddError(StringId::kAttachmentSizeUnknown);
        return false;
    }
    passes = *size <= std::uint64_t{static_cast<std::uint32_t>(m_appInfo.m_nAttachLimitKB)} * 1024;
    return true;
}

CString CREudoraMail::NamePart(const char* path) {
    const std::string_view whole(path);
    const auto last = text::LastSeparator(whole, Util().system.codePage);
    return last == std::string_view::npos ? whole : whole.substr(last + 1);
}
