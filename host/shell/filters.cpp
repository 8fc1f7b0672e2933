#include "host/shell/filters.h"

#include <new>

#include "platform/kvutil/kvutil.h"

namespace host::shell {

namespace {

// A member of a filter entry that must be there, and one that need not.
Json Member(const Json& entry, const char* name) {
    if (entry.is_object() && entry.contains(name)) return entry[name];
    throw Complaint(std::string("a filter lacks \"") + name + "\"");
}
Json MemberOr(const Json& entry, const char* name, const Json& otherwise) {
    return entry.is_object() && entry.contains(name) ? entry[name] : otherwise;
}

// A text in a block of the module's allocator, which frees it.
char* Block(const Json& text) {
    char* block = nullptr;
    AllocVornString(block, BytesOf(text).c_str());
    return block;
}

double Date(const Json& value) {
    if (value.is_number()) return value.get<double>();
    if (!value.is_null()) throw Complaint("not a date number: " + value.dump());
    return kNoDate;
}

BOOL Flag(const Json& value) {
    if (value.is_boolean()) return value.get<bool>() ? 1 : 0;
    if (value.is_number_integer()) return value.get<BOOL>();
    throw Complaint("not a number, true or false: " + value.dump());
}

void Fill(tagRTEXTFILTER& filter, const Json& entry) {
    const Json text = Member(entry, "text");
    filter.pszText = text.is_null() ? nullptr : Block(text);
    filter.bSubstring = Flag(MemberOr(entry, "substring", false));
}

void Fill(tagRDATEFILTER& filter, const Json& entry) {
    filter.dtStart = Date(MemberOr(entry, "start", nullptr));
    filter.dtEnd = Date(MemberOr(entry, "end", nullptr));
    filter.bSkip = Flag(MemberOr(entry, "skip", false));
}

void Fill(tagRBOOLFILTER& filter, const Json& entry) {
    filter.bValue = Flag(Member(entry, "value"));
}

// The translator owns filters that it was given; these never got to it.
template <class Filter>
void Free(Filter* filters, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        char* field = filters[i].pszFieldId;  // of a packed record
        FreeVornString(field);
        if constexpr (requires { filters->pszText; }) FreeVornString(filters[i].pszText);
    }
    ::operator delete(filters);
}

// Makes the records in the one block that the translator will free.
template <class Filter>
RRETURNCODE Set(CRRecordTranslator& translator, const Json& list,
                RRETURNCODE (CRRecordTranslator::*set)(Filter*, int)) {
    if (!list.is_array()) throw Complaint("a JSON array of filters is needed");
    if (list.empty()) return (translator.*set)(nullptr, 0);
    auto* const filters = static_cast<Filter*>(::operator new(list.size() * sizeof(Filter)));
    std::size_t count = 0;
    try {
        while (count < list.size()) {
            const Json& entry = list[count];
            Filter& filter = *new (filters + count++) Filter{};
            filter.pszFieldId = Block(Member(entry, "field"));
            Fill(filter, entry);
        }
    } catch (const Complaint&) {
        Free(filters, count);
        throw;
    }
    return (translator.*set)(filters, static_cast<int>(count));
}

}  // namespace

RRETURNCODE SetTextFilters(CRRecordTranslator& translator, const Json& list) {
    return Set(translator, list, &CRRecordTranslator::SetTextFilter);
}

RRETURNCODE SetDateFilters(CRRecordTranslator& translator, const Json& list) {
    return Set(translator, list, &CRRecordTranslator::SetDateFilter);
}

RRETURNCODE SetBoolFilters(CRRecordTranslator& translator, const Json& list) {
    return Set(translator, list, &CRRecordTranslator::SetBoolFilter);
}

}  // namespace host::shell
