#include "host/cli/completion.h"

#include <CLI/CLI.hpp>

#include "host/base/output.h"
#include "host/cli/output.h"

namespace host::cli {

namespace {

// A text between single quotes, as the shells and fish read it.
std::string Quoted(const std::string& text) {
    std::string quoted = "'";
    for (const char letter : text) quoted += letter == '\'' ? "'\\''" : std::string(1, letter);
    return quoted + '\'';
}

// The words behind a command that are choices: "contacts", "mail".
std::vector<std::string> ChoicesOf(const CLI::App& command) {
    const std::string& name = command.get_name();
    if (name == "completion") return {"bash", "zsh", "fish"};
    for (const CLI::Option* option : command.get_options()) {
        if (option->get_positional() && option->get_description().starts_with("contacts")) {
            if (name == "shell") return {"contacts", "mail", "other"};
            return {"contacts", "mail"};
        }
    }
    return {};
}

// "--name" of each option with a name.
std::vector<std::string> NamesOf(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
    return names;
}

std::string Bash(const std::vector<const CLI::App*>& commands) {
    std::string names, words;
    for (const CLI::App* command : commands) {
        std::string own;
        for (const std::string& word : ChoicesOf(*command)) own += word + ' ';
        for (const std::string& name : NamesOf(*command)) own += name + ' ';
        names += command->get_name() + ' ';
        words += "        " + command->get_name() + ") words='" + own + "' ;;\n";
    }
    return "_kvsync() {\n"
           "    local word command= words=" +
           Quoted(names) +
           "\n"
           "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
           "        case \" " +
           names +
           "\" in *\" $word \"*) command=$word; break ;; esac\n"
           "    done\n"
           "    case $command in\n" +
           words +
           "    esac\n"
           "    COMPREPLY=($(compgen -W \"$words\" -- \"${COMP_WORDS[COMP_CWORD]}\"))\n"
           "}\n"
           "complete -o default -F _kvsync kvsync\n";
}

std::string Fish(const std::vector<const CLI::App*>& commands) {
    std::string script;
    for (const CLI::App* command : commands) {
        const std::string start = "complete -c kvsync -n ";
        script += start + "__fish_use_subcommand -f -a " + command->get_name() + " -d " +
                  Quoted(command->get_description()) + '\n';
        const std::string behind =
            start + Quoted("__fish_seen_subcommand_from " + command->get_name());
        for (const std::string& word : ChoicesOf(*command)) {
            script.append(behind).append(" -a ").append(word) += '\n';
        }
        for (const CLI::Option* option : command->get_options()) {
            for (const std::string& name : option->get_lnames()) {
                script.append(behind).append(" -l ").append(name);
                if (option->get_items_expected() > 0) script += " -r";
                script += " -d " + Quoted(option->get_description()) + '\n';
            }
        }
    }
    return script;
}

}  // namespace

base::ExitCode PrintCompletion(const CLI::App& app, const Options& options) {
    const std::string& shell = options.what;
    const auto commands = app.get_subcommands([](const CLI::App*) { return true; });
    const std::string start =
        shell == "zsh" ? "#compdef kvsync\nautoload -U +X bashcompinit && bashcompinit\n" : "";
    const std::string script = shell == "fish" ? Fish(commands) : start + Bash(commands);
    Output output;
    output.Finish({{"shell", shell}, {"script", script}});
    if (options.json) return Say(output, options);
    base::PrintText(script);
    return base::ExitCode::kNothingToDo;
}

}  // namespace host::cli
