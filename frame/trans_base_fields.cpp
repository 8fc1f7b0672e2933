#include "frame/guard.h"
#include "frame/trans_base.h"

using frame::Guarded;

namespace {

// GetField and SetField log the same line, which names the one.
void LogUnknownField(LPCTSTR fieldId) {
    KV_LOG(1, "CREudoraTransBase::SetField Field Id '%s' is not found in the list", fieldId);
}

// The empty value of a field of that type. Numbers and dates stay as the caller preset them.
RRETURNCODE EmptyValue(LPCTSTR fieldId, unsigned long type, void* pCell) {
    switch (type) {
        case kFieldInteger:
            KV_LOG(4, "CREudoraTransBase::GetField Id: %s, Data: %ld", fieldId,
                   static_cast<long>(*static_cast<std::int32_t*>(pCell)));
            return RRC_OK;
        case kFieldBool:
            KV_LOG(4, "CREudoraTransBase::GetField Id: %s, Data: %s", fieldId,
                   *static_cast<std::int32_t*>(pCell) != 0 ? "TRUE" : "FALSE");
            return RRC_OK;
        case kFieldText:
            if (AllocVornString(*static_cast<char**>(pCell), "") == RRC_OK) return RRC_OK;
            KV_LOG(1, "CREudoraTransBase::GetField : Insufficient memory\n");
            return RRC_FAILED;
        case kFieldDateFirst:
        case kFieldDateFirst + 1:
        case kFieldDateLast:
            KV_LOG(4, "CREudoraTransBase::GetField Id: %s, Data: %s", fieldId, "");
            return RRC_OK;
        default:
            KV_LOG(1, "CREudoraTransBase::GetField - Unsupported field type\n");
            return RRC_FAILED;
    }
}

}  // namespace

RRETURNCODE CREudoraTransBase::GetFirstFieldInfo(CString& csFieldId, CString& csFieldName,
                                                 unsigned long* pType, unsigned long* pTag,
                                                 unsigned short* pOrdinal) {
    return Guarded("GetFirstFieldInfo", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::GetFirstFieldInfo\n");
        m_nFieldCursor = 0;
        return GetNextFieldInfo(csFieldId, csFieldName, pType, pTag, pOrdinal);
    });
}

RRETURNCODE CREudoraTransBase::GetNextFieldInfo(CString& csFieldId, CString& csFieldName,
                                                unsigned long* pType, unsigned long* pTag,
                                                unsigned short* pOrdinal) {
    return Guarded("GetNextFieldInfo", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::GetNextFieldInfo\n");
        if (m_nFieldCursor >= m_appInfo.m_fields.GetCount()) return RRC_NONE;
        const CREudoraField field = m_appInfo.m_fields.GetAt(m_nFieldCursor);
        csFieldId = field.m_csFieldId;
        csFieldName.Empty();
        if (field.m_nStringId > 0) csFieldName = Util().GetString(field.NameId());
        if (csFieldName.IsEmpty()) csFieldName = field.m_csDefaultName;
        *pType = static_cast<unsigned long>(field.m_nType);
        *pTag = field.m_dwTag;
        *pOrdinal = static_cast<unsigned short>(++m_nFieldCursor);
        return RRC_OK;
    });
}

RRETURNCODE CREudoraTransBase::GetFieldCount(long* pCount) {
    return Guarded("GetFieldCount", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::GetFieldCount\n");
        *pCount = m_appInfo.m_fields.GetCount();
        return RRC_OK;
    });
}

RRETURNCODE CREudoraTransBase::GetField(LPCTSTR pszFieldId, unsigned long* pType, void* pCell) {
    return Guarded("GetField", [&]() -> RRETURNCODE {
        KV_LOG(5, "Enter CREudoraTransBase::GetField : Input - Field Id : %s\n", pszFieldId);
        const int position = m_appInfo.m_fields.Lookup(pszFieldId);
        if (position < 0) {
            LogUnknownField(pszFieldId);
            return RRC_FAILED;
        }
        CREudoraField field = m_appInfo.m_fields.GetAt(position);
        if (field.m_bSpecial) {
            BOOL handled = 0;
            const RRETURNCODE code = GetSpecialField(field, pCell, &handled);
            if (handled != 0) return RRC_OK;
            if (code != RRC_OK) return code;
        }
        const RRETURNCODE code = EmptyValue(pszFieldId, *pType, pCell);
        if (code == RRC_OK) KV_LOG(5, "Exit CREudoraTransBase::GetField\n");
        return code;
    });
}

RRETURNCODE CREudoraTransBase::SetField(LPCTSTR pszFieldId, unsigned long*, void* pCell) {
    return Guarded("SetField", [&]() -> RRETURNCODE {
        KV_LOG(5, "Enter CREudoraTransBase::SetField : Input - Field Id : %s\n", pszFieldId);
        const int position = m_appInfo.m_fields.Lookup(pszFieldId);
        if (position < 0) {
            LogUnknownField(pszFieldId);
            return RRC_FAILED;
        }
        CREudoraField field = m_appInfo.m_fields.GetAt(position);
        if (field.m_bSpecial) {
            BOOL handled = 0;
            const RRETURNCODE code = SetSpecialField(field, pCell, &handled);
            if (handled != 0) return RRC_OK;
            if (code != RRC_OK) return code;
        }
        KV_LOG(1, "CREudoraTransBase::SetField - Unsupported field type\n");
        return RRC_FAILED;
    });
}
