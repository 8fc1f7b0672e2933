#pragma once

#include "frame/trans_util.h"

namespace mailstore {

// Starts Eudora and gives it time to come up (9.5 seconds) unless it runs already. 1 if it could
// not be started, else 0.
int RunEudoraPro(CEudoraTransUtil& util);

// Brings up what mails need: Eudora, its MAPI library and a session. False, with a message, if one
// is missing.
bool BringUp(CEudoraTransUtil& util);

}  // namespace mailstore
