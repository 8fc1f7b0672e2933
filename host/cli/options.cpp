#include "host/cli/options.h"

#include <algorithm>

#define TOML_EXCEPTIONS 0
#include <toml++/toml.h>

#include "host/cli/mail_commands.h"
#include "platform/os/program.h"
#include "platform/os/system.h"
#include "text/ascii.h"

namespace host::cli {

namespace {

constexpr std::uint64_t kLargestConfiguration = 1 << 20;

// The configuration file without --config; "" without any of the environment variables.
std::string DefaultPath() {
    if (auto folder = platform::Environment("XDG_CONFIG_HOME")) {
        return *folder + "/kvsync/config.toml";
    }
    if (auto folder = platform::Environment("APPDATA")) return *folder + "\\kvsync\\config.toml";
    if (auto home = platform::Environment("HOME")) return *home + "/.config/kvsync/config.toml";
    return {};
}

// A path that begins with "~/" lies in the home folder.
std::string Expanded(const std::string& path) {
    const auto home = platform::Environment("HOME");
    return home && path.starts_with("~/") ? *home + path.substr(1) : path;
}

// The key that stands for an option in the file.
std::string KeyOf(const TextOption& option) {
    std::string key = option.name;
    std::ranges::replace(key, '-', '_');
    return key;
}

Ended Unusable(const std::string& path, const std::string& why) {
    return Misuse("the configuration file " + path + ": " + why);
}

void ReadCodePage(const std::string& path, const toml::node& node, Options& options) {
    const auto number = node.value_exact<std::int64_t>();
    if (!number || *number < 1 || *number > 65535) {
        throw Unusable(path, "code_page must be a number from 1 to 65535");
    }
    if (!options.setup.codePage) options.setup.codePage = static_cast<unsigned>(*number);
}

// Takes the values of the file over where the command line has none.
void Apply(const std::string& path, const toml::table& table, Options& options) {
    // --eudora or --wine-prefix on the command line replaces both keys of the file.
    const bool hasPlace = options.setup.eudora || options.setup.winePrefix;
    auto known = TextOptions(options);
    for (const auto& [key, node] : table) {
        const std::string name(key.str());
        if (name == "code_page") {
            ReadCodePage(path, node, options);
            continue;
        }
        if (name == "substitute") {
            const auto isAllowed = node.value_exact<bool>();
            if (!isAllowed) throw Unusable(path, name + " must be true or false");
            options.rules.substitute = options.rules.substitute || *isAllowed;
            continue;
        }
        const auto option = std::ranges::find(known, name, &KeyOf);
        if (option == known.end() || option->kind == TextOption::kConfig) {
            throw Unusable(path, "unknown key " + name);
        }
        if (const auto* list = node.as_array(); list != nullptr && name == "nickname_file") {
            for (const auto& one : *list) {
                const auto file = one.value_exact<std::string>();
                if (!file) throw Unusable(path, name + " must be a list of texts in quotes");
                if (!option->value) options.nicknameFiles.push_back(Expanded(*file));
            }
            continue;
        }
        auto text = node.value_exact<std::string>();
        if (const auto number = node.value_exact<std::int64_t>(); option->isNumber && number) {
            text = std::to_string(*number);
        }
        if (!text) throw Unusable(path, name + " must be a text in quotes");
        const bool isPlace = name == "eudora" || name == "wine_prefix";
        if (!option->value && !(isPlace && hasPlace)) option->value = Expanded(*text);
    }
}

void ReadFile(Options& options) {
    const std::string path = options.config ? *options.config : DefaultPath();
    auto& files = platform::NativeFiles();
    if (path.empty() || (!options.config && !files.Exists(path))) return;
    const auto text = platform::ReadWhole(files, path, kLargestConfiguration);
    if (!text) {
        throw Misuse("the configuration file cannot be read: " + text.Error().Message());
    }
    const toml::parse_result parsed = toml::parse(*text);
    if (!parsed) {
        throw Unusable(path, "line " + std::to_string(parsed.error().source().begin.line) + ": " +
                                 std::string(parsed.error().description()));
    }
    Apply(path, parsed.table(), options);
}

std::optional<std::chrono::seconds> ParseSeconds(std::string_view text) {
    const auto number = text::NumberIn<unsigned>(text);
    if (!number || *number > 86400) return std::nullopt;
    return std::chrono::seconds(*number);
}

// "500 MB", "2GB"
std::optional<std::uint64_t> ParseSpace(std::string_view text) {
    constexpr std::pair<std::string_view, std::uint64_t> kUnits[] = {
        {"KB", 1'000}, {"MB", 1'000'000}, {"GB", 1'000'000'000}, {"TB", 1'000'000'000'000}};
    for (const auto& [unit, bytes] : kUnits) {
        if (!text.ends_with(unit)) continue;
        text.remove_suffix(unit.size());
        const auto number = text::NumberIn<std::uint32_t>(text::TrimmedBack(text, " "));
        return number && *number <= 1'000'000 ? std::optional(*number * bytes) : std::nullopt;
    }
    return std::nullopt;
}

std::optional<std::string> KnownLanguage(std::string_view text) {
    constexpr std::string_view kLanguages[] = {"EN", "DE", "FR", "ES", "IT", "PT", "JP"};
    const auto known = std::ranges::find(kLanguages, text);
    return known != std::end(kLanguages) ? std::optional(std::string(text)) : std::nullopt;
}

std::optional<std::string> KnownCardVersion(std::string_view text) {
    return text == "3.0" || text == "4.0" ? std::optional(std::string(text)) : std::nullopt;
}

// The value that a text stands for, if there is one.
template <class Parser, class Value>
void Parse(const char* name, const std::optional<std::string>& text, const char* rule,
           const Parser& parser, Value& value) {
    if (!text) return;
    const auto parsed = parser(*text);
    if (!parsed) throw Misuse(std::string(name) + ' ' + rule + ", not " + *text);
    value = *parsed;
}

}  // namespace

std::vector<TextOption> TextOptions(Options& options) {
    using enum TextOption::Kind;
    auto& setup = options.setup;
    return {
        {"eudora", kPath, setup.eudora, "a bare Eudora folder"},
        {"wine-prefix", kPath, setup.winePrefix,
         "the Wine prefix that Eudora is installed in (else WINEPREFIX, else ~/.wine)"},
        {"contacts", kFolder, options.contacts, "the folder of vCards"},
        {"maildir", kFolder, options.maildir, "the Maildir"},
        {"nickname-file", kBook, setup.nicknameFile,
         "the nickname file to work on, also by its name in Eudora's folder (else the one chosen "
         "with configure); all: each becomes a folder of its own below that of the vCards"},
        {"state", kPath, options.state, "the file that remembers the last run"},
        {"config", kConfig, options.config,
         "the configuration file (else ~/.config/kvsync/config.toml)"},
        {"backup-space", kWord, options.backupSpace,
         "how much all backups together may take (default: \"2 GB\"); the oldest go first"},
        {"settings", kPath, setup.settings, "the folder of the translators' settings files"},
        {"language", kWord, setup.language, "language of the translator: EN DE FR ES IT PT JP"},
        {"prefer", kWordOfSync, options.prefer,
         "who wins where both sides changed: eudora, folder, newer, both (contacts: the newer, "
         "with a copy of the older); without it such conflicts wait"},
        {"direction", kWordOfRun, options.direction,
         "which way changes go: both, pull (from Eudora alone), push (into Eudora alone)"},
        {"max-delete", kWordOfSync, options.maxDelete,
         "stop before the first change if more would be deleted: N or N% (default: "
         "the larger of 10 and 25%)",
         true},
        {"max-add", kWordOfSync, options.maxAdd,
         "stop before the first change if more would be added to Eudora: N or N% (default: "
         "100 on a first run, then any number)",
         true},
        {"wait", kWordOfRun, options.wait,
         "so many seconds another run may take to end (default: 0)", true},
        {"vcard-version", kWordOfFile, options.vcardVersion, ""},
        {"mail-age", kWordOfFile, options.mailLimits.age, "", true},
        {"mail-size", kWordOfFile, options.mailLimits.size, "", true},
        {"mail-attachments", kWordOfFile, options.mailLimits.attachments, ""},
        {"mail-attachment-size", kWordOfFile, options.mailLimits.attachmentSize, "", true}};
}

void ReadConfiguration(Options& options) {
    ReadFile(options);
    if (options.setup.eudora && options.setup.winePrefix) {
        throw Misuse("--eudora and --wine-prefix exclude each other: give one");
    }
    // An empty path would stand for the current folder.
    for (const TextOption& option : TextOptions(options)) {
        if (option.IsPath() && option.value && option.value->empty()) {
            throw Misuse(option.name + ' ' + kEmptyPath);
        }
    }
    Parse("language", options.setup.language, "is one of EN DE FR ES IT PT JP", KnownLanguage,
          options.setup.language);
    Parse("backup-space", options.backupSpace, "is a number of KB, MB, GB or TB such as \"2 GB\"",
          ParseSpace, options.backupBytes);
    Parse("vcard_version", options.vcardVersion, "is 3.0 or 4.0, in quotes", KnownCardVersion,
          options.vcardVersion);
    sync::Options& rules = options.rules;
    rules.dryRun = options.setup.writesNothing;
    constexpr const char* kNumber = "is a number or a percentage such as 25%";
    Parse("prefer", options.prefer, "is eudora, folder, newer or both", sync::ParsePrefer,
          rules.prefer);
    Parse("direction", options.direction, "is both, pull or push", sync::ParseDirection,
          rules.direction);
    Parse("max-delete", options.maxDelete, kNumber, sync::ParseLimit, rules.maxDelete);
    Parse("max-add", options.maxAdd, kNumber, sync::ParseLimit, rules.maxAdd);
    const auto checkLimit = [](const char* name, const std::optional<std::string>& limit,
                               std::string (*wrong)(const std::string&)) {
        const std::string why = limit ? wrong(*limit) : std::string();
        if (!why.empty()) throw Misuse(std::string(name) + ' ' + why);
    };
    checkLimit("mail_age", options.mailLimits.age, WrongDays);
    checkLimit("mail_size", options.mailLimits.size, WrongSize);
    checkLimit("mail_attachments", options.mailLimits.attachments, WrongSwitch);
    checkLimit("mail_attachment_size", options.mailLimits.attachmentSize, WrongSize);
    Parse("wait", options.wait, "is a number of seconds up to 86400", ParseSeconds, rules.wait);
}

}  // namespace host::cli
