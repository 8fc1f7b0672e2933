#include <cstring>

#include "addressbook/eudora4.h"
#include "addressbook/field_text.h"
#include "addressbook/token_scan.h"
#include "frame/guard.h"
#include "frame/interface/field_ids.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/code_page.h"
#include "text/double_byte.h"

using addressbook::CheckMode;
using frame::Guarded;
using frame::StringId;

namespace {

bool HasBracket(int checked) {
    return (checked & (addressbook::kHasGreater | addressbook::kHasLess)) != 0;
}

}  // namespace

RRETURNCODE CREudora4::GoToRecord(LPCTSTR pszRecId) {
    return Guarded("GoToRecord", [&] {
        KV_LOG(5, "Enter - CREudora4::GoToRecord\n");
        const auto result = m_AddressBook.FindRecord(CString(pszRecId).Str());
        if (result != RRC_OK) KV_LOG(1, "CREudora4::GoToRecord() API failed\n");
        return result;
    });
}

RRETURNCODE CREudora4::MoveFirst() {
    return Guarded("MoveFirst", [&] {
        KV_LOG(5, "Enter - CREudora4::IsEof\n");
        return SkipFilteredOut(m_AddressBook.FirstRecord());
    });
}

RRETURNCODE CREudora4::MoveNext() {
    return Guarded("MoveNext", [&] {
        KV_LOG(5, "Enter - CREudora4::MoveNext\n");
        return SkipFilteredOut(m_AddressBook.NextRecord());
    });
}

RRETURNCODE CREudora4::SkipFilteredOut(RRETURNCODE result) {
    while (result == RRC_OK && IsFilteredOut()) result = m_AddressBook.NextRecord();
    return result;
}

bool CREudora4::IsFilteredOut() {
    if (m_pTextFilters == nullptr) return false;
    const auto codePage = Util().system.codePage;
    for (int i = 0; i < m_nTextFilters; ++i) {
        const auto& filter = m_pTextFilters[i];
        unsigned long type = kFieldText;
        char* cell = nullptr;
        if (GetField(filter.pszFieldId, &type, &cell) != RRC_OK) continue;
        const CString value(cell);
        FreeVornString(cell);
        const CString text(filter.pszText);
        const auto wanted = platform::UpperCase(addressbook::Trimmed(text.Str()), codePage);
        if (!text::ContainsText(platform::UpperCase(value.Str(), codePage), wanted, codePage)) {
            return true;
        }
    }
    return false;
}

RRETURNCODE CREudora4::GetRecordID(CString& csRecordId) {
    return Guarded("GetRecordID", [&] {
        csRecordId = m_AddressBook.CurrentKey();
        return RRC_OK;
    });
}

RRETURNCODE CREudora4::GetModifiedInfo(CString& csModifiedInfo) {
    return Guarded("GetModifiedInfo", [&] {
        KV_LOG(5, "Enter - CREudora4::GetModifiedInfo\n");
        m_AddressBook.GetRecordChecksum(csModifiedInfo);
        return RRC_OK;
    });
}

RRETURNCODE CREudora4::GetField(LPCTSTR pszFieldId, unsigned long*, void* pCell) {
    return Guarded("GetField", [&] {
        KV_LOG(5, "Enter - CREudora4::GetField\n");
        Util().ClearErrors();
        const auto field = FieldOfId<ContactField>(pszFieldId);
        CString text;
        if (const auto result = m_AddressBook.GetRecordField(field, text); result != RRC_OK) {
            return result;
        }
        if (!IsContactField(field)) return RRC_OK;
        auto& cell = *static_cast<char**>(pCell);
        return HasLines(field) ? GiveLines(pszFieldId, text, cell)
                               : GiveText(pszFieldId, text, cell);
    });
}

RRETURNCODE CREudora4::GiveText(LPCTSTR fieldId, const CString& text, char*& cell) {
    KV_LOG(4, "%s = %s\n", fieldId, text.Str().c_str());
    if (AllocVornString(cell, text.GetLength() + 1) != RRC_OK) return OutOfMemory(fieldId);
    std::memcpy(cell, text.Str().c_str(), text.Str().size() + 1);
    return RRC_OK;
}

