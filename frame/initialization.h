#pragma once

#include "frame/interface/host_records.h"
#include "frame/interface/result_codes.h"
#include "frame/trans_util.h"

// What the exported functions of the same names do with the module's global object.
namespace frame {

// A null record counts as one of empty texts.
RRETURNCODE Initialize(CEudoraTransUtil& util, const tagRENVSETTINGS* env);

// As exports.h tells for InitTranslatorEx; a null buffer or a length below 1 receives nothing.
RRETURNCODE InitializeWith(CEudoraTransUtil& util, const tagRENVSETTINGS* env,
                           const tagRTRANSSETTINGS* settings, const char* language, char* message,
                           int length);

}  // namespace frame
