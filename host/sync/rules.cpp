#include "host/sync/rules.h"

#include <algorithm>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/state/state_file.h"
#include "text/ascii.h"

namespace host::sync {

std::optional<Prefer> ParsePrefer(std::string_view text) {
    if (text == "eudora") return Prefer::kEudora;
    if (text == "folder") return Prefer::kFolder;
    if (text == "newer") return Prefer::kNewer;
    if (text == "both") return Prefer::kBoth;
    return std::nullopt;
}

std::optional<Direction> ParseDirection(std::string_view text) {
    if (text == "both") return Direction::kBoth;
    if (text == "pull") return Direction::kPull;
    if (text == "push") return Direction::kPush;
    return std::nullopt;
}

std::optional<Limit> ParseLimit(std::string_view text) {
    Limit limit;
    limit.isPercent = text.ends_with('%');
    if (limit.isPercent) text.remove_suffix(1);
    const auto number = text::NumberIn<decltype(limit.number)>(text);
    if (!number || (limit.isPercent && *number > 100)) return std::nullopt;
    limit.number = *number;
    return limit;
}

namespace {

unsigned long Allowed(unsigned long total, const Limit& limit) {
    return limit.isPercent ? total * limit.number / 100 : limit.number;
}

Stop TooMany(Verb verb, unsigned long count, const char* what, unsigned long allowed,
             const char* option) {
    const std::string number = std::to_string(count);
    return {base::Refused(
                number + ' ' + what + ", more than the " + std::to_string(allowed) + " allowed",
                std::string("check both sides, then allow it with ") + option + ' ' + number),
            verb};
}

}  // namespace

unsigned long DeletionsAllowed(unsigned long total, const std::optional<Limit>& limit) {
    constexpr unsigned long kDefaultDeletions = 10, kDefaultPercent = 25;
    return limit ? Allowed(total, *limit)
                 : std::max(kDefaultDeletions, total * kDefaultPercent / 100);
}

std::optional<Stop> TooManyDeletions(unsigned long count, const char* what, unsigned long total,
                                     const std::optional<Limit>& limit) {
    const unsigned long allowed = DeletionsAllowed(total, limit);
    if (count <= allowed) return std::nullopt;
    return TooMany(Verb::kRemove, count, what, allowed, "--max-delete");
}

std::optional<Stop> TooManyAdditions(unsigned long count, const char* what, unsigned long total,
                                     const std::optional<Limit>& limit) {
    constexpr unsigned long kFirstAdditions = 100;
    if (!limit && total > 0) return std::nullopt;
    const unsigned long allowed = limit ? Allowed(total, *limit) : kFirstAdditions;
    if (count <= allowed) return std::nullopt;
    Stop stop = TooMany(Verb::kAdd, count, what, allowed, "--max-add");
    stop.side = Side::kEudora;
    return stop;
}

void CheckTexts(const TextsOfPage& texts, Report& report) {
    const std::string number = std::to_string(texts.now), page = "code page " + number;
    if (texts.before != 0 && texts.before != texts.now) {
        report.notes.push_back(page + " now, " + std::to_string(texts.before) +
                               " in the run before: " + texts.readAnew);
    }
    if (!texts.isSupposed || report.stop) return;
    const std::size_t strange = texts.count(base::HasStrangeCharacters);
    if (strange == 0) return;
    std::string what = base::Counted(strange, texts.record) +
                       " in Eudora with what is no text of " + page + texts.where;
    const std::string help =
        "name the right one with --code-page (932 is Japanese, 1250 and 1251 are of Eastern "
        "Europe); if it is right, say --code-page " +
        number;
    // A few stray bytes stand in texts of any code page.
    const auto isForeign = [](std::string_view text) { return !text::IsAscii(text); };
    if (strange > 1 && 4 * strange > texts.count(isForeign)) {
        report.stop = {base::Refused(std::move(what), help)};
    } else {
        report.notes.push_back(what + "; " + help);
    }
}

Stop NoSuchConflict(const std::string& name) {
    return {base::Refused("there is no conflict " + name, "kvsync conflicts lists them")};
}

Stop LeftByDirection(const std::string& name) {
    return {
        base::Refused("so to settle " + name + " changes the side that the direction leaves alone",
                      "take the other side, or say --direction both")};
}

base::Status CheckRights(platform::Files& files, const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        if (files.IsReadOnly(path)) {
            return base::RefusedFor(path, "is read-only", "make it writable");
        }
    }
    return {};
}

backup::Backups BackupsOf(const RunContext& context) {
    const std::string folder = base::ParentFolder(context.files, context.stateFile);
    const std::string name = "backups";
    return backup::Backups(context.files,
                           folder.empty() ? name : folder + context.files.Separator() + name,
                           context.clock);
}

base::Status BackUp(const RunContext& context, const state::Sides& sides,
                    const std::vector<backup::Origin>& origins, const std::string& reason,
                    std::vector<std::string>& passedOver) {
    if (origins.empty()) return {};
    auto backups = BackupsOf(context);
    auto made = backups.Make(origins, reason, {context.eudoraFolder, sides.eudora, sides.folder});
    if (!made) return made.Error();
    passedOver = std::move(made->passedOver);
    const auto pruned = backups.Prune(context.backupSpace, context.began);
    return pruned ? base::Status() : pruned.Error();
}

base::Result<backup::Restored> Restore(const RunContext& context, const std::string& id,
                                       const backup::Wanted& wanted) {
    const bool hasState = context.files.Exists(context.stateFile);
    auto lock = state::LockState(context.files, context.stateFile, hasState);
    if (!lock) return lock.Error();
    // The memory does not fit restored files: the next run would take what is missing in them for
    // removed. A run that was killed may have remembered more or less than it did.
    const auto forget = [&](const backup::Backup& backup,
                            const backup::Restored& plan) -> base::Status {
        std::vector<std::string> ofEudora = plan.removed, ofFolder;
        // A renamed file has two names.
        for (const auto* files : {&backup.files, &plan.placed}) {
            for (const backup::BackupFile& file : *files) {
                if (file.IsEudoras()) {
                    ofEudora.push_back(file.path);
                } else {
                    ofFolder.push_back(backup::RememberedName(context.files, file));
                }
            }
        }
        for (const std::string& path : ofEudora) {
            auto forgotten = state::ForgetEudora(context.files, context.stateFile, path);
            if (!forgotten) return forgotten;
        }
        return state::ForgetFiles(context.files, context.stateFile, backup.sides.eudora, ofFolder);
    };
    auto backups = BackupsOf(context);
    return backup::Restore(context.files, context.clock, backups, id, wanted, forget);
}

base::Result<std::vector<backup::Backup>> PruneBackups(const RunContext& context,
                                                       const std::string& eudoraFolder) {
    const bool hasState = context.files.Exists(context.stateFile);
    auto lock = state::LockState(context.files, context.stateFile, hasState);
    if (!lock) return lock.Error();
    return BackupsOf(context).Prune(context.backupSpace, {}, eudoraFolder);
}

}  // namespace host::sync