RRETURNCODE CREudora4::GiveLines(LPCTSTR fieldId, const CString& text, char*& cell) {
    cell = nullptr;
    if (text.IsEmpty()) return RRC_OK;
    if (AllocVornString(cell, text.GetLength() * 2 + 1) != RRC_OK) return OutOfMemory(fieldId);
    const auto lines = addressbook::ExpandLineBreaks(text.Str());
    std::memcpy(cell, lines.c_str(), lines.size() + 1);
    return RRC_OK;
}

RRETURNCODE CREudora4::OutOfMemory(LPCTSTR fieldId) {
    KV_LOG(5, "Fail to allcate Memory for filed [%s] in CREudora4::GetField\n", fieldId);
    Util().AddError(StringId::kNoMemoryForField);
    return RRC_FAILED;
}

RRETURNCODE CREudora4::SetField(LPCTSTR pszFieldId, unsigned long*, void* pCell) {
    return Guarded("SetField", [&] {
        Util().ClearErrors();
        const CString value(*static_cast<char**>(pCell));
        return m_AddressBook.SetRecordField(FieldOfId<ContactField>(pszFieldId), value.Str());
    });
}

RRETURNCODE CREudora4::IsOkToSetRecord(RWORD, RFIELDCALLBACK pfnGetValue, void* pContext,
                                       BOOL* pbOk) {
    return Guarded("IsOkToSetRecord", [&] {
        RRETURNCODE result = RRC_OK;
        unsigned long type = kFieldText;
        for (int i = 0; i < m_appInfo.m_fields.GetCount(); ++i) {
            const auto field = m_appInfo.m_fields.GetAt(i);
            void* cell = nullptr;
            BOOL hasField = 0;
            pfnGetValue(pContext, field.m_csFieldId, &cell, &type, &hasField);
            if (hasField != 1) continue;
            const char* text = cell != nullptr ? *static_cast<char**>(cell) : nullptr;
            const auto checked = CheckField(field, text != nullptr ? text : "");
            if (checked != RRC_OK) result = checked;
            if (checked == RRC_FAILED) break;
        }
        *pbOk = result == RRC_OK ? 1 : 0;
        return result;
    });
}

// RRC_OK, RRC_WARNING or RRC_FAILED, with the message queued.
RRETURNCODE CREudora4::CheckField(const CREudoraField& field, LPCTSTR text) {
    const auto id = FieldOfId<ContactField>(field.m_csFieldId);
    const auto mode = id == ContactField::kNickname ? CheckMode::kNickname
                      : id == ContactField::kName   ? CheckMode::kName
                                                    : CheckMode::kAny;
    const int checked = addressbook::CheckFieldValue(text, mode);
    if (mode == CheckMode::kName && checked == addressbook::kNoName) {
        return RefuseField(StringId::kNoLetterOrDigit, field);
    }
    if (mode == CheckMode::kNickname && (checked & addressbook::kHasComma) != 0) {
        return RefuseField(StringId::kInvalidNickname, field);
    }
    if (mode == CheckMode::kNickname && (checked & addressbook::kTooLong) != 0) {
        const auto warning =
            Util().FormatString(StringId::kNicknameTooLong, Util().GetString(field.NameId()),
                                addressbook::kNicknameLimit);
        KV_LOG(3, "%s", warning.Str().c_str());
        Util().AddWarningText(warning);
        return RRC_WARNING;
    }
    return HasBracket(checked) ? RefuseField(StringId::kAngleBracket, field) : RRC_OK;
}

RRETURNCODE CREudora4::RefuseField(StringId message, const CREudoraField& field) {
    const auto error = Util().FormatString(message, Util().GetString(field.NameId()));
    KV_LOG(1, "%s", error.Str().c_str());
    Util().AddErrorText(error);
    return RRC_FAILED;
}
