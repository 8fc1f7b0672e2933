#include "host/doctor/doctor.h"

#include <filesystem>

#include "host/base/paths.h"
#include "host/doctor/eudora_findings.h"
#include "host/translator/translator_host.h"
#include "platform/os/system.h"

namespace host::doctor {

namespace fs = std::filesystem;

namespace {

Finding StateFinding() {
    const auto folder = eudora::StateFolder();
    if (!folder) return FaultOf("kvsync's own folder", folder.Error());
    std::error_code ignored;
    fs::path existing = base::ToPath(*folder);
    while (!existing.empty() && !fs::exists(existing, ignored) && existing.has_relative_path()) {
        existing = existing.parent_path();
    }
    const auto info = platform::NativeFiles().Stat(base::FromPath(existing));
    if (info && info->isFolder && !info->isReadOnly) {
        return {Health::kGood, "kvsync's own folder", *folder, {}};
    }
    return {Health::kFault, "kvsync's own folder", base::FromPath(existing) + " cannot be written",
            base::kMakeWritable};
}

Finding LibraryFinding(std::string& folder) {
    auto path = translator::TranslatorHost::FindLibrary();
    if (!path) return FaultOf("translator library", path.Error());
    folder = base::FromPath(base::ToPath(*path).parent_path());
    if (auto loaded = translator::TranslatorHost::Load(*path, {}); !loaded) {
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
                "install kvsync completely"};
    }
    if (!hasLanguage) {
        return {Health::kNote, "language bundles", found + ", none for " + language,
                "choose another with --language"};
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
        return {Health::kNote, "folder of vCards", *folder + " does not exist yet",
                "check the path; the first sync makes it"};
    }
    if (!info->isFolder || info->isReadOnly) {
        return {Health::kFault, "folder of vCards",
                *folder + (info->isFolder ? " cannot be written" : " is no folder"),
                info->isFolder ? "give yourself write permission there" : "name a folder"};
    }
    return {Health::kGood, "folder of vCards", *folder, {}};
}

}  // namespace

Finding FaultOf(std::string what, const base::Failure& failure) {
    const bool isRefusal = failure.exit == base::ExitCode::kRefused;
    return {isRefusal ? Health::kFault : Health::kBroken, std::move(what), failure.Cause(),
            failure.advice};
}

std::vector<Finding> Examine(const eudora::SetupOptions& options,
                             const std::optional<std::string>& contactsFolder) {
    std::vector<Finding> findings{StateFinding()};
    eudora::SetupOptions reading = options;
    // Where kvsync cannot keep anything, the rest can be looked at as a dry run does.
    reading.writesNothing = findings.back().health != Health::kGood;
    std::string libraryFolder;
    findings.push_back(LibraryFinding(libraryFolder));
    bool canStart = findings.back().health == Health::kGood;
    if (!libraryFolder.empty()) {
        findings.push_back(BundleFinding(libraryFolder, options.language.value_or("EN")));
        canStart = canStart && findings.back().health != Health::kFault;
    }
    findings.push_back(ContactsFinding(contactsFolder));
    auto setup = eudora::Prepare(reading);
    if (!setup) {
        Finding fault = FaultOf("Eudora", setup.Error());
        if (fault.state != findings.front().state) findings.push_back(std::move(fault));
        return findings;
    }
    for (Finding& finding : ExamineEudora(reading, *setup, canStart)) {
        findings.push_back(std::move(finding));
    }
    return findings;
}

}  // namespace host::doctor
