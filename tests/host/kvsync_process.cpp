#include "tests/host/kvsync_process.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "platform/os/program.h"
#include "tests/platform/temp_folder.h"

namespace host::testing {

namespace fs = std::filesystem;

namespace {

// For the shell; no path of a test holds a quote.
std::string Quoted(const std::string& text) {
    return '"' + text + '"';
}

// "@" at the beginning of an argument becomes the folder; the rest of the word stays as it is.
std::string WithFolder(std::string arguments, const std::string& folder) {
    for (std::size_t at = 0; (at = arguments.find(" @", at)) != std::string::npos;) {
        const std::size_t end = std::min(arguments.find(' ', at + 1), arguments.size());
        const std::string path = Quoted(folder + arguments.substr(at + 2, end - at - 2));
        arguments.replace(at + 1, end - at - 1, path);
        at += path.size();
    }
    return arguments;
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
}

Bench::~Bench() {
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

Outcome Bench::Kvsync(const std::string& arguments, const std::string& input) const {
    return Run(Quoted(KV_PROGRAM) + " " + arguments, input);
}

Outcome Bench::KvsyncWith(const std::string& variables, const std::string& arguments) const {
    return Run(variables + " " + Quoted(KV_PROGRAM) + " " + arguments, {});
}

Outcome Bench::KvsyncKilled(double seconds, const std::string& arguments) const {
    // In the foreground, so that the killed run is gone when its exit code is there.
    return Run("ulimit -f 1000000; timeout --foreground -s KILL " + std::to_string(seconds) + " " +
                   Quoted(KV_PROGRAM) + " " + arguments,
               {});
}

Outcome Bench::Run(std::string command, const std::string& input) const {
    Write("input", input);
    const std::pair<const char*, std::string> variables[] = {{"XDG_STATE_HOME", Path("state")},
                                                             {"XDG_CONFIG_HOME", Path("config")},
                                                             {"HOME", Path("home")},
                                                             {"WINEPREFIX", Path("no-prefix")}};
    for (const auto& [name, value] : variables) (void)platform::SetEnvironment(name, value);
    command = WithFolder(std::move(command), Path("")) + " < " + Quoted(Path("input")) + " > " +
              Quoted(Path("out")) + " 2> " + Quoted(Path("err"));
    const int status = std::system(command.c_str());
    return {status >= 256 ? status >> 8 : status, Read("out"), Read("err")};
}

std::vector<nlohmann::json> Bench::Shell(const std::string& kind, const std::string& script) const {
    const Outcome outcome = Kvsync("shell " + kind + " --eudora @E", script);
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
    test::WriteDisk(m_folder / name, content);
}

std::string Bench::Read(const std::string& name) const {
    return test::ReadDisk(m_folder / name);
}

std::map<std::string, std::string> Bench::Tree(const std::string& name) const {
    std::map<std::string, std::string> tree;
    for (const auto& entry : fs::recursive_directory_iterator(m_folder / name)) {
        std::error_code odd;
        const bool isFile = entry.is_regular_file(odd) && entry.file_size() < (1u << 24);
        tree[entry.path().lexically_relative(m_folder).string()] =
            isFile ? test::ReadDisk(entry.path()) : std::string();
    }
    return tree;
}

int CountOf(const std::string& part, const std::string& all) {
    int count = 0;
    for (std::size_t at = 0; (at = all.find(part, at)) != std::string::npos; ++at) ++count;
    return count;
}

}  // namespace host::testing
