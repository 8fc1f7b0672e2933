#include "host/cli/options.h"

#include <algorithm>

#define TOML_EXCEPTIONS 0
#include <toml++/toml.h>

#include "host/base/failure.h"
#include "host/base/native_path.h"
#include "platform/os/program.h"
#include "platform/os/system.h"

namespace host::cli {

namespace {

constexpr std::uint64_t kLargestConfiguration = 1 << 20;

struct TextKey {
    std::string_view name;
    std::optional<std::string>& target;
};

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

base::Failure Unusable(const std::string& path, const std::string& why) {
    return base::Failed("the configuration file " + path + ": " + why);
}

base::Status ReadCodePage(const std::string& path, const toml::node& node, Options& options) {
    const auto number = node.value_exact<std::int64_t>();
    if (!number || *number < 1 || *number > 65535) {
        return Unusable(path, "code_page must be a number from 1 to 65535");
    }
    if (!options.setup.codePage) options.setup.codePage = static_cast<unsigned>(*number);
    return {};
}

base::Status Apply(const std::string& path, const toml::table& table, Options& options) {
    auto& setup = options.setup;
    // What the command line says about the place replaces both keys.
    const bool hasPlace = setup.eudora || setup.winePrefix;
    std::optional<std::string> eudora, winePrefix;
    const TextKey keys[] = {{"eudora", hasPlace ? eudora : setup.eudora},
                            {"wine_prefix", hasPlace ? winePrefix : setup.winePrefix},
                            {"contacts", options.contacts},
                            {"maildir", options.maildir},
                            {"state", options.state},
                            {"nickname_file", setup.nicknameFile},
                            {"settings", setup.settings},
                            {"language", setup.language},
                            {"prefer", options.prefer},
                            {"max_delete", options.maxDelete}};
    for (const auto& [key, node] : table) {
        const std::string name(key.str());
        if (name == "code_page") {
            if (auto read = ReadCodePage(path, node, options); !read) return read;
            continue;
        }
        const auto* known = std::ranges::find(keys, name, &TextKey::name);
        if (known == std::end(keys)) return Unusable(path, "unknown key " + name);
        const auto text = node.value_exact<std::string>();
        if (!text) return Unusable(path, name + " must be a text in quotes");
        if (!known->target) known->target = Expanded(*text);
    }
    return {};
}

base::Status ReadFile(Options& options) {
    const std::string path = options.config ? *options.config : DefaultPath();
    auto& files = platform::NativeFiles();
    if (path.empty() || (!options.config && !files.Exists(path))) return {};
    const auto text = platform::ReadWhole(files, path, kLargestConfiguration);
    if (!text)
        return base::Failed("the configuration file cannot be read: " + text.Error().Message());
    const toml::parse_result parsed = toml::parse(*text);
    if (!parsed) {
        const auto where = parsed.error().source().begin;
        return Unusable(path, "line " + std::to_string(where.line) + ": " +
                                  std::string(parsed.error().description()));
    }
    return Apply(path, parsed.table(), options);
}

}  // namespace

base::Status ReadConfiguration(Options& options) {
    if (auto read = ReadFile(options); !read) return read;
    if (options.setup.eudora && options.setup.winePrefix) {
        return base::Failed("--eudora and --wine-prefix exclude each other: give one");
    }
    return {};
}

}  // namespace host::cli
