#include "tests/host/kvsync_process.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "platform/os/program.h"

namespace host::testing {

namespace fs = std::filesystem;

namespace {

std::string ReadPath(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// Good for both shells: no test argument holds a quote of its own.
std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

}  // namespace

Bench::Bench() {
    static int number = 0;
    m_folder =
        fs::temp_directory_path() / ("kvsync-test-" + std::to_string(platform::ProcessNumber()) +
                                     "-" + std::to_string(++number));
    fs::create_directories(m_folder);
    fs::copy(KV_SAMPLES, m_folder / "E", fs::copy_options::recursive);
    fs::create_directories(m_folder / "C");
    Write("input", "");
}

Bench::~Bench() {
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

Outcome Bench::Kvsync(std::vector<std::string> arguments, const std::string& input) const {
    return Run(KV_PROGRAM, std::move(arguments), Path("no-prefix"), input);
}

Outcome Bench::OnPrefix(const std::string& program, std::vector<std::string> arguments) const {
    std::string prefix;
    for (const auto& entry : fs::directory_iterator(m_folder / "state/kvsync/prefixes")) {
        prefix = entry.path().string();
    }
    return Run(program, std::move(arguments), prefix, {});
}

Outcome Bench::Run(const std::string& program, std::vector<std::string> arguments,
                   const std::string& prefix, const std::string& input) const {
    Write("input", input);
    (void)platform::SetEnvironment("XDG_STATE_HOME", Path("state"));
    (void)platform::SetEnvironment("XDG_CONFIG_HOME", Path("config"));
    (void)platform::SetEnvironment("HOME", Path("home"));
    (void)platform::SetEnvironment("WINEPREFIX", prefix);
    std::string command = Quoted(program);
    for (std::string& argument : arguments) {
        if (!argument.empty() && argument[0] == '@') argument = Path(argument.substr(1));
        command += " " + Quoted(argument);
    }
    command +=
        " < " + Quoted(Path("input")) + " > " + Quoted(Path("out")) + " 2> " + Quoted(Path("err"));
    const int status = std::system(command.c_str());
    return {status >= 256 ? status >> 8 : status, Read("out"), Read("err")};
}

std::vector<nlohmann::json> Bench::Shell(const std::string& kind, const std::string& script) const {
    const Outcome outcome = Kvsync({"shell", kind, "--eudora", "@E"}, script);
    std::vector<nlohmann::json> answers;
    std::istringstream lines(outcome.out);
    for (std::string line; std::getline(lines, line);) {
        answers.push_back(nlohmann::json::parse(line, nullptr, false));
    }
    // The message boxes of the module stand on standard error.
    if (outcome.code != 0) answers.push_back({{"exit", outcome.code}, {"stderr", outcome.err}});
    return answers;
}

void Bench::Write(const std::string& name, const std::string& content) const {
    std::ofstream(m_folder / name, std::ios::binary) << content;
}

std::string Bench::Read(const std::string& name) const {
    return ReadPath(m_folder / name);
}

std::map<std::string, std::string> Bench::Tree(const std::string& name) const {
    std::map<std::string, std::string> tree;
    for (const auto& entry : fs::recursive_directory_iterator(m_folder / name)) {
        const bool isFile = entry.is_regular_file() && entry.file_size() < (1u << 24);
        tree[fs::relative(entry.path(), m_folder).string()] =
            isFile ? ReadPath(entry.path()) : std::string();
    }
    return tree;
}

}  // namespace host::testing
