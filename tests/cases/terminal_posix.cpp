#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <fstream>
#include <map>
#include <stdexcept>

#include "tests/cases/readable.h"
#include "tests/cases/world.h"
#include "text/utf.h"

namespace cases {

namespace {

constexpr std::size_t kRows = 25, kColumns = 80;

// What a VT52 shows after all that was written to it. It has no colours, and each
// of its control sequences is a letter, but for the one that goes to a place.
class Screen {
  public:
    void Write(std::string_view bytes) {
        m_rest += bytes;
        std::string_view rest = m_rest;
        while (!rest.empty() && Take(rest)) {
        }
        m_rest = std::string(rest);
    }
    bool HasContent() const { return m_rows != std::vector(kRows, kEmpty); }
    // The rows that hold something, without blanks at their ends.
    void Tell(std::vector<std::string>& told) const {
        for (const auto& row : m_rows) {
            std::string line;
            for (const char32_t character : row) text::AppendUtf8(character, line);
            line.erase(line.find_last_not_of(' ') + 1);
            if (!line.empty()) told.push_back(line);
        }
    }

  private:
    // False if the bytes end within a sequence.
    bool Take(std::string_view& rest) {
        if (rest[0] == '\x1B') {
            const std::size_t size = rest.substr(1, 1) == "Y" ? 4 : 2;
            if (rest.size() < size) return false;
            Obey(rest.substr(1, size - 1));
            rest.remove_prefix(size);
            return true;
        }
        const char32_t character = text::TakeUtf8(rest);
        if (character == '\r') m_column = 0;
        if (character == '\b' && m_column > 0) --m_column;
        if (character == '\n') NextRow();
        if (character < 0x20 || character == text::kNoCharacter) return true;
        if (m_column == kColumns) NextRow(), m_column = 0;
        m_rows[m_row][m_column++] = character;
        return true;
    }
    void Obey(std::string_view what) {
        auto& row = m_rows[m_row];
        if (what[0] == 'A' && m_row > 0) --m_row;
        if (what[0] == 'B') m_row = std::min(m_row + 1, kRows - 1);
        if (what[0] == 'C') m_column = std::min(m_column + 1, kColumns - 1);
        if (what[0] == 'D' && m_column > 0) --m_column;
        if (what[0] == 'H') m_row = m_column = 0;
        if (what[0] == 'Y') {
            m_row = std::min<std::size_t>(what[1] - ' ', kRows - 1);
            m_column = std::min<std::size_t>(what[2] - ' ', kColumns - 1);
        }
        if (what[0] != 'J' && what[0] != 'K') return;
        std::fill(row.begin() + static_cast<long>(m_column), row.end(), U' ');
        if (what[0] == 'J')
            std::fill(m_rows.begin() + static_cast<long>(m_row) + 1, m_rows.end(), kEmpty);
    }
    void NextRow() {
        if (++m_row < kRows) return;
        std::rotate(m_rows.begin(), m_rows.begin() + 1, m_rows.end());
        m_rows[m_row = kRows - 1] = kEmpty;
    }

    inline static const std::u32string kEmpty = std::u32string(kColumns, U' ');
    std::vector<std::u32string> m_rows = std::vector(kRows, kEmpty);
    std::size_t m_row = 0, m_column = 0;
    std::string m_rest;  // the beginning of a sequence
};

bool Sleeps(pid_t program) {
    std::ifstream file("/proc/" + std::to_string(program) + "/stat");
    const std::string state{std::istreambuf_iterator<char>(file), {}};
    const auto name = state.rfind(')');
    return name == state.npos || state.substr(name + 2, 1) != "R";
}

// Shows what the program writes until it waits for a key; false when it has
// ended.
bool Watch(int terminal, pid_t program, Screen& screen) {
    for (int quiet = 0; quiet < 3;) {
        pollfd file{terminal, POLLIN, 0};
        if (poll(&file, 1, 40) == 0) {
            quiet = screen.HasContent() && Sleeps(program) ? quiet + 1 : 0;
            continue;
        }
        std::array<char, 4096> bytes{};
        const ssize_t count = read(terminal, bytes.data(), bytes.size());
        if (count <= 0) return false;
        screen.Write({bytes.data(), static_cast<std::size_t>(count)});
        quiet = 0;
    }
    return true;
}

std::string BytesOfKey(const std::string& word) {
    static const std::map<std::string, std::string> kKeys = {
        {"Up", "\x1BOA"}, {"Down", "\x1BOB"},  {"Right", "\x1BOC"}, {"Left", "\x1BOD"},
        {"Tab", "\t"},    {"Enter", "\r"},     {"Esc", "\x1B"},     {"Space", " "},
        {"Back", "\x7F"}, {"F12", "\x1B[24~"}, {"Ctrl+D", "\x04"},
    };
    const auto key = kKeys.find(word);
    return key != kKeys.end() ? key->second : word;
}

}  // namespace

int RunInTerminal(const std::string& line, const std::vector<std::string>& input,
                  std::vector<std::string>& told) {
    const winsize size{kRows, kColumns, 0, 0};
    int terminal = -1;
    const pid_t program = forkpty(&terminal, nullptr, nullptr, &size);
    if (program < 0) throw std::runtime_error("no terminal");
    if (program == 0) {
        const std::string command = "exec env TERM=vt52 " + line;
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    Screen screen;
    bool runs = Watch(terminal, program, screen);
    for (const auto& keys : input) {
        for (const auto& word : Words(keys)) {
            if (word == "look") {
                screen.Tell(told);
            } else if (runs) {
                const std::string bytes = BytesOfKey(word);
                runs = write(terminal, bytes.data(), bytes.size()) > 0 &&
                       Watch(terminal, program, screen);
            }
        }
    }
    runs = runs && Watch(terminal, program, screen);
    screen.Tell(told);
    close(terminal);
    int status = 0;
    if (runs) kill(program, SIGKILL);
    waitpid(program, &status, 0);
    if (runs) told.push_back("(waits for a key)");
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace cases
