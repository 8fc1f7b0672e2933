#pragma once

#include <string>

#include "host/base/failure.h"
#include "host/eudora/setup.h"
#include "host/translator/translator_session.h"

namespace host::translator {

// kRefused, with the way out, unless both files of the in-box are there, nobody is writing them,
// and the table of contents is one that Eudora for Windows wrote. The translator would make what is
// missing.
base::Status CheckInBox(const eudora::Setup& setup);

// After CheckInBox: kRefused if the first mail of the table of contents is none in the mailbox, so
// that the two belong to different boxes and nothing may be added to them.
base::Status CheckInBoxPair(const eudora::Setup& setup);

// After CheckInBox: a session with the settings of the mails selected, not opened yet.
base::Result<TranslatorSession> SelectInBox(TranslatorHost& host, const eudora::Setup& setup,
                                            bool writesNothing, std::string& selection);

}  // namespace host::translator
