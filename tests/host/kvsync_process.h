#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace host::testing {

struct Outcome {
    int code = -1;
    std::string out, err;
};

// A folder of its own for one test, removed with it, with a copy of samples/Eudora in "E".
class Bench {
  public:
    Bench();
    ~Bench();
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;

    std::string Path(const std::string& name) const { return (m_folder / name).string(); }
    // Runs the built kvsync, whose own files lie in "state". The arguments are as for a shell, but
    // "@" at the beginning of one stands for this folder.
    Outcome Kvsync(const std::string& arguments, const std::string& input = {}) const;
    // The same with variables of the environment in front, as for a shell.
    Outcome KvsyncWith(const std::string& variables, const std::string& arguments) const;
    // The same, killed after some seconds if it takes that long: then the code is 137. It can write
    // no file of more than 500 MB.
    Outcome KvsyncKilled(double seconds, const std::string& arguments) const;
    // What `kvsync shell KIND --eudora E` answers to the lines.
    std::vector<nlohmann::json> Shell(const std::string& kind, const std::string& script) const;
    void Write(const std::string& name, const std::string& content) const;
    std::string Read(const std::string& name) const;
    // Every file and folder below a folder, with contents.
    std::map<std::string, std::string> Tree(const std::string& name) const;

  private:
    Outcome Run(std::string command, const std::string& input) const;

    std::filesystem::path m_folder;
};

// How often a text stands in another one.
int CountOf(const std::string& part, const std::string& all);

}  // namespace host::testing
