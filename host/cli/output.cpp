#include "host/cli/output.h"

#include "host/base/output.h"

namespace host::cli {

namespace {

const char* ResultWord(base::ExitCode code) {
    switch (code) {
        case base::ExitCode::kNothingToDo:
            return "nothing to do";
        case base::ExitCode::kChangesMade:
            return "changes made";
        case base::ExitCode::kConflictsLeft:
            return "conflicts left";
        case base::ExitCode::kRefused:
            return "refused";
        default:
            return "failed";
    }
}

}  // namespace

void Output::Finish(nlohmann::json body) {
    body["result"] = ResultWord(code);
    body["errors"] = errors;
    json = std::move(body);
}

Output RefusalOutput(const base::Failure& failure) {
    Output output{failure.exit, {}, {failure.Message()}};
    output.Finish(nlohmann::json::object());
    return output;
}

Output BackupsOutput(const std::vector<backup::Backup>& backups) {
    Output output;
    auto list = nlohmann::json::array();
    for (const backup::Backup& backup : backups) {
        std::string line = backup.id + "  " + backup.reason;
        auto files = nlohmann::json::array();
        for (const backup::BackupFile& file : backup.files) {
            line += "  " + file.origin;
            files.push_back(file.origin);
        }
        output.lines.push_back(std::move(line));
        list.push_back({{"id", backup.id}, {"reason", backup.reason}, {"files", files}});
    }
    if (backups.empty()) output.lines.emplace_back("no backups yet");
    output.Finish({{"backups", std::move(list)}});
    return output;
}

Output RestoreOutput(const std::string& id, const backup::Backup& before) {
    Output output{
        base::ExitCode::kChangesMade,
        {"backup " + id + " is back in place", "what was there before is backup " + before.id}};
    output.Finish({{"restored", id}, {"before", before.id}});
    return output;
}

Output ExportOutput(std::size_t contacts, const std::string& toFolder) {
    Output output;
    if (contacts > 0) output.code = base::ExitCode::kChangesMade;
    output.lines.push_back(std::to_string(contacts) + " contacts exported to " + toFolder);
    output.Finish({{"exported", contacts}});
    return output;
}

base::ExitCode Say(const Output& output, const Options& options) {
    if (options.json) {
        base::PrintLine(base::JsonText(output.json));
    } else {
        for (const std::string& line : output.lines) base::PrintLine(line);
    }
    for (const std::string& line : output.errors) base::PrintError(line);
    return output.code;
}

}  // namespace host::cli
