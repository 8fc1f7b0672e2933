#include "mailstore/messages.h"

#include "mailstore/in_box.h"

namespace mailstore {

using frame::StringId;

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
