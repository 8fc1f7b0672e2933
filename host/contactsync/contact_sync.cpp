#include "host/contactsync/contact_sync.h"

#include <algorithm>
#include <memory>

#include "host/backup/backups.h"
#include "host/base/paths.h"
#include "host/base/uuid.h"
#include "host/contacts/address_lists.h"
#include "host/contacts/eudora_contacts.h"
#include "host/contacts/vdir_contacts.h"
#include "host/contactsync/execute.h"
#include "host/state/state_file.h"
#include "host/sync/look.h"
#include "text/ascii.h"

namespace host::contactsync {

namespace {

using platform::ErrorCode;

struct OwnStores {
    contacts::EudoraContacts eudora;
    contacts::VdirContacts folder;
};

base::Result<OwnStores> OpenStores(const sync::RunContext& context, const AddressBook& eudora,
                                   const std::string& folder, const std::string& cardVersion) {
    const auto info = context.files.Stat(eudora.file);
    if (!info) return info.Error();
    return OwnStores{{eudora.open, eudora.codePage, info->modified},
                     {context.files, folder, context.clock, base::NewUuid, cardVersion}};
}

// Both sides, the memory and the plan between them.
struct Run {
    std::unique_ptr<state::PairMemory> memory;
    std::optional<OwnStores> stores;
    base::Progress progress;
    state::Remembered remembered;
    Sides sides;
    Plan plan;

