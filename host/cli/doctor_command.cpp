#include <algorithm>

#include <nlohmann/json.hpp>

#include "host/cli/commands.h"
#include "host/doctor/doctor.h"
#include "host/mailsync/mail_sync.h"
#include "host/output/json_text.h"
#include "host/output/output.h"
#include "platform/os/system.h"

namespace host {

namespace {

const char* Word(Health health) {
    switch (health) {
        case Health::kGood:
            return "good";
        case Health::kNote:
            return "note";
        case Health::kFault:
        case Health::kBroken:
            break;
    }
    return "FAULT";
}

ExitCode CodeOf(const std::vector<Finding>& findings) {
    const auto has = [&](Health health) {
        return std::ranges::find(findings, health, &Finding::health) != findings.end();
    };
    if (has(Health::kBroken)) return ExitCode::kFailed;
    return has(Health::kFault) ? ExitCode::kRefused : ExitCode::kNothingToDo;
}

Finding MaildirFinding(const Options& options) {
    if (!options.maildir) {
        return {Health::kNote, "Maildir", "none is named",
                "name it with --maildir DIR or in the configuration file"};
    }
    const std::string eudora = options.setup.eudora ? Canonical(*options.setup.eudora) : "";
    const std::string path = Canonical(*options.maildir);
    const auto checked = CheckMaildir(platform::NativeFiles(), path, eudora);
    if (!checked) return FaultOf("Maildir", checked.Error());
    const bool exists = platform::NativeFiles().Exists(path);
    return {Health::kGood, "Maildir", exists ? path : path + " (made by the first sync)", {}};
}

void PrintJson(const std::vector<Finding>& findings) {
    auto list = nlohmann::ordered_json::array();
    for (const Finding& finding : findings) {
        list.push_back(
            {{"health", finding.health >= Health::kFault ? "fault" : Word(finding.health)},
             {"what", finding.what},
             {"state", finding.state},
             {"advice", finding.advice}});
    }
    PrintText(JsonText(list, 2));
}

}  // namespace

ExitCode Doctor(const Options& options) {
    auto findings = Examine(options.setup, options.contacts);
    findings.push_back(MaildirFinding(options));
    if (options.json) {
        PrintJson(findings);
    } else {
        for (const Finding& finding : findings) {
            if (options.quiet && finding.health == Health::kGood) continue;
            PrintLine(std::string(Word(finding.health)) + "  " + finding.what + ": " +
                      finding.state);
            if (!finding.advice.empty()) PrintLine("       -> " + finding.advice);
        }
    }
    return CodeOf(findings);
}

}  // namespace host
