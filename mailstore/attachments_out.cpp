#include "mailstore/attachments_out.h"

#include <string>

#include "platform/kvutil/kvutil.h"
#include "text/path.h"

namespace mailstore {

namespace {

using frame::StringId;
using platform::OpenMode;
using platform::Share;

constexpr const char *kPrefix = "Qzv", *kPattern = "Qzv*.tmp";

// Measured on the open file, before anything is copied. False if it cannot be measured.
bool PassesSizeLimit(CEudoraTransUtil& util, const CEudoraAppInfo& settings,
                     const std::string& path, bool& passes) {
    const auto file = util.system.files.Open(path, OpenMode::kRead, Share::kRead);
    if (!file) {
        KV_LOG(1, "CreateFile() API failed in CREudoraMail::GetAttachments = %x",
               static_cast<unsigned>(file.Error().systemError));
        util.AddError(StringId::kAttachmentUnopened);
        return false;
    }
    passes = settings.m_bLimitAttachSize == 0;
    if (passes) return true;
    auto size = (*file)->Size();
    if (!size) size = (*file)->Size();
    if (!size) {
        KV_LOG(1, "GetFileSize() API failed in CREudoraMail::GetAttachments, and  Error Code = %x",
               static_cast<unsigned>(size.Error().systemError));
        util.AddError(StringId::kAttachmentSizeUnknown);
        return false;
    }
    passes = *size <= std::uint64_t{static_cast<std::uint32_t>(settings.m_nAttachLimitKB)} * 1024;
    return true;
}

bool AddAttachment(CEudoraTransUtil& util, const CEudoraAppInfo& settings, const MapiFileDesc& file,
                   CArray<CRAttachmentInfo>& list) {
    if ((file.flFlags & (mapi::kOle | mapi::kOleStatic)) != 0) return true;
    const CString source(file.lpszPathName);
    bool passes = false;
    if (!PassesSizeLimit(util, settings, source.Str(), passes)) return false;
    if (!passes) return true;
    platform::Files& files = util.system.files;
    const auto folder = files.TempFolder();
    const auto target = folder ? files.CreateTempFile(*folder, kPrefix) : folder;
    if (!target || !platform::CopyInto(files, source.Str(), *target)) {
        KV_LOG(1, "Unable to Copy the file");
        return false;
    }
    const std::string path = file.lpszFileName != nullptr ? file.lpszFileName : source.Str();
    const CString name = path.substr(text::LastSeparator(path, util.system.codePage) + 1);
    list.Add({1, 1, name, name, *target});
    return true;
}

}  // namespace

RRETURNCODE GetAttachments(CEudoraTransUtil& util, const CEudoraAppInfo& settings,
                           const MapiMessage& message, CString& csOut) {
    CArray<CRAttachmentInfo> list;
    for (const MapiFileDesc& file : mapi::Files(message)) {
        if (!AddAttachment(util, settings, file, list)) return RRC_FAILED;
    }
    (void)AttachmentInfoToStr(list, csOut);
    return RRC_OK;
}

void DeleteAttachFile(platform::System& system) {
    KV_LOG(5, "Enter - CREudoraMail::DeleteAttachFile");
    const auto folder = system.files.TempFolder();
    if (!folder) return;
    const auto matches = system.files.List(*folder, kPattern);
    if (!matches || matches->empty()) return;
    for (const auto& entry : *matches) {
        // Copies of read-only files were once read-only.
        if (!entry.isFolder) (void)system.files.DeleteEvenReadOnly(*folder + entry.name);
        KV_LOG(5, "          - %s\n", entry.name.c_str());
        system.clock.Sleep(std::chrono::milliseconds(0));
    }
    KV_LOG(5, "Exit - CREudoraMail::DeleteAttachFile");
}

}  // namespace mailstore
