#pragma once

#include <string>

#include "host/contactsync/contact_sync.h"

namespace host::contactsync {

// Writes all contacts into the folder, which is made if there is none and must hold no .vcf file.
base::Report ExportContacts(const sync::CommandPlace& place, const EudoraPlace& from,
                            const std::string& toFolder);

}  // namespace host::contactsync
