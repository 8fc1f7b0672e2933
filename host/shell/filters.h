#pragma once

#include "frame/interface/translators.h"
#include "host/shell/arguments.h"

namespace host::shell {

// Each makes filter records from a JSON array, hands them over to the translator, which owns them
// from then on, and gives its code. An unusable array is a Complaint, and nothing is handed over.
RRETURNCODE SetTextFilters(CRRecordTranslator& translator, const Json& list);
RRETURNCODE SetDateFilters(CRRecordTranslator& translator, const Json& list);
RRETURNCODE SetBoolFilters(CRRecordTranslator& translator, const Json& list);

}  // namespace host::shell
