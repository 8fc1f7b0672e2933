#include <algorithm>
#include <iterator>

#include <nlohmann/json.hpp>

#include "host/base/failure.h"
#include "host/base/json_text.h"
#include "host/base/report.h"
#include "host/cli/commands.h"
#include "host/cli/run_place.h"
#include "host/cli/sync_reports.h"
#include "host/eudora/outside_names.h"

namespace host::cli {

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
base::ExitCode Worse(base::ExitCode a, base::ExitCode b) {
    constexpr base::ExitCode kOrder[] = {base::ExitCode::kFailed, base::ExitCode::kRefused,
                                         base::ExitCode::kConflictsLeft,
                                         base::ExitCode::kChangesMade};
    for (const base::ExitCode code : kOrder) {
        if (a == code || b == code) return code;
    }
    return base::ExitCode::kNothingToDo;
}

Json JsonOf(const base::Report& report) {
    return Json::parse(report.json, nullptr, false);
}

base::Report Joined(const base::Report& contacts, const base::Report& mail) {
    base::Report joined;
    joined.code = Worse(contacts.code, mail.code);
    for (const base::Report* report : {&contacts, &mail}) {
        std::ranges::copy(report->lines, std::back_inserter(joined.lines));
        std::ranges::copy(report->errors, std::back_inserter(joined.errors));
    }
    joined.json = base::JsonText(Json{{"contacts", JsonOf(contacts)}, {"mail", JsonOf(mail)}});
    return joined;
}

// Contacts and then mails; a refusal of one does not keep the other.
base::Result<base::Report> ReportOn(const Subjects& subjects, Workplace& place,
                                    const Options& options, bool isStatus) {
    ProgressLine progress(!options.quiet);
    auto command = PlaceOf(options, progress);
    if (!command) return command.Error();
    if (!subjects.mail) return ReportContacts(place, options, *command, isStatus);
    if (!subjects.contacts) return ReportMail(place, options, *command, isStatus);
    const auto contacts = ReportContacts(place, options, *command, isStatus);
    const auto mail = ReportMail(place, options, *command, isStatus);
    return Joined(contacts ? *contacts : base::RefusalReport(contacts.Error()),
                  mail ? *mail : base::RefusalReport(mail.Error()));
}

base::Status CheckFolders(const Subjects& subjects, const Options& options) {
    if (subjects.contacts && !options.contacts) {
        return base::Refused(
            "no contacts folder is named: give --contacts DIR, or contacts = \"DIR\" in "
            "the configuration file");
    }
    if (subjects.mail && !options.maildir) {
        return base::Refused(
            "no Maildir is named: give --maildir DIR, or maildir = \"DIR\" in the configuration "
            "file");
    }
    return {};
}

}  // namespace

base::ExitCode Sync(const Options& options, const std::string& what) {
    const Subjects subjects(options, what);
    if (auto named = CheckFolders(subjects, options); !named) return Fail(named.Error());
    if (auto inside = eudora::RefuseNamesLeadingOutside(options.setup); !inside) {
        return Fail(inside.Error());
    }
    auto place = subjects.contacts ? Workplace::Enter(options) : Workplace::EnterForMail(options);
    if (!place) return Fail(place.Error());
    const auto report = ReportOn(subjects, *place, options, false);
    return report ? Say(*report, options) : Fail(report.Error());
}

base::ExitCode Status(const Options& options) {
    const Subjects subjects(options, "");
    if (auto named = CheckFolders(subjects, options); !named) return Fail(named.Error());
    Options reading = options;
    reading.setup.writesNothing = true;
    auto place = Workplace::Enter(reading, true);
    if (!place) return Fail(place.Error());
    auto report = ReportOn(subjects, *place, reading, true);
    if (!report) return Fail(report.Error());
    const auto stopped = eudora::RefuseRunningEudora(place->Place());
    if (!stopped) report->lines.push_back("locked: " + stopped.Error().Message());
    auto leaveTheFolder = Json::array();
    for (const eudora::OutsideName& name : eudora::NamesLeadingOutside(options.setup)) {
        const auto failure = eudora::LeadsOutside(name);
        leaveTheFolder.push_back(name.path);
        if (options.setup.followLinks) {
            report->lines.push_back(failure.Cause());
        } else {
            report->errors.push_back(failure.Message());
            report->code = Worse(report->code, base::ExitCode::kRefused);
        }
    }
    if (auto json = JsonOf(*report); json.is_object()) {
        json["eudoraRuns"] = !stopped;
        json["leaveTheFolder"] = std::move(leaveTheFolder);
        report->json = base::JsonText(json);
    }
    return Say(*report, options);
}

}  // namespace host::cli
