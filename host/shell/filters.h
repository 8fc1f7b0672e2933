#pragma once

#include "frame/interface/translators.h"
#include "host/shell/arguments.h"

namespace host::shell {

// Each makes the filter records of a JSON array, hands them over to the translator and gives its
// code. Nothing is called if the array cannot be used.
RRETURNCODE SetTextFilters(CRRecordTranslator& translator, const Json& list, Arguments& arguments);
RRETURNCODE SetDateFilters(CRRecordTranslator& translator, const Json& list, Arguments& arguments);
RRETURNCODE SetBoolFilters(CRRecordTranslator& translator, const Json& list, Arguments& arguments);

}  // namespace host::shell
