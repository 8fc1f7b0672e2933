#include <algorithm>
#include <iterator>

#include <nlohmann/json.hpp>

#include "host/cli/commands.h"
#include "host/cli/run_place.h"
#include "host/cli/sync_reports.h"
#include "host/engine/report.h"
#include "host/module/outside_names.h"
#include "host/output/json_text.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

// What a run is about: what its words name, else everything that has a folder.
struct Subjects {
    bool contacts = false, mail = false;

    Subjects(const Options& options, const std::string& what)
        : contacts(what.empty() ? options.contacts || !options.maildir : what == "contacts"),
          mail(what.empty() ? options.maildir.has_value() : what == "mail") {}
};

// The code that a person has to know first.
ExitCode Worse(ExitCode a, ExitCode b) {
    constexpr ExitCode kOrder[] = {ExitCode::kFailed, ExitCode::kRefused, ExitCode::kConflictsLeft,
                                   ExitCode::kChangesMade};
    for (const ExitCode code : kOrder) {
        if (a == code || b == code) return code;
    }
    return ExitCode::kNothingToDo;
}

Json JsonOf(const Report& report) {
    return Json::parse(report.json, nullptr, false);
}

Report Joined(const Report& contacts, const Report& mail) {
    Report joined;
    joined.code = Worse(contacts.code, mail.code);
    for (const Report* report : {&contacts, &mail}) {
        std::ranges::copy(report->lines, std::back_inserter(joined.lines));
        std::ranges::copy(report->errors, std::back_inserter(joined.errors));
    }
    joined.json = JsonText(Json{{"contacts", JsonOf(contacts)}, {"mail", JsonOf(mail)}});
    return joined;
}

// Contacts and then mails; a refusal of one does not keep the other.
platform::Result<Report> ReportOn(const Subjects& subjects, Workplace& place,
                                  const Options& options, bool isStatus) {
    ProgressLine progress(!options.quiet);
    auto command = PlaceOf(options, progress);
    if (!command) return command.Error();
    if (!subjects.mail) return ReportContacts(place, options, *command, isStatus);
    if (!subjects.contacts) return ReportMail(place, options, *command, isStatus);
    const auto contacts = ReportContacts(place, options, *command, isStatus);
    const auto mail = ReportMail(place, options, *command, isStatus);
    return Joined(contacts ? *contacts : RefusalReport(contacts.Error()),
                  mail ? *mail : RefusalReport(mail.Error()));
}

platform::Status CheckFolders(const Subjects& subjects, const Options& options) {
    if (subjects.contacts && !options.contacts) {
        return Refused(
            "no contacts folder is named: give --contacts DIR, or contacts = \"DIR\" in "
            "the configuration file");
    }
    if (subjects.mail && !options.maildir) {
        return Refused(
            "no Maildir is named: give --maildir DIR, or maildir = \"DIR\" in the configuration "
            "file");
    }
    return {};
}

}  // namespace

ExitCode Sync(const Options& options, const std::string& what) {
    const Subjects subjects(options, what);
    if (auto named = CheckFolders(subjects, options); !named) return Fail(named.Error());
    if (auto inside = RefuseNamesLeadingOutside(options.setup); !inside) {
        return Fail(inside.Error());
    }
    auto place = subjects.contacts ? Workplace::Enter(options) : Workplace::EnterForMail(options);
    if (!place) return Fail(place.Error());
    const auto report = ReportOn(subjects, *place, options, false);
    return report ? Say(*report, options) : Fail(report.Error());
}

ExitCode Status(const Options& options) {
    const Subjects subjects(options, "");
    if (auto named = CheckFolders(subjects, options); !named) return Fail(named.Error());
    Options reading = options;
    reading.setup.writesNothing = true;
    auto place = Workplace::Enter(reading, true);
    if (!place) return Fail(place.Error());
    auto report = ReportOn(subjects, *place, reading, true);
    if (!report) return Fail(report.Error());
    const auto stopped = RefuseRunningEudora(place->Place());
    if (!stopped) report->lines.push_back("locked: " + stopped.Error().Message());
    auto leaveTheFolder = Json::array();
    for (const OutsideName& name : NamesLeadingOutside(options.setup)) {
        const auto failure = LeadsOutside(name);
        leaveTheFolder.push_back(name.path);
        if (options.setup.followLinks) {
            report->lines.push_back(failure.Cause());
        } else {
            report->errors.push_back(failure.Message());
            report->code = Worse(report->code, ExitCode::kRefused);
        }
    }
    if (auto json = JsonOf(*report); json.is_object()) {
        json["eudoraRuns"] = !stopped;
        json["leaveTheFolder"] = std::move(leaveTheFolder);
        report->json = JsonText(json);
    }
    return Say(*report, options);
}

}  // namespace host
