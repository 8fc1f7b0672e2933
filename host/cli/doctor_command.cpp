#include <algorithm>
#include <iostream>

#include <nlohmann/json.hpp>

#include "host/cli/commands.h"
#include "host/doctor/doctor.h"

namespace host {

namespace {

const char* Word(Health health) {
    switch (health) {
        case Health::kGood:
            return "good";
        case Health::kNote:
            return "note";
        case Health::kFault:
            break;
    }
    return "FAULT";
}

void PrintJson(const std::vector<Finding>& findings) {
    auto list = nlohmann::ordered_json::array();
    for (const Finding& finding : findings) {
        list.push_back(
            {{"health", finding.health == Health::kFault ? "fault" : Word(finding.health)},
             {"what", finding.what},
             {"state", finding.state},
             {"advice", finding.advice}});
    }
    std::cout << list.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
}

}  // namespace

ExitCode Doctor(const Options& options) {
    const auto findings = Examine(options.setup, options.contacts);
    if (options.json) {
        PrintJson(findings);
    } else {
        for (const Finding& finding : findings) {
            if (options.quiet && finding.health == Health::kGood) continue;
            std::cout << Word(finding.health) << "  " << finding.what << ": " << finding.state
                      << '\n';
            if (!finding.advice.empty()) std::cout << "       -> " << finding.advice << '\n';
        }
    }
    const bool isSick = std::ranges::any_of(
        findings, [](const Finding& finding) { return finding.health == Health::kFault; });
    return isSick ? ExitCode::kRefused : ExitCode::kNothingToDo;
}

}  // namespace host