    explicit Run(const sync::RunContext& context) : progress(context.clock, context.progress) {}
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

// Eudora's texts were read in another code page: its contacts keep their bytes, which mean other
// ids and values now, and both sides are read anew.
void ReadAnew(state::Remembered& remembered, unsigned before, unsigned now) {
    const auto mean = [&](std::string& id) {
        if (!id.empty()) id = contacts::IdOf(contacts::BytesOf(id, before), now);
    };
    for (state::RememberedPair& pair : remembered.pairs) {
        mean(pair.eudora.item.id);
        pair.eudora.item.marker.clear();
        if (pair.folder.item.marker != kAdding) pair.folder.item.marker.clear();
    }
    for (state::Intent& intent : remembered.intents) {
        mean(intent.oldId);
        mean(intent.newId);
    }
}

void CheckTexts(const AddressBook& eudora, unsigned before, Run& run) {
    const auto count = [&](bool (*holds)(std::string_view)) {
        return static_cast<std::size_t>(
            std::ranges::count_if(run.sides.eudora, [&](const contacts::StoredContact& stored) {
                return std::ranges::any_of(stored.contact.values, holds);
            }));
    };
    sync::CheckTexts(
        {before, eudora.codePage, !eudora.isCodePageSaid && run.remembered.pairs.empty(), "contact",
         "", "all of Eudora's texts are read anew", count},
        run.plan.report);
}

// Tells of addresses that stay in Eudora alone, and of lists there that go on naming a contact
// which is removed or gets another nickname.
void TellAddressLists(const sync::RunContext& context, const AddressBook& eudora, Run& run) {
    const auto lists = contacts::AddressListsIn(context.files, eudora.file, eudora.codePage);
    if (lists.empty()) return;
    std::unordered_map<std::string, std::string> becomes;  // of a nickname in lower case
    for (const Step& step : run.plan.steps) {
        const SideAction& action = step.eudora;
        const std::string nickname = text::Lowered(action.known.id);
        if (action.verb == sync::Verb::kRemove) becomes[nickname] = "is removed";
        if (action.verb == sync::Verb::kChange && action.fields.Has(base::Field::kNickname)) {
            becomes[nickname] = "becomes " + step.renamedTo;
        }
    }
    std::unordered_map<std::string_view, std::string_view> shown;  // the address of a nickname
    for (const contacts::StoredContact& stored : run.sides.eudora) {
        shown.emplace(stored.contact[base::Field::kNickname], stored.contact[base::Field::kEmail]);
    }
    sync::Report& report = run.plan.report;
    for (const contacts::AddressList& list : lists) {
        const auto address = shown.find(list.nickname);
        const bool isShown = address != shown.end() && address->second == list.addresses[0];
        if (isShown && list.addresses.size() > 1) {
            ++report.further;
            report.details.push_back(
                "further addresses: " + list.nickname + " (" +
                text::Joined({list.addresses.begin() + 1, list.addresses.end()}, ", ") + ')');
        }
        for (const std::string& member : list.addresses) {
            const auto found = becomes.find(text::Lowered(member));
            if (found == becomes.end()) continue;
            report.notes.push_back(list.nickname + " in Eudora lists " + member + ", which " +
                                   found->second + ": correct the list there");
        }
    }
}

std::string LookAtSides(const sync::RunContext& context, const SyncOptions& options) {
    sync::Look look(context.files);
    look.AddContent(options.eudora.file);
    contacts::VdirContacts folder(context.files, options.folder, context.clock, base::NewUuid);
    const auto items = folder.List();
    if (!items) return {};
    for (const base::StoreItem& item : *items) {
        look.Add(item.id);
        look.Add(item.marker);
    }
    return look.Print();
}

base::Status OpenMemory(const sync::RunContext& context, const SyncOptions& options, bool mayWrite,
                        Run& run) {
    return sync::Take(
        state::OpenPairs(context.files, context.stateFile, SidesOf(context, options), mayWrite),
        run.memory);
}

base::Status Prepare(const sync::RunContext& context, const SyncOptions& options, Run& run) {
    auto status = sync::Take(run.memory->Load(), run.remembered);
    if (status) {
        status = CheckFolder(context.files, options.folder, !run.remembered.pairs.empty());
    }
    if (!status) return status;
    auto stores = OpenStores(context, options.eudora, options.folder, options.cardVersion);
    if (!stores) return stores.Error();
    run.stores.emplace(*std::move(stores));
    const unsigned before = run.memory->CodePage(), now = options.eudora.codePage;
    if (before != 0 && before != now) ReadAnew(run.remembered, before, now);
    status = sync::Take(LoadSides(run.Stores(), run.remembered, run.progress), run.sides);
    if (!status) return status;
    run.plan = MakePlan(run.sides, run.remembered, run.Stores(), options);
    CheckTexts(options.eudora, before, run);
    TellAddressLists(context, options.eudora, run);
    if (run.plan.report.stop) return {};
    std::vector<std::string> written;
    if (run.plan.report.Changes(sync::Side::kEudora)) {
        written.push_back(options.eudora.file);
        // On Windows the mark means nothing on a folder.
        if (!base::UsesWindowsPaths()) {
            written.push_back(base::ParentFolder(context.files, options.eudora.file));
        }
    }
    if (run.plan.report.Changes(sync::Side::kFolder)) written.push_back(options.folder);
    return sync::CheckRights(context.files, written);
}

// The folder of vCards and what is remembered of both sides, before the first change.
base::Status Begin(const sync::RunContext& context, const SyncOptions& options, Run& run) {
    if (auto made = base::MakeFolders(context.files, options.folder); !made) {
        return base::RefusedBy(made.Error(), options.folder + " cannot be made",
                               "name another folder with --contacts");
    }
    const unsigned before = run.memory->CodePage();
    if (before == 0 || before == options.eudora.codePage) return run.memory->Begin({});
    return run.memory->Begin({run.remembered.pairs, {}, run.remembered.intents});
}

// What the plan changes or removes.
base::Result<std::vector<backup::Origin>> FilesAtRisk(const sync::RunContext& context,
                                                      const SyncOptions& options,
                                                      const Plan& plan) {
    base::Result<std::vector<backup::Origin>> files = std::vector<backup::Origin>();
    if (plan.report.Changes(sync::Side::kEudora)) {
        files = backup::FilesOfBook(context.files, options.eudora.file);
        if (!files) return files;
    }
    for (const Step& step : plan.steps) {
        const auto verb = step.folder.verb;
        if (verb != sync::Verb::kChange && verb != sync::Verb::kRemove) continue;
        files->emplace_back(options.folder + context.files.Separator() + step.folder.known.id,
                            backup::Kind::kCard);
    }
    return files;
}

}  // namespace

state::Sides SidesOf(const sync::RunContext& context, const SyncOptions& options) {
    return {options.eudora.file,     options.folder,     options.folderAsNamed,
            options.eudora.codePage, context.eudoraLock, options.wait};
}

base::Result<sync::Report> RunSync(const sync::RunContext& context, const SyncOptions& options) {
    Run run(context);
    auto opened = OpenMemory(context, options, !options.dryRun, run);
    if (!opened) return opened.Error();
    sync::IdleRuns idle(options, *run.memory, [&] { return LookAtSides(context, options); });
    if (auto report = idle.Known()) return *std::move(report);
    if (auto status = Prepare(context, options, run); !status) return status.Error();
    sync::Report& report = run.plan.report;
    const bool isSettled =
        run.plan.IsEmpty() && (run.memory->IsCurrent() || run.remembered.pairs.empty());
    if (isSettled) idle.Keep(report);
    if (options.dryRun || report.stop || isSettled) return std::move(report);
    if (auto begun = Begin(context, options, run); !begun) return begun.Error();
    const auto backup = [&]() -> base::Status {
        const auto files = FilesAtRisk(context, options, run.plan);
        if (!files) return files.Error();
        std::vector<std::string> passedOver;
        auto done = sync::BackUp(context, SidesOf(context, options), *files,
                                 "before a sync of contacts", passedOver);
        for (const std::string& path : passedOver) {
            report.leftAlone.push_back(path + ": is no regular file");
        }
        return done;
    };
    return Execute(run.plan, run.Stores(), *run.memory, backup, run.progress);
}

sync::Preview RunStatus(const sync::RunContext& context, const SyncOptions& options) {
    Run run(context);
    auto ready = OpenMemory(context, options, false, run);
    if (ready) ready = Prepare(context, options, run);
    return {run.sides.eudora.size(), run.sides.folder.size(), run.remembered.pairs.size(),
            std::move(ready), std::move(run.plan.report)};
}

base::Result<std::size_t> ExportContacts(const sync::RunContext& context, const AddressBook& from,
                                         const std::string& toFolder,
                                         const std::string& cardVersion) {
    auto stores = OpenStores(context, from, toFolder, cardVersion);
    if (!stores) return stores.Error();
    auto& [eudora, folder] = *stores;
    auto present = folder.List();
    if (!present) return present.Error();
    if (!present->empty()) {
        return base::RefusedFor(toFolder, "holds vCards already", "name an empty folder");
    }
    auto items = eudora.List();
    if (!items) return items.Error();
    base::Progress progress(context.clock, context.progress);
    std::size_t count = 0;
    for (const base::StoreItem& item : *items) {
        progress.Step("exporting", count++, items->size());
        auto stored = eudora.Read(item.id);
        if (!stored) return stored.Error();
        auto added = folder.Add(folder.NewId(), stored->contact, "");
        if (!added) return added.Error();
    }
    return count;
}

}  // namespace host::contactsync
