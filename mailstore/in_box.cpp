#include "mailstore/in_box.h"

#include <string_view>

#include "mailbox/toc_records.h"
#include "platform/kvutil/kvutil.h"

namespace mailstore {

using frame::StringId;
using platform::File;
using platform::OpenMode;
using platform::Share;

CString InBoxPath(CEudoraTransUtil& util, const char* extension) {
    const std::string& folder = util.csEudoraDir.Str();
    const CString name = util.GetString(StringId::kInBox);
    return name.IsEmpty() ? folder : folder + '\\' + name.Str() + extension;
}

bool MakeInBox(CEudoraTransUtil& util) {
    platform::Files& files = util.system.files;
    const auto make = [&](const char* extension, std::string_view content, const char* kind) {
        const std::string path = InBoxPath(util, extension).Str();
        if (!files.IsFree(path)) return true;
        // Nothing but a new file is ever written to.
        const auto file = files.Open(path, OpenMode::kCreateNew, Share::kNone);
        if (file) {
            const auto written = (*file)->Write(content), closed = (*file)->Close();
            if (written && closed) return true;
            (void)files.Delete(path);
            util.AddCause((written ? closed : written).Error());
        }
        KV_LOG(1, "Failed to Create %s file = %s\n", kind, path.c_str());
        return false;
    };
    return make(".mbx", "", "Inbox") && make(".toc", mailbox::NewTocHeader(), "Toc");
}

std::unique_ptr<File> OpenInBoxFile(CEudoraTransUtil& util, const char* extension, OpenMode mode,
                                    Share share, const char* operation) {
    const CString path = InBoxPath(util, extension);
    auto file = util.system.files.Open(path.Str(), mode, share);
    if (file) return *std::move(file);
    KV_LOG(1, "Unable to Open a file [%s] in CREudoraMail::%s()\n", path.Str().c_str(), operation);
    KV_LOG(1, "File Open Error Cause = %d in CREudoraMail::%s()\n", file.Error().systemError,
           operation);
    util.AddErrorText(util.FormatString(StringId::kCannotOpenFile, path));
    return nullptr;
}

void ReportInBoxFile(CEudoraTransUtil& util, const platform::Failure& failure,
                     const char* extension) {
    const CString path = InBoxPath(util, extension);
    if (failure.code == platform::ErrorCode::kCorrupt) {
        return ReportNamed(util, StringId::kForeignTable, path);
    }
    util.AddErrorText(util.FormatString(StringId::kCannotOpenFile, path));
    util.AddCause(failure);
}

void ReportNamed(CEudoraTransUtil& util, StringId id, const CString& name) {
    const CString text = util.FormatString(id, name);
    util.AddErrorText(text.IsEmpty() ? name : text);
}

void ReportMapiError(CEudoraTransUtil& util) {
    constexpr std::uint32_t kLastMapiCode = 25, kNoMapiCode = 7;
    constexpr auto kFirst = static_cast<std::uint32_t>(StringId::kFirstOfMapi);
    const std::uint32_t code = util.mapi.LastError();
    const bool hasText = code >= 1 && code <= kLastMapiCode && code != kNoMapiCode;
    util.AddError(hasText ? static_cast<StringId>(kFirst + code - 1) : StringId::kOtherMapiError);
}

}  // namespace mailstore
