#include "frame/app_info.h"

#include <string>
#include <utility>

namespace {

// Shift-JIS.
constexpr const char* kDaysBefore = "\x8D\xC5\x8B\xDF\x82\xCC";  // "in the last"
constexpr const char* kDaysAfter = "\x93\xFA\x8A\xD4";           // "days"
constexpr const char* kAtMost = "\x8D\xC5\x91\xE5: ";            // "at most"
constexpr const char* kAttachments = "\x93\x59\x95\x74: ";       // "attachments"

}  // namespace

void CREudoraField::Serialize(CArchive& archive) {
    std::uint32_t special = m_bSpecial ? 1 : 0;
    archive.Text(m_csFieldId);
    archive.Number(m_nNumber);
    archive.Number(m_nStringId);
    archive.Text(m_csDefaultName);
    archive.Number(m_nType);
    archive.Number(m_dwTag);
    archive.Number(special);
    m_bSpecial = special != 0;
}

int CREudoraFieldArray::Lookup(LPCTSTR fieldId) const {
    if (fieldId == nullptr) return -1;
    int position = GetSize() - 1;
    while (position >= 0 && !(GetAt(position).m_csFieldId == fieldId)) --position;
    return position;
}

void CREudoraFieldArray::Serialize(CArchive& archive) {
    auto count = static_cast<std::uint32_t>(GetSize());
    archive.Number(count);
    if (!archive.IsLoading()) {
        for (CREudoraField field : *this) field.Serialize(archive);
        return;
    }
    RemoveAll();
    // A damaged count needs no bound of its own: the bytes end before the memory does.
    for (; count > 0; --count) {
        CREudoraField field;
        field.Serialize(archive);
        Add(std::move(field));
    }
}

void CEudoraAppInfo::Serialize(CArchive& archive) {
    auto status = static_cast<std::int32_t>(m_dtStamp.m_status);
    archive.Number(status);
    m_dtStamp.m_status = static_cast<COleDateTime::Status>(status);
    archive.Double(m_dtStamp.m_date);
    m_fields.Serialize(archive);
    for (auto* number : {&m_bAttachments, &m_bLimitAttachSize, &m_nAttachLimitKB}) {
        archive.Number(*number);
    }
    archive.Text(m_csReserved);
    for (auto* number : {&m_bLimitMailSize, &m_bLimitMailAge, &m_nMailAgeDays, &m_nMailLimitKB}) {
        archive.Number(*number);
    }
}

CString CEudoraAppInfo::GetSummaryText() const {
    std::string text;
    if (m_bLimitMailAge != 0) {
        text += kDaysBefore + std::to_string(m_nMailAgeDays) + kDaysAfter + ", ";
    }
    if (m_bLimitMailSize != 0) text += kAtMost + std::to_string(m_nMailLimitKB) + "KB, ";
    text += kAttachments;
    if (m_bAttachments == 0) return text + "No";
    return text + (m_bLimitAttachSize != 0 ? std::to_string(m_nAttachLimitKB) + "KB" : "Yes");
}
