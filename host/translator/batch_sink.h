#pragma once

#include "frame/interface/host_records.h"
#include "host/translator/translator_session.h"

namespace host::translator {

// Keeps what BatchUpdate tells.
class CollectingSink final : public CRBatchSink {
  public:
    void Reserved() override {}
    void RecordStored(const char* id, const char* /*sameId*/, const char* modifiedInfo) override {
        report.stored.push_back({id, modifiedInfo});
    }
    void RecordDeleted(const char* id) override { report.deleted.emplace_back(id); }

    BatchReport report;
};

}  // namespace host::translator
