#pragma once

#include <string>
#include <vector>

#include "tests/frame/frame_fixture.h"

// A translator over records that a test makes up. A record is its id, and the filters hide it if
// that begins with '-'.
class RecordTranslator : public CREudoraTransBase {
  public:
    void AddField(const char* id, std::int32_t type, std::int32_t stringId) {
        CREudoraField field;
        field.Set(id, 0, stringId, (std::string("name ") + id).c_str(), type, 0xC0000000U, false);
        m_appInfo.m_fields.Add(field);
    }

    RRETURNCODE Close(int) override { return RRC_OK; }
    RRETURNCODE MoveFirst() override {
        position = 0;
        return position == records.size() ? RRC_EOF : CREudoraTransBase::MoveFirst();
    }
    RRETURNCODE MoveNext() override {
        if (position < records.size()) ++position;
        return position == records.size() ? RRC_EOF : CREudoraTransBase::MoveNext();
    }
    RRETURNCODE GoToRecord(LPCTSTR) override { return Step("G"); }
    RRETURNCODE AddNewRecord(RWORD) override { return RRC_NOT_SUPPORTED; }
    using CREudoraTransBase::EditRecord;
    RRETURNCODE EditRecord() override { return Step("E"); }
    using CREudoraTransBase::DeleteRecord;
    RRETURNCODE DeleteRecord() override {
        const auto code = Step("D");
        if (code == RRC_OK && position < records.size()) {
            records.erase(records.begin() + static_cast<std::ptrdiff_t>(position));
        }
        return code;
    }
    RRETURNCODE GetRecordID(CString&) override { return Step("I"); }
    RRETURNCODE GetModifiedInfo(CString&) override { return Step("M"); }
    RRETURNCODE GetField(LPCTSTR, unsigned long*, void*) override { return RRC_FAILED; }
    RRETURNCODE SetField(LPCTSTR, unsigned long*, void*) override { return RRC_FAILED; }
    int PassesFilters() override {
        if (throws) throw std::runtime_error("boom");
        return records[position].starts_with('-') ? 0 : 1;
    }
    RRETURNCODE PrepareForUpdate() override { return Step("U"); }

    RRETURNCODE Step(const char* name) {
        ran += name;
        return failing == name ? RRC_CANCELLED : RRC_OK;
    }

    std::vector<std::string> records;
    std::size_t position = 0;
    std::string failing, ran;  // steps by their letters
    bool throws = false;
};
