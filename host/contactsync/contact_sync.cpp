#include "host/contactsync/contact_sync.h"

#include <memory>

#include "host/backup/backups.h"
#include "host/contacts/eudora_contacts.h"
#include "host/contacts/vdir_contacts.h"
#include "host/contactsync/execute.h"
#include "host/state/state_file.h"

namespace host::contactsync {

namespace {

using platform::ErrorCode;

struct OwnStores {
    contacts::EudoraContacts eudora;
    contacts::VdirContacts folder;
};

base::Result<OwnStores> OpenStores(const sync::CommandPlace& place, const EudoraPlace& eudora,
                                   const std::string& folder) {
    const auto info = place.files.Stat(eudora.file);
    if (!info) return info.Error();
    return OwnStores{{eudora.open, eudora.codePage, info->modified},
                     {place.files, folder, place.clock, contacts::NewUuid}};
}

// Both sides, the memory and the plan between them.
struct Run {
    std::unique_ptr<state::PairMemory> memory;
    std::optional<OwnStores> stores;
    base::Progress progress;
    state::Remembered remembered;
    Sides sides;
    Plan plan;

    explicit Run(const sync::CommandPlace& place) : progress(place.clock, place.progress) {}
    contacts::Stores Stores() { return {stores->eudora, stores->folder}; }
};

base::Status CheckFolder(platform::Files& files, const std::string& folder, bool isKnown) {
    auto info = files.Stat(folder);
    if (info && !info->isFolder) return base::RefusedFor(folder, "is no folder", "name a folder");
    if (info || info.Error().code == ErrorCode::kNotFound) {
        if (info || !isKnown) return {};
        return base::RefusedFor(folder, "the contacts folder is gone",
                                "bring it back or name its new place with --contacts");
    }
    return info.Error();
}

base::Status Prepare(const sync::CommandPlace& place, const SyncOptions& options, bool mayWrite,
                     Run& run) {
    const std::string scope = options.eudora.file + '\n' + options.contactsFolder;
    auto status =
        sync::Take(state::OpenPairs(place.files, place.stateFile, scope, mayWrite), run.memory);
    if (status) status = sync::Take(run.memory->Load(), run.remembered);
    if (status) {
        status = CheckFolder(place.files, options.contactsFolder, !run.remembered.pairs.empty());
    }
    if (!status) return status;
    auto stores = OpenStores(place, options.eudora, options.contactsFolder);
    if (!stores) return stores.Error();
    run.stores.emplace(*std::move(stores));
    status = sync::Take(LoadSides(run.Stores(), run.remembered, run.progress), run.sides);
    if (!status) return status;
    run.plan = MakePlan(run.sides, run.remembered, run.Stores(), options);
    if (run.plan.stop) return base::Refused(*run.plan.stop);
    std::vector<std::string> written;
    if (run.plan.report.Changes(sync::Side::kEudora)) written.push_back(options.eudora.file);
    if (run.plan.report.Changes(sync::Side::kFolder)) written.push_back(options.contactsFolder);
    return sync::CheckRights(place.files, written);
}

}  // namespace

base::Result<sync::Report> RunSync(const sync::CommandPlace& place, const SyncOptions& options) {
    Run run(place);
    if (auto status = Prepare(place, options, !options.dryRun, run); !status) {
        return status.Error();
    }
    sync::Report& report = run.plan.report;
    if (options.dryRun || run.plan.IsEmpty()) return std::move(report);
    const auto backup = [&]() -> base::Status {
        const auto files = backup::FilesOfBook(place.files, options.eudora.file);
        if (!files) return files.Error();
        std::vector<std::string> passedOver;
        auto done = sync::BackUp(place, *files, "before a sync of contacts", passedOver);
        for (const std::string& path : passedOver) {
            report.leftAlone.push_back(path + ": is no regular file");
        }
        return done;
    };
    report.errors = Execute(run.plan, run.Stores(), *run.memory, backup, run.progress);
    return std::move(report);
}

sync::Preview RunStatus(const sync::CommandPlace& place, const SyncOptions& options) {
    Run run(place);
    auto ready = Prepare(place, options, false, run);
    return {run.sides.eudora.size(), run.sides.folder.size(), run.remembered.pairs.size(),
            std::move(ready), std::move(run.plan.report)};
}

base::Result<std::size_t> ExportContacts(const sync::CommandPlace& place, const EudoraPlace& from,
                                         const std::string& toFolder) {
    auto stores = OpenStores(place, from, toFolder);
    if (!stores) return stores.Error();
    auto& [eudora, folder] = *stores;
    auto present = folder.List();
    if (!present) return present.Error();
    if (!present->empty()) {
        return base::RefusedFor(toFolder, "holds vCards already", "name an empty folder");
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

}  // namespace host::contactsync
