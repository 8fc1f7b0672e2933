#include <algorithm>

#include <nlohmann/json.hpp>

#include "host/base/output.h"
#include "host/cli/commands.h"
#include "host/doctor/doctor.h"
#include "host/mailsync/mail_sync.h"
#include "platform/os/system.h"

namespace host::cli {

namespace {

const char* Word(doctor::Health health) {
    switch (health) {
        case doctor::Health::kGood:
            return "good";
        case doctor::Health::kNote:
            return "note";
        case doctor::Health::kFault:
        case doctor::Health::kBroken:
            break;
    }
    return "FAULT";
}

base::ExitCode CodeOf(const std::vector<doctor::Finding>& findings) {
    const auto has = [&](doctor::Health health) {
        return std::ranges::find(findings, health, &doctor::Finding::health) != findings.end();
    };
    if (has(doctor::Health::kBroken)) return base::ExitCode::kFailed;
    return has(doctor::Health::kFault) ? base::ExitCode::kRefused : base::ExitCode::kNothingToDo;
}

doctor::Finding MaildirFinding(const Options& options) {
    if (!options.maildir) {
        return {doctor::Health::kNote, "Maildir", "none is named",
                "name it with --maildir DIR or in the configuration file"};
    }
    const std::string eudora =
        options.setup.eudora ? eudora::WithoutLinks(*options.setup.eudora) : "";
    const std::string path = eudora::WithoutLinks(*options.maildir);
    const auto checked = mailsync::CheckMaildir(platform::NativeFiles(), path, eudora);
    if (!checked) return doctor::FaultOf("Maildir", checked.Error());
    const bool exists = platform::NativeFiles().Exists(path);
    return {
        doctor::Health::kGood, "Maildir", exists ? path : path + " (made by the first sync)", {}};
}

void PrintJson(const std::vector<doctor::Finding>& findings) {
    auto list = nlohmann::ordered_json::array();
    for (const doctor::Finding& finding : findings) {
        list.push_back(
            {{"health", finding.health >= doctor::Health::kFault ? "fault" : Word(finding.health)},
             {"what", finding.what},
             {"state", finding.state},
             {"advice", finding.advice}});
    }
    base::PrintText(base::JsonText(list, 2));
}

}  // namespace

Ending Doctor(const Options& options) {
    auto findings = doctor::Examine(options.setup, options.contacts);
    findings.push_back(MaildirFinding(options));
    if (options.json) {
        PrintJson(findings);
    } else {
        for (const doctor::Finding& finding : findings) {
            if (options.quiet && finding.health == doctor::Health::kGood) continue;
            base::PrintLine(std::string(Word(finding.health)) + "  " + finding.what + ": " +
                            finding.state);
            if (!finding.advice.empty()) base::PrintLine("       -> " + finding.advice);
        }
    }
    return CodeOf(findings);
}

}  // namespace host::cli
