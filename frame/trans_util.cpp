#include "frame/trans_util.h"

#include <utility>

#include "frame/format_text.h"
#include "integration/locate/locate.h"
#include "platform/kvutil/kvutil.h"

using frame::StringId;

namespace {

CEudoraTransUtil*& Replacement() {
    static CEudoraTransUtil* util = nullptr;
    return util;
}

RRETURNCODE TakeOldest(CStringArray& queue, CString& out) {
    if (queue.IsEmpty()) return RRC_NONE;
    out = queue.GetAt(0);
    queue.RemoveAt(0);
    return RRC_OK;
}

}  // namespace

CEudoraTransUtil& TransUtil() {
    static CEudoraTransUtil own(platform::NativeSystem());
    return Replacement() != nullptr ? *Replacement() : own;
}

void UseTransUtil(CEudoraTransUtil* util) {
    Replacement() = util;
}

CEudoraTransUtil::CEudoraTransUtil(const platform::System& theSystem)
    : system(theSystem), bundle(system.libraries), mapi(system) {}

CString CEudoraTransUtil::GetString(StringId id) {
    const auto number = static_cast<std::uint32_t>(id);
    CString text;
    if (!bundle.LoadString(number, text)) {
        KV_LOG(1, "WARNING: String for ID %u not found.(CEudoraTransUtil::GetString)", number);
    }
    return text;
}

CString CEudoraTransUtil::FormatString(StringId id, const CString& text) {
    return frame::FormatText(GetString(id).Str(), text.Str(), std::nullopt);
}

CString CEudoraTransUtil::FormatString(StringId id, const CString& text, int number) {
    return frame::FormatText(GetString(id).Str(), text.Str(), number);
}

void CEudoraTransUtil::AddError(StringId id) {
    saErrors.Add(GetString(id));
}

void CEudoraTransUtil::AddErrorText(LPCTSTR text) {
    saErrors.Add(text);
}

void CEudoraTransUtil::AddFileError(const platform::Failure& failure) {
    AddErrorText(FormatString(StringId::kCannotOpenFile, failure.context));
    AddCause(failure);
}

void CEudoraTransUtil::AddCause(const platform::Failure& failure) {
    if (failure.code == platform::ErrorCode::kNoSpace) AddError(StringId::kDiskFull);
    if (failure.code == platform::ErrorCode::kNoMemory) AddError(StringId::kNoMemory);
}

void CEudoraTransUtil::AddWarningText(LPCTSTR text) {
    saWarnings.Add(text);
}

void CEudoraTransUtil::ClearMessages() {
    ClearErrors();
    ClearWarnings();
}

RRETURNCODE CEudoraTransUtil::GetNextError(CString& out) {
    return TakeOldest(saErrors, out);
}

RRETURNCODE CEudoraTransUtil::GetNextWarning(CString& out) {
    return TakeOldest(saWarnings, out);
}

int CEudoraTransUtil::FindEudora(CString& csProgram) {
    return locate::FindEudora(system.registry, system.files, csEudoraDir, csProgram) ? 1 : 0;
}

void CEudoraTransUtil::FindNicknameFile(CString csProgram) {
    csNicknamePath = locate::FindNicknameFile(system.files, csProgram, system.codePage);
}

int CEudoraTransUtil::CheckDefaultClient() {
    CString program;
    if (FindEudora(program) == 0) return 1;
    return locate::IsDefaultClient(system.registry, system.files, program) ? 0 : 2;
}
