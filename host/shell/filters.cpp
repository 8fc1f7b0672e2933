#include "host/shell/filters.h"

#include <new>

#include <nlohmann/json.hpp>

#include "platform/kvutil/kvutil.h"

namespace host::shell {

namespace {

// A member of a filter entry; complains if it is missing and has no default.
Json Member(const Json& entry, const char* name, const Json& otherwise, Arguments& arguments) {
    if (entry.is_object() && entry.contains(name)) return entry[name];
    if (otherwise.is_discarded())
        arguments.Complain(std::string("a filter lacks \"") + name + "\"");
    return otherwise.is_discarded() ? Json() : otherwise;
}

char* Block(const Json& text, Arguments& arguments) {
    char* block = nullptr;
    AllocVornString(block, BytesOf(text, arguments).c_str());
    return block;
}

double Date(const Json& value, Arguments& arguments) {
    if (value.is_number()) return value.get<double>();
    if (!value.is_null()) arguments.Complain("not a date number: " + value.dump());
    return kNoDate;
}

BOOL Flag(const Json& value, Arguments& arguments) {
    if (value.is_boolean()) return value.get<bool>() ? 1 : 0;
    if (value.is_number_integer()) return value.get<BOOL>();
    arguments.Complain("not a number, true or false: " + value.dump());
    return 0;
}

const Json kRequired(Json::value_t::discarded);

void Fill(tagRTEXTFILTER& filter, const Json& entry, Arguments& arguments) {
    filter.pszFieldId = Block(Member(entry, "field", kRequired, arguments), arguments);
    const Json text = Member(entry, "text", kRequired, arguments);
    filter.pszText = text.is_null() ? nullptr : Block(text, arguments);
    filter.bSubstring = Flag(Member(entry, "substring", false, arguments), arguments);
}

void Fill(tagRDATEFILTER& filter, const Json& entry, Arguments& arguments) {
    filter.pszFieldId = Block(Member(entry, "field", kRequired, arguments), arguments);
    filter.dtStart = Date(Member(entry, "start", nullptr, arguments), arguments);
    filter.dtEnd = Date(Member(entry, "end", nullptr, arguments), arguments);
    filter.bSkip = Flag(Member(entry, "skip", false, arguments), arguments);
}

void Fill(tagRBOOLFILTER& filter, const Json& entry, Arguments& arguments) {
    filter.pszFieldId = Block(Member(entry, "field", kRequired, arguments), arguments);
    filter.bValue = Flag(Member(entry, "value", kRequired, arguments), arguments);
}

void Free(tagRTEXTFILTER& filter) {
    FreeVornString(filter.pszFieldId);
    FreeVornString(filter.pszText);
}
void Free(tagRDATEFILTER& filter) {
    char* field = filter.pszFieldId;
    FreeVornString(field);
}
void Free(tagRBOOLFILTER& filter) {
    FreeVornString(filter.pszFieldId);
}

template <class Filter>
RRETURNCODE Set(CRRecordTranslator& translator, const Json& list, Arguments& arguments,
                RRETURNCODE (CRRecordTranslator::*set)(Filter*, int)) {
    if (!list.is_array()) {
        arguments.Complain("a JSON array of filters is needed");
        return RRC_FAILED;
    }
    if (list.empty()) return (translator.*set)(nullptr, 0);
    auto* const filters = static_cast<Filter*>(::operator new(list.size() * sizeof(Filter)));
    for (std::size_t i = 0; i < list.size(); ++i) {
        new (filters + i) Filter{};
        Fill(filters[i], list[i], arguments);
    }
    if (!arguments.Failed()) return (translator.*set)(filters, static_cast<int>(list.size()));
    for (std::size_t i = 0; i < list.size(); ++i) Free(filters[i]);
    ::operator delete(filters);
    return RRC_FAILED;
}

}  // namespace

RRETURNCODE SetTextFilters(CRRecordTranslator& translator, const Json& list, Arguments& arguments) {
    return Set(translator, list, arguments, &CRRecordTranslator::SetTextFilter);
}

RRETURNCODE SetDateFilters(CRRecordTranslator& translator, const Json& list, Arguments& arguments) {
    return Set(translator, list, arguments, &CRRecordTranslator::SetDateFilter);
}

RRETURNCODE SetBoolFilters(CRRecordTranslator& translator, const Json& list, Arguments& arguments) {
    return Set(translator, list, arguments, &CRRecordTranslator::SetBoolFilter);
}

}  // namespace host::shell
