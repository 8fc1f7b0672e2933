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
    // Runs the built kvsync, whose own files lie in "state". "@" at the beginning of an argument
    // stands for this folder.
    Outcome Kvsync(std::vector<std::string> arguments, const std::string& input = {}) const;
    // Runs another program of the build with the prefix that kvsync made for E.
    Outcome OnPrefix(const std::string& program, std::vector<std::string> arguments) const;
    // What `kvsync shell KIND --eudora E` answers to the lines.
    std::vector<nlohmann::json> Shell(const std::string& kind, const std::string& script) const;
    void Write(const std::string& name, const std::string& content) const;
    std::string Read(const std::string& name) const;
    // Every file and folder below a folder, with contents.
    std::map<std::string, std::string> Tree(const std::string& name) const;

  private:
    Outcome Run(const std::string& program, std::vector<std::string> arguments,
                const std::string& prefix, const std::string& input) const;

    std::filesystem::path m_folder;
};

}  // namespace host::testing
