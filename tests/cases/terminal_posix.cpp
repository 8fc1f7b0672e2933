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

// What a terminal shows after all that was written to it. Of the control
// sequences it knows those that move and erase; colours and the like change no
// character.
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
        if (rest[0] == '\x1B') return TakeEscape(rest);
        const char32_t character = text::TakeUtf8(rest);
        if (character == '\r') m_column = 0;
        if (character == '\b' && m_column > 0) --m_column;
        if (character == '\n') NextRow();
        if (character < 0x20 || character == text::kNoCharacter) return true;
        if (m_column == kColumns) NextRow(), m_column = 0;
        m_rows[m_row][m_column++] = character;
        return true;
    }
    bool TakeEscape(std::string_view& rest) {
        if (rest.size() < 3) return false;
        const bool hasNumbers = rest[1] == '[';
        const std::size_t end = hasNumbers ? rest.find_first_not_of("0123456789;?", 2)
                                           : (rest[1] == '(' || rest[1] == ')' ? 2 : 1);
        if (end == rest.npos) return false;
        if (hasNumbers) Obey(rest[end], std::string(rest.substr(2, end - 2)));
        rest.remove_prefix(end + 1);
        return true;
    }
    void Obey(char what, const std::string& numbers) {
        const auto semicolon = numbers.find(';');
        const std::size_t first = std::strtoul(numbers.c_str(), nullptr, 10);
        const std::size_t second =
            semicolon == numbers.npos ? 1 : std::strtoul(&numbers[semicolon + 1], nullptr, 10);
        const std::size_t count = std::max<std::size_t>(first, 1);
        auto& row = m_rows[m_row];
        if (what == 'H' || what == 'd') m_row = std::min(count, kRows) - 1;
        if (what == 'H') m_column = std::min(std::max<std::size_t>(second, 1), kColumns) - 1;
        if (what == 'G') m_column = std::min(count, kColumns) - 1;
        if (what == 'A') m_row -= std::min(count, m_row);
        if (what == 'B') m_row = std::min(m_row + count, kRows - 1);
        if (what == 'C') m_column = std::min(m_column + count, kColumns - 1);
        if (what == 'D') m_column -= std::min(count, m_column);
        if (what == 'K') std::fill(row.begin() + static_cast<long>(m_column), row.end(), U' ');
        if (what == 'J') {
            std::fill(row.begin() + static_cast<long>(m_column), row.end(), U' ');
            for (std::size_t i = first == 2 ? 0 : m_row + 1; i < kRows; ++i) m_rows[i] = kEmpty;
        }
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
        {"Back", "\x7F"}, {"F12", "\x1B[24~"},
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
        const std::string command = "exec env TERM=xterm " + line;
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
