#include "host/contactsync/contact_export.h"

#include <nlohmann/json.hpp>

#include "host/base/progress.h"
#include "host/contacts/eudora_contacts.h"
#include "host/contacts/vdir_contacts.h"

namespace host::contactsync {

namespace {

platform::Result<std::size_t> Export(const sync::CommandPlace& place, const EudoraPlace& from,
                                     const std::string& toFolder) {
    auto time = CheckNicknameFile(place.files, from.nativeFile);
    if (!time) return time.Error();
    contacts::EudoraContacts eudora(from.open, from.codePage, *time);
    contacts::VdirContacts folder(place.files, toFolder, place.clock, contacts::NewUuid);
    auto present = folder.List();
    if (!present) return present.Error();
    if (!present->empty()) {
        return base::Refused(toFolder + ": holds vCards already; name an empty folder");
    }
    auto items = eudora.List();
    if (!items) return items.Error();
    base::Progress progress(place.clock, place.progress);
    std::size_t count = 0;
    for (const base::StoreItem& item : *items) {
        progress.Step("exporting", count++, items->size());
        auto stored = eudora.Read(item.id);
        if (!stored) return stored.Error();
        auto added = folder.Add(stored->contact, "");
        if (!added) return added.Error();
    }
    return count;
}

}  // namespace

base::Report ExportContacts(const sync::CommandPlace& place, const EudoraPlace& from,
                            const std::string& toFolder) {
    auto count = Export(place, from, toFolder);
    if (!count) return base::RefusalReport(count.Error());
    base::Report report;
    report.code = *count > 0 ? base::ExitCode::kChangesMade : base::ExitCode::kNothingToDo;
    report.lines.push_back(std::to_string(*count) + " contacts exported to " + toFolder);
    base::FinishReport(report, {{"exported", *count}});
    return report;
}

}  // namespace host::contactsync
