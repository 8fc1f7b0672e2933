#include <typeinfo>

#include "frame/guard.h"
#include "frame/trans_base.h"
#include "platform/os/code_page.h"
#include "text/ascii.h"
#include "text/double_byte.h"

using frame::Guarded;

namespace {

// The type of the field of that id; 0, which is no type, if there is none.
std::int32_t TypeOf(const CREudoraFieldArray& fields, LPCTSTR fieldId) {
    const int position = fields.Lookup(fieldId);
    return position < 0 ? 0 : fields.GetAt(position).m_nType;
}

bool InRange(const COleDateTime& first, const COleDateTime& last, double date) {
    const COleDateTime value(date);
    if (first.GetStatus() == COleDateTime::kValid && value < first) return false;
    return last.GetStatus() != COleDateTime::kValid || !(last < value);
}

}  // namespace

RRETURNCODE CREudoraTransBase::SetDateFilter(tagRDATEFILTER* pFilters, int nCount) {
    return Guarded("SetDateFilter", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::SetDateFilter\n");
        FreeDateFilters();
        m_pDateFilters = pFilters;
        m_nDateFilters = nCount;
        KV_LOG(5, "Exit CREudoraTransBase::SetDateFilter\n");
        return RRC_OK;
    });
}

RRETURNCODE CREudoraTransBase::SetTextFilter(tagRTEXTFILTER* pFilters, int nCount) {
    return Guarded("SetTextFilter", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::SetTextFilter\n");
        FreeTextFilters();
        m_pTextFilters = pFilters;
        m_nTextFilters = nCount;
        KV_LOG(5, "Exit CREudoraTransBase::SetTextFilter\n");
        return RRC_OK;
    });
}

RRETURNCODE CREudoraTransBase::SetBoolFilter(tagRBOOLFILTER* pFilters, int nCount) {
    return Guarded("SetBoolFilter", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::SetBoolFilter\n");
        FreeBoolFilters();
        m_pBoolFilters = pFilters;
        m_nBoolFilters = nCount;
        KV_LOG(5, "Exit CREudoraTransBase::SetBoolFilter\n");
        return RRC_OK;
    });
}

// A list without entries is not ours to free: hosts hand in a pointer of their own with count 0.
void CREudoraTransBase::FreeDateFilters() {
    if (m_nDateFilters > 0 && m_pDateFilters != nullptr) {
        for (int i = 0; i < m_nDateFilters; ++i) ::operator delete(m_pDateFilters[i].pszFieldId);
        ::operator delete(m_pDateFilters);
    }
    m_pDateFilters = nullptr;
    m_nDateFilters = 0;
}

void CREudoraTransBase::FreeTextFilters() {
    if (m_nTextFilters > 0 && m_pTextFilters != nullptr) {
        for (int i = 0; i < m_nTextFilters; ++i) {
            ::operator delete(m_pTextFilters[i].pszFieldId);
            ::operator delete(m_pTextFilters[i].pszText);
        }
        ::operator delete(m_pTextFilters);
    }
    m_pTextFilters = nullptr;
    m_nTextFilters = 0;
}

void CREudoraTransBase::FreeBoolFilters() {
    if (m_nBoolFilters > 0 && m_pBoolFilters != nullptr) {
        for (int i = 0; i < m_nBoolFilters; ++i) ::operator delete(m_pBoolFilters[i].pszFieldId);
        ::operator delete(m_pBoolFilters);
    }
    m_pBoolFilters = nullptr;
    m_nBoolFilters = 0;
}

RRETURNCODE CREudoraTransBase::MoveFirst() {
    return Guarded("MoveFirst", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::MoveFirst\n");
        return FilterStep();
    });
}

RRETURNCODE CREudoraTransBase::MoveNext() {
    return Guarded("MoveNext", [&] {
        KV_LOG(5, "Enter CREudoraTransBase::MoveNext\n");
        return FilterStep();
    });
}

// Called again from the MoveNext that it calls, it only notes that a record was reached and leaves
// the judgement to the outer call: the depth is two, however many records fail.
RRETURNCODE CREudoraTransBase::FilterStep() {
    if (typeid(*this) == typeid(CREudoraTransBase)) return RRC_EOF;
    if (m_filtering) {
        m_reached = true;
        return RRC_OK;
    }
    struct Scope {
        explicit Scope(bool& theFlag) : flag(theFlag) { flag = true; }
        ~Scope() { flag = false; }
        bool& flag;
    } scope(m_filtering);
    while (PassesFilters() == 0) {
        m_reached = false;
        const RRETURNCODE code = MoveNext();
        if (code != RRC_OK || !m_reached) return code;
    }
    return RRC_OK;
}

int CREudoraTransBase::PassesFilters() {
    return PassesDateFilter() != 0 && PassesTextFilter() != 0 && PassesBoolFilter() != 0 ? 1 : 0;
}

int CREudoraTransBase::PassesDateFilter() {
    if (m_pDateFilters == nullptr) return 1;
    for (int i = 0; i < m_nDateFilters; ++i) {
        const tagRDATEFILTER& filter = m_pDateFilters[i];
        const COleDateTime first(filter.dtStart), last(filter.dtEnd);
        const bool bounded =
            first.GetStatus() == COleDateTime::kValid || last.GetStatus() == COleDateTime::kValid;
        if (!bounded || filter.bSkip != 0) continue;
        const std::int32_t fieldType = TypeOf(m_appInfo.m_fields, filter.pszFieldId);
        if (fieldType < kFieldDateFirst || fieldType > kFieldDateLast) continue;
        double date = kNoDate;
        auto type = static_cast<unsigned long>(fieldType);
        if (GetField(filter.pszFieldId, &type, &date) != RRC_OK || date == kNoDate) continue;
        if (!InRange(first, last, date)) return 0;
    }
    return 1;
}

int CREudoraTransBase::PassesTextFilter() {
    if (m_pTextFilters == nullptr) return 1;
    const unsigned codePage = Util().system.codePage;
    for (int i = 0; i < m_nTextFilters; ++i) {
        const tagRTEXTFILTER& filter = m_pTextFilters[i];
        if (filter.pszText == nullptr || *filter.pszText == '\0') continue;
        if (TypeOf(m_appInfo.m_fields, filter.pszFieldId) != kFieldText) continue;
        char* block = nullptr;
        unsigned long type = kFieldText;
        if (GetField(filter.pszFieldId, &type, &block) != RRC_OK) continue;
        const CString text(block);
        ::operator delete(block);
        const bool passes =
            filter.bSubstring != 0
                ? text::ContainsText(platform::UpperCase(text.Str(), codePage),
                                     platform::UpperCase(filter.pszText, codePage), codePage)
                : text::EqualNoCase(text.Str(), filter.pszText);
        if (!passes) return 0;
    }
    return 1;
}

int CREudoraTransBase::PassesBoolFilter() {
    if (m_pBoolFilters == nullptr) return 1;
    for (int i = 0; i < m_nBoolFilters; ++i) {
        const tagRBOOLFILTER& filter = m_pBoolFilters[i];
        if (TypeOf(m_appInfo.m_fields, filter.pszFieldId) != kFieldBool) continue;
        std::int32_t value = 0;
        unsigned long type = kFieldBool;
        if (GetField(filter.pszFieldId, &type, &value) != RRC_OK) continue;
        if (value != filter.bValue) return 0;
    }
    return 1;
}
