#include "host/doctor/doctor.h"

#include <filesystem>

#include "host/doctor/eudora_findings.h"
#include "host/module/module_library.h"
#include "host/module/native_path.h"
#include "platform/os/system.h"

namespace host {

namespace fs = std::filesystem;

namespace {

// "what is wrong: what to do" in its two halves, at the last colon.
Finding FaultOf(const std::string& what, const platform::Failure& failure) {
    const std::string line = failure.Message();
    const auto colon = line.rfind(": ");
    if (colon == std::string::npos) return {Health::kFault, what, line, {}};
    return {Health::kFault, what, line.substr(0, colon), line.substr(colon + 2)};
}

Finding StateFinding() {
    const auto folder = StateFolder();
    if (!folder) return FaultOf("kvsync's own folder", folder.Error());
    std::error_code ignored;
    fs::path existing = ToPath(*folder);
    while (!existing.empty() && !fs::exists(existing, ignored) && existing.has_relative_path()) {
        existing = existing.parent_path();
    }
    const auto info = platform::NativeFiles().Stat(FromPath(existing));
    if (info && info->isFolder && !info->isReadOnly) {
        return {Health::kGood, "kvsync's own folder", *folder, {}};
    }
    return {Health::kFault, "kvsync's own folder", FromPath(existing) + " cannot be written",
            "give yourself write permission there, or set XDG_STATE_HOME to another folder"};
}

Finding LibraryFinding(std::string& folder) {
    auto path = ModuleLibrary::Find();
    if (!path) return FaultOf("translator library", path.Error());
    folder = FromPath(ToPath(*path).parent_path());
    if (auto loaded = ModuleLibrary::Load(*path); !loaded) {
        return FaultOf("translator library", loaded.Error());
    }
    return {Health::kGood, "translator library", *path, {}};
}

Finding BundleFinding(const std::string& folder, const std::string& language) {
    std::string found;
    bool hasLanguage = false;
    if (auto entries = platform::NativeFiles().List(folder, "kvlEUD*.dll")) {
        for (const auto& entry : *entries) {
            found += (found.empty() ? "" : ", ") + entry.name;
            hasLanguage = hasLanguage || entry.name == "kvlEUD" + language + ".dll";
        }
    }
    if (found.empty()) {
        return {Health::kFault, "language bundles", "none in " + folder,
                "install kvsync completely: kvlEUD" + language + ".dll belongs there"};
    }
    if (!hasLanguage) {
        return {Health::kNote, "language bundles", found,
                "there is none for " + language + ": choose another with --language"};
    }
    return {Health::kGood, "language bundles", found, {}};
}

Finding ContactsFinding(const std::optional<std::string>& folder) {
    if (!folder) {
        return {Health::kNote, "folder of vCards", "none is named",
                "name it with --contacts DIR or in the configuration file"};
    }
    const auto info = platform::NativeFiles().Stat(*folder);
    if (!info) {
        return {Health::kNote, "folder of vCards", *folder + " does not exist", "make it"};
    }
    if (!info->isFolder || info->isReadOnly) {
        return {Health::kFault, "folder of vCards",
                *folder + (info->isFolder ? " cannot be written" : " is no folder"),
                info->isFolder ? "give yourself write permission there" : "name a folder"};
    }
    return {Health::kGood, "folder of vCards", *folder, {}};
}

}  // namespace

std::vector<Finding> Examine(const SetupOptions& options,
                             const std::optional<std::string>& contactsFolder) {
    std::vector<Finding> findings;
    std::string libraryFolder;
    findings.push_back(StateFinding());
    findings.push_back(LibraryFinding(libraryFolder));
    if (!libraryFolder.empty()) {
        findings.push_back(BundleFinding(libraryFolder, options.language.value_or("EN")));
    }
    findings.push_back(ContactsFinding(contactsFolder));
    auto setup = Prepare(options);
    if (!setup) {
        findings.push_back(FaultOf("Eudora", setup.Error()));
        return findings;
    }
    for (Finding& finding : ExamineEudora(options, *setup)) {
        findings.push_back(std::move(finding));
    }
    return findings;
}

}  // namespace host
