#pragma once

#include "frame/interface/translators.h"
#include "host/shell/arguments.h"

namespace host::shell {

// Each makes the filter records of a JSON array, hands them over to the translator and gives its
// code. Complains about an array that cannot be used.
RRETURNCODE SetTextFilters(CRRecordTranslator& translator, const Json& list);
RRETURNCODE SetDateFilters(CRRecordTranslator& translator, const Json& list);
RRETURNCODE SetBoolFilters(CRRecordTranslator& translator, const Json& list);

}  // namespace host::shell
