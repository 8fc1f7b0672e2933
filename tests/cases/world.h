#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace cases {

// The folder that a case lives in, removed with it; the current folder of this process as long as
// it lives. What kvsync keeps for itself lies in "state" and "config", which are no news.
class World {
  public:
    World();
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    // Carries out the command with its input, and tells in lines what came of it: the output,
    // errors behind "! ", and the files that are new (+), gone (-), changed (~) or written anew
    // with the same bytes (=). `code` becomes the exit code of a program.
    std::vector<std::string> Do(const std::string& command, const std::vector<std::string>& input,
                                int& code);

  private:
    struct Entry {
        std::string content;
        std::filesystem::file_time_type time;
    };
    using Files = std::map<std::string, Entry>;

    // A command of this runner: it makes or shows files. README.md lists them.
    bool DoWithFiles(const std::vector<std::string>& words, const std::vector<std::string>& input,
                     std::vector<std::string>& told);
    int Run(const std::vector<std::string>& words, const std::vector<std::string>& input,
            std::vector<std::string>& told);
    // What a program wrote; the first lines answer operations of the shell.
    void TellOutput(const std::vector<std::string>& operations, std::vector<std::string>& told);
    // The one file that a name stands for: "C/[Ann]" is the file of C that holds "Ann".
    std::string Named(const std::string& name) const;
    // A line with this folder and what differs from run to run as marks, and back.
    std::string Told(std::string line, bool isShell = false);
    std::string Meant(std::string line) const;

    static Files AllFiles();
    static void TellNews(const Files& before, const Files& after, std::vector<std::string>& told);

    std::filesystem::path m_home, m_folder;
    std::string m_variables;  // in front of each command, as for a shell
    std::string m_backup;     // the id of a backup that was told last
};

// Runs a command line of the shell in a terminal of 80 x 25 characters. Each line of input names
// keys (Up, Down, Tab, Enter, Esc, ...), text to type, or "look", which tells what the screen
// shows. They are typed when the program waits for them; what the screen shows in the end is told
// too. The result is the exit code.
int RunInTerminal(const std::string& line, const std::vector<std::string>& input,
                  std::vector<std::string>& told);

}  // namespace cases
