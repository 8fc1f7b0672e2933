#include "frame/field.h"

void CREudoraField::Set(LPCTSTR fieldId, std::int32_t number, std::int32_t stringId,
                        LPCTSTR defaultName, std::int32_t type, std::uint32_t tag, bool special) {
    m_csFieldId = fieldId;
    m_nNumber = number;
    m_nStringId = stringId;
    m_csDefaultName = defaultName;
    m_nType = type;
    m_dwTag = tag;
    m_bSpecial = special;
}

void CREudoraField::Serialize(CArchive& archive) {
    archive.Text(m_csFieldId);
    archive.Number(m_nNumber);
    archive.Number(m_nStringId);
    archive.Text(m_csDefaultName);
    archive.Number(m_nType);
    archive.Number(m_dwTag);
    std::uint32_t special = m_bSpecial ? 1 : 0;
    archive.Number(special);
    m_bSpecial = special != 0;
}

int CREudoraFieldArray::Add(const CREudoraField& field) {
    const int position = GetCount();
    m_items.push_back(field);
    m_mapIndex[field.m_csFieldId.Str()] = position;
    return position;
}

int CREudoraFieldArray::Lookup(LPCTSTR fieldId) const {
    if (fieldId == nullptr) return -1;
    const auto found = m_mapIndex.find(fieldId);
    return found == m_mapIndex.end() ? -1 : found->second;
}

void CREudoraFieldArray::RemoveAll() {
    m_items.clear();
    m_mapIndex.clear();
}

void CREudoraFieldArray::Serialize(CArchive& archive) {
    auto count = static_cast<std::uint32_t>(m_items.size());
    archive.Number(count);
    if (!archive.IsLoading()) {
        for (CREudoraField& field : m_items) field.Serialize(archive);
        return;
    }
    RemoveAll();
    // A damaged count needs no bound of its own: the bytes end before the memory does.
    for (; count > 0; --count) {
        CREudoraField field;
        field.Serialize(archive);
        Add(field);
    }
}
