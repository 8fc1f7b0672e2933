#pragma once

#include <map>
#include <string>
#include <variant>
#include <vector>

#include "tests/frame/frame_fixture.h"

// A translator over records that a test makes up. A record is what GetField gives by field id; a
// missing id makes it fail.
class RecordTranslator : public CREudoraTransBase {
  public:
    using Value = std::variant<std::int32_t, double, std::string>;
    using Record = std::map<std::string, Value>;

    void AddField(const char* id, std::int32_t type, bool special = false,
                  std::int32_t stringId = 0) {
        CREudoraField field;
        field.Set(id, 0, stringId, (std::string("name ") + id).c_str(), type, 0xC0000000U, special);
        m_appInfo.m_fields.Add(field);
    }

    RRETURNCODE MoveFirst() override {
        position = 0;
        return position == records.size() ? RRC_EOF : CREudoraTransBase::MoveFirst();
    }
    RRETURNCODE MoveNext() override {
        if (position < records.size()) ++position;
        return position == records.size() ? RRC_EOF : CREudoraTransBase::MoveNext();
    }
    RRETURNCODE DeleteRecord() override {
        if (deleteCode == RRC_OK) {
            records.erase(records.begin() + static_cast<std::ptrdiff_t>(position));
        }
        return deleteCode;
    }
    RRETURNCODE GetField(LPCTSTR pszFieldId, unsigned long*, void* pCell) override {
        const auto found = records[position].find(pszFieldId);
        if (found == records[position].end()) return RRC_FAILED;
        if (const auto* text = std::get_if<std::string>(&found->second)) {
            *static_cast<char**>(pCell) = Block(text->c_str());
        } else if (const auto* date = std::get_if<double>(&found->second)) {
            *static_cast<double*>(pCell) = *date;
        } else {
            *static_cast<std::int32_t*>(pCell) = std::get<std::int32_t>(found->second);
        }
        return RRC_OK;
    }

    std::vector<Record> records;
    std::size_t position = 0;
    RRETURNCODE deleteCode = RRC_OK;
};
