#include "frame/plain_translator.h"

#include "frame/guard.h"

namespace frame {

namespace {

constexpr const char* kEnter = "Enter CREudoraTransBase::";

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

RRETURNCODE PlainTranslator::Close(int nMode) {
    KV_LOG(5, "Enter CREudoraTransBase::Close - Input : Mode - %d\n", nMode);
    return RRC_OK;
}

RRETURNCODE PlainTranslator::MoveFirst() {
    return Entered(kEnter, "MoveFirst", [] { return RRC_EOF; });
}

RRETURNCODE PlainTranslator::MoveNext() {
    return Entered(kEnter, "MoveNext", [] { return RRC_EOF; });
}

RRETURNCODE PlainTranslator::GoToRecord(LPCTSTR pszRecId) {
    KV_LOG(5, "Enter CREudoraTransBase::GoToRecord: %s\n", pszRecId);
    return RRC_OK;
}

RRETURNCODE PlainTranslator::AddNewRecord(RWORD) {
    return Entered(kEnter, "AddNewRecord", [] { return RRC_FAILED; });
}

RRETURNCODE PlainTranslator::EditRecord() {
    return Entered(kEnter, "EditRecord", [] {
        KV_LOG(5, "Exit CREudoraTransBase::EditRecord\n");
        return RRC_OK;
    });
}

RRETURNCODE PlainTranslator::DeleteRecord() {
    return Entered(kEnter, "DeleteRecord", [] { return RRC_OK; });
}

RRETURNCODE PlainTranslator::GetRecordID(CString& csRecordId) {
    return Entered(kEnter, "GetRecordID", [&] {
        csRecordId.Empty();
        return RRC_OK;
    });
}

RRETURNCODE PlainTranslator::GetModifiedInfo(CString&) {
    return Entered(kEnter, "GetModifiedInfo", [] { return RRC_FAILED; });
}

RRETURNCODE PlainTranslator::GetField(LPCTSTR pszFieldId, unsigned long* pType, void* pCell) {
    return Guarded("GetField", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::GetField : Input - Field Id : %s\n", pszFieldId);
        if (!HasField(pszFieldId)) return RRC_FAILED;
        const RRETURNCODE code = EmptyValue(pszFieldId, *pType, pCell);
        if (code == RRC_OK) KV_LOG(5, "Exit CREudoraTransBase::GetField\n");
        return code;
    });
}

RRETURNCODE PlainTranslator::SetField(LPCTSTR pszFieldId, unsigned long*, void*) {
    return Guarded("SetField", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::SetField : Input - Field Id : %s\n", pszFieldId);
        if (HasField(pszFieldId))
            KV_LOG(1, "CREudoraTransBase::SetField - Unsupported field type\n");
        return RRC_FAILED;
    });
}

// The same line for both operations, which names the one.
bool PlainTranslator::HasField(LPCTSTR fieldId) const {
    const bool isThere = m_appInfo.m_fields.Lookup(fieldId) >= 0;
    if (!isThere) {
        KV_LOG(1, "CREudoraTransBase::SetField Field Id '%s' is not found in the list", fieldId);
    }
    return isThere;
}

RRETURNCODE PlainTranslator::IsOkToSetRecord(RWORD, RFIELDCALLBACK, void*, BOOL* pbOk) {
    return Entered(kEnter, "IsOkToSetRecord", [&] {
        *pbOk = 1;
        return RRC_OK;
    });
}

}  // namespace frame
