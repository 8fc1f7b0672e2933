#include "tests/cases/world.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <regex>
#include <stdexcept>

#include "mailbox/toc_records.h"
#include "platform/os/program.h"
#include "platform/os/system.h"
#include "tests/cases/readable.h"
#include "tests/platform/temp_folder.h"
#include "tests/tools/mailbox_check.h"

namespace cases {

namespace fs = std::filesystem;

namespace {

constexpr bool kIsWindows = fs::path::preferred_separator == L'\\';
constexpr const char* kBareFolder = R"(C:\\Eudora\\)";  // as JSON tells it

std::string Joined(const std::vector<std::string>& lines, const std::string& end) {
    std::string text;
    for (const auto& line : lines) text += line + end;
    return text;
}

// Makes the folder the Eudora of this machine, as kvsync for Windows wants it. Only in a Wine
// prefix of the build: nobody's own registration is touched.
void Register(const std::string& folder) {
    if (!platform::Environment("WINEPREFIX") || !fs::is_directory(folder)) return;
    // The program only has to be there and to lie in the folder: the folder itself will do.
    const std::string path = fs::absolute(folder).make_preferred().string();
    const std::string program = path + "\\.";
    const std::array<std::array<std::string, 3>, 4> values = {{
        {"Classes\\mailto\\shell\\open\\command", "", program + " /M %1"},
        {"Microsoft\\Windows\\CurrentVersion\\App Paths\\Eudora.exe", "", program},
        {"Microsoft\\Windows\\CurrentVersion\\App Paths\\Eudora.exe", "Path", path},
        {"Microsoft\\Windows Messaging Subsystem", "MAPI", "1"},
    }};
    for (const auto& [key, value, text] : values) {
        if (!platform::NativeSystem().registry.WriteText(platform::RegistryRoot::kLocalMachine,
                                                         "SOFTWARE\\" + key, value, text)) {
            throw std::runtime_error("the registry refuses " + key);
        }
    }
}

fs::path BuildFolder() {
    return fs::path(platform::ProgramPath()).parent_path();
}

// The lines of a text, then what is odd about their ends.
void Show(const std::string& text, std::vector<std::string>& told) {
    auto lines = Lines(text);
    const auto ends = std::ranges::count(text, '\n');
    const bool isDos = ends > 0 && ends == std::ranges::count_if(lines, [](const auto& line) {
                                       return line.ends_with('\r');
                                   });
    for (auto& line : lines) {
        if (isDos && line.ends_with('\r')) line.pop_back();
        told.push_back(Readable(line));
    }
    const bool isOpen = !text.empty() && !text.ends_with('\n');
    if (isDos) told.emplace_back(isOpen ? "(CR LF, no line end)" : "(CR LF)");
    if (isOpen && !isDos) told.emplace_back("(no line end)");
}

// Appends a mail of these lines, which its separator line comes in front of, to a mailbox; none
// make an empty one. With a subject and a sender they are the text below a header.
void AddMail(const std::string& name, const std::string& state, const std::string& subject,
             const std::string& sender, const std::vector<std::string>& lines) {
    std::string mbx = test::ReadDisk(name + ".mbx"), toc = test::ReadDisk(name + ".toc");
    if (toc.empty()) toc = mailbox::NewTocHeader();
    auto header = mailbox::TocHeader::Decode(toc);
    if (lines.empty()) {
        test::WriteDisk(fs::absolute(name + ".mbx"), mbx);
        return test::WriteDisk(fs::absolute(name + ".toc"), toc);
    }
    mailbox::MsgBlock block;
    block.dwMsgId = ++header.wNumberOfMsgs;
    block.wStatus = static_cast<std::uint16_t>(state.empty() ? 0 : std::stoul(state));
    block.dwOffset = static_cast<std::uint32_t>(mbx.size());
    mbx += "From ???@??? Wed Jan 02 02:03:55 1980\r\n";
    if (!subject.empty()) {
        mbx += "Message-ID: <" + subject +
               "@x>\r\nDate: Wed, 02 Sep 2026 07:05:00 +0000\r\nFrom: " + sender +
               "\r\nTo: ann@example.org\r\nSubject: " + subject + "\r\n\r\n";
    }
    mbx += BytesOf(Joined(lines, "\r\n"));
    block.dwLength = static_cast<std::uint32_t>(mbx.size()) - block.dwOffset;
    test::WriteDisk(fs::absolute(name + ".mbx"), mbx);
    test::WriteDisk(fs::absolute(name + ".toc"),
                    header.Encode() + toc.substr(mailbox::kTocHeaderSize) + block.Encode());
}

// A mailbox by a reader that shares nothing with kvsync: "mailbox E/In"; the
// mails from number `ours` on must be as the translator writes them.
void ShowMailbox(const std::string& name, std::uint32_t ours, std::vector<std::string>& told) {
    mailbox_check::Rules rules;
    rules.ours = ours;
    const auto report =
        mailbox_check::Check(test::ReadDisk(name + ".mbx"), test::ReadDisk(name + ".toc"), rules);
    for (const auto& mail : report.mails) {
        std::string line = std::to_string(mail.id) + " state " + std::to_string(mail.state);
        if (!mail.subject.empty()) line += ": " + mail.subject + " from " + mail.from;
        told.push_back(Readable(line));
        for (const auto& path : mail.attachments) told.push_back("  with " + Readable(path));
    }
    for (const auto& fault : report.faults) told.push_back("fault: " + fault);
}

}  // namespace

World::World() : m_home(fs::current_path()) {
    static int number = 0;
    static const fs::path temp = fs::temp_directory_path();
    m_folder = temp / ("kvcase-" + std::to_string(platform::ProcessNumber()) + "-" +
                       std::to_string(++number));
    for (const char* name : {"state", "tmp"}) fs::create_directories(m_folder / name);
    m_folder = fs::canonical(m_folder);
    fs::current_path(m_folder);
    const std::pair<const char*, std::string> variables[] = {
        {"HOME", (m_folder / "home").string()},
        {"LOCALAPPDATA", (m_folder / "state").string()},
        {"XDG_STATE_HOME", (m_folder / "state").string()},
        {"XDG_CONFIG_HOME", (m_folder / "config").string()},
        {"WINEPREFIX", (m_folder / "no-prefix").string()},
        {"TMPDIR", (m_folder / "tmp").string()},
        {"TZ", "UTC"},
        {"LC_ALL", "C.UTF-8"}};
    for (const auto& [name, value] : variables) {
        if (kIsWindows && std::string(name) == "WINEPREFIX") continue;
        (void)platform::SetEnvironment(name, value);
    }
}

World::~World() {
    fs::current_path(m_home);
    std::error_code ignored;
    for (const auto& entry : fs::recursive_directory_iterator(m_folder, ignored)) {
        if (!entry.is_symlink()) {
            fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, ignored);
        }
    }
    fs::remove_all(m_folder, ignored);
}

std::vector<std::string> World::Do(const std::string& command,
                                   const std::vector<std::string>& input, int& code) {
    std::vector<std::string> told;
    try {
        const auto words = Words(Meant(command));
        if (DoWithFiles(words, input, told)) return told;
        const Files before = AllFiles();
        code = Run(words, input, told);
        TellNews(before, AllFiles(), told);
    } catch (const std::exception& fault) {
        told.push_back(std::string("(cannot be done: ") + fault.what() + ')');
    }
    return told;
}

bool World::DoWithFiles(const std::vector<std::string>& words,
                        const std::vector<std::string>& input, std::vector<std::string>& told) {
    const std::string& what = words.at(0);
    const auto word = [&](std::size_t i) { return i < words.size() ? words[i] : std::string(); };
    const auto name = [&](std::size_t i) { return Named(word(i)); };
    // The words from number `i` on, then the input.
    const auto lines = [&](std::size_t i) {
        std::vector<std::string> all(words.begin() + std::min(i, words.size()), words.end());
        all.insert(all.end(), input.begin(), input.end());
        return all;
    };
    const auto change = [&](const auto& edit) {
        const std::string file = name(1);
        std::string content = test::ReadDisk(file);
        edit(content);
        test::WriteDisk(m_folder / file, content);
    };
    if (what == "copy" || what == "move") {
        fs::create_directories((m_folder / word(2)).parent_path());
    }
    if (what == "samples") {
        fs::copy(KV_SAMPLES, word(1), fs::copy_options::recursive);
    } else if (what == "folder") {
        fs::create_directories(word(1));
    } else if (what == "write") {
        const bool isDos = word(2) == "crlf";
        const auto text = Joined(lines(isDos ? 3 : 2), isDos ? "\r\n" : "\n");
        test::WriteDisk(m_folder / word(1), BytesOf(Meant(text)));
    } else if (what == "vcard") {
        test::WriteDisk(m_folder / word(1),
                        "BEGIN:VCARD\nVERSION:4.0\n" + Joined(lines(2), "\n") + "END:VCARD\n");
    } else if (what == "replace") {
        change([&](std::string& content) {
            const auto at = content.find(word(2));
            if (at == content.npos) throw std::runtime_error("no " + word(2));
            content.replace(at, word(2).size(), word(3));
        });
    } else if (what == "patch") {
        change([&](std::string& content) {
            content.replace(std::stoul(word(2)), word(3).size(), word(3));
        });
    } else if (what == "resize") {
        fs::resize_file(name(1), std::stoull(word(2)));
    } else if (what == "remove") {
        fs::remove_all(name(1));
    } else if (what == "copy") {
        fs::copy(name(1), word(2),
                 fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    } else if (what == "move") {
        fs::rename(name(1), word(2));
    } else if (what == "link") {
        fs::create_symlink(word(1), word(2));
    } else if (what == "readonly") {
        const auto write =
            fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
        fs::permissions(name(1), write, fs::perm_options::remove);
    } else if (what == "cat") {
        Show(test::ReadDisk(name(1)), told);
        for (auto& line : told) line = Told(line);
    } else if (what == "same") {
        if (test::ReadDisk(name(1)) != test::ReadDisk(name(2))) told.emplace_back("(differs)");
    } else if (what == "damage") {
        m_variables = "KV_GOOD=300 KV_BAD_FILE='" + (m_folder / word(1)).string() +
                      "' LD_PRELOAD=" + (BuildFolder() / "libbad_disk.so").string() +
                      " ASAN_OPTIONS=verify_asan_link_order=0 ";
    } else if (what == "shared") {
        const auto tell = [&](const fs::path& path) {
            const auto status = fs::symlink_status(path);
            const auto others = status.permissions() & ~fs::perms::owner_all;
            if (fs::is_symlink(status) || others == fs::perms::none) return;
            told.push_back(WithMarks(path.generic_string()));
        };
        tell(word(1));
        for (const auto& entry : fs::recursive_directory_iterator(word(1))) tell(entry);
    } else if (what == "mail") {
        AddMail(word(1), word(2), word(3), word(4), lines(5));
    } else if (what == "pipe") {
        if (std::system(("mkfifo " + word(1)).c_str()) != 0) throw std::runtime_error("no pipe");
    } else if (what == "mailbox") {
        ShowMailbox(word(1), word(2).empty() ? ~0U : std::stoul(word(2)), told);
    } else {
        return false;
    }
    return true;
}

int World::Run(const std::vector<std::string>& words, const std::vector<std::string>& input,
               std::vector<std::string>& told) {
    const bool isShell = std::ranges::find(words, "shell") != words.end() && !input.empty();
    std::string script;
    for (const auto& line : input) {
        script += BytesOf(Meant(line.substr(0, isShell ? line.find(" => ") : line.npos))) + '\n';
    }
    test::WriteDisk(m_folder / "state/input", script);
    // A shell keeps all in single quotes, cmd.exe knows double ones only.
    const auto quoted = [](std::string word) {
        if (kIsWindows) return '"' + word + "\" ";
        Replace(word, "'", R"('\'')");
        return '\'' + word + "' ";
    };
    auto word = words.begin();
    const bool hasTerminal = *word == "terminal";
    if (hasTerminal) ++word;
    std::string line = m_variables;
    for (; word->find('=') != word->npos; ++word) {
        line += word->substr(0, word->find('=') + 1) + quoted(word->substr(word->find('=') + 1));
    }
    const fs::path program = BuildFolder() / *word;
    const std::array systems = {"python3", "bash", "timeout"};
    const bool isOurs = std::ranges::find(systems, *word) == systems.end();
    line += quoted(isOurs ? program.string() : *word);
    ++word;
    const auto folder = std::ranges::find(words, "--eudora");
    if (kIsWindows && words.end() - folder > 1) Register(*std::next(folder));
    std::string output = "state/out";
    const auto bar = std::find(word, words.end(), "|");
    for (; word != bar; ++word) {
        if (word->starts_with('>')) {
            output = word->substr(1);
        } else {
            line += quoted(*word);
        }
    }
    int code = 0;
    if (hasTerminal) {
        code = RunInTerminal(line, input, told);
        for (auto& row : told) row = Readable(Told(row));
    } else {
        line += "< state/input > " + output + " 2> state/err";
        code = std::system((kIsWindows ? '"' + line + '"' : "umask 022; " + line).c_str());
        if (code >= 256) code >>= 8;
        TellOutput(isShell ? input : std::vector<std::string>(), told);
    }
    if (words.end() - bar == 3) {
        std::erase_if(told, [&](const auto& one) { return one.starts_with(words.back()); });
    }
    return code;
}

void World::TellOutput(const std::vector<std::string>& operations, std::vector<std::string>& told) {
    auto answers = Lines(test::ReadDisk("state/out"));
    for (std::size_t i = 0; i < answers.size(); ++i) {
        std::string answer = Readable(Told(answers[i], !operations.empty()));
        if (i < operations.size()) {
            answer = "> " + operations[i].substr(0, operations[i].find(" => ")) + " => " +
                     ShortAnswer(answer);
        }
        told.push_back(answer);
    }
    for (auto& error : Lines(test::ReadDisk("state/err"))) {
        if (kIsWindows && error.ends_with('\r')) error.pop_back();
        told.push_back("! " + Readable(Told(error)));
    }
    for (const char* name : {"state/out", "state/err"}) fs::remove(name);
}

std::string World::Named(const std::string& name) const {
    const auto open = name.find("/[");
    if (open == name.npos || !name.ends_with(']')) return name;
    std::string found;
    for (const auto& entry : fs::directory_iterator(name.substr(0, open))) {
        const std::string part = name.substr(open + 2, name.size() - open - 3);
        if (test::ReadDisk(entry.path()).find(part) == std::string::npos) continue;
        if (!found.empty()) throw std::runtime_error(name + " is more than one file");
        found = entry.path().generic_string();
    }
    if (found.empty()) throw std::runtime_error(name + " is no file");
    return found;
}

std::string World::Told(std::string line, bool isShell) {
    static const std::regex kBackup("^[0-9]{8}-[0-9]{6}(-[0-9]+)?");
    if (std::smatch id; std::regex_search(line, id, kBackup)) m_backup = id[0];
    const std::string folder = m_folder.string();
    if (kIsWindows) {
        std::string escaped = folder;
        Replace(escaped, "\\", "\\\\");
        if (isShell) Replace(line, escaped + R"(\\E\\)", kBareFolder);
        if (line.find(escaped) != line.npos) Replace(line, "\\\\", "/");
        if (line.find(folder) != line.npos) std::ranges::replace(line, '\\', '/');
    }
    Replace(line, m_folder.generic_string(), "<here>");
    Replace(line, BuildFolder().generic_string(), "<build>");
    Replace(line, KV_TESTS, "<tests>");
    return WithMarks(line);
}

std::string World::Meant(std::string line) const {
    Replace(line, "<time>", m_backup);
    Replace(line, "<here>", m_folder.generic_string());
    Replace(line, "<build>", BuildFolder().generic_string());
    Replace(line, "<tests>", KV_TESTS);
    if (kIsWindows) {
        std::string folder = (m_folder / "E").string() + '\\';
        Replace(folder, "\\", "\\\\");
        Replace(line, kBareFolder, folder);
    }
    return line;
}

World::Files World::AllFiles() {
    Files files;
    for (auto entry = fs::recursive_directory_iterator("."); entry != fs::end(entry); ++entry) {
        const std::string name = entry->path().lexically_relative(".").generic_string();
        if (name == "state" || name == "config") {
            entry.disable_recursion_pending();
            continue;
        }
        if (entry->is_symlink()) {
            files[name + " -> " + fs::read_symlink(entry->path()).generic_string()];
        } else if (entry->is_directory()) {
            files[name + "/"];
        } else if (entry->is_regular_file()) {
            const bool isHuge = entry->file_size() > 1u << 24;
            files[name] = {
                isHuge ? std::to_string(entry->file_size()) : test::ReadDisk(entry->path()),
                entry->last_write_time()};
        }
    }
    return files;
}

void World::TellNews(const Files& before, const Files& after, std::vector<std::string>& told) {
    std::map<std::string, int> news;
    const auto tell = [&](const char* sign, const std::string& name) {
        ++news[sign + Readable(WithMarks(name))];
    };
    for (const auto& [name, entry] : before) {
        const auto now = after.find(name);
        if (now == after.end())
            tell("- ", name);
        else if (now->second.content != entry.content)
            tell("~ ", name);
        else if (now->second.time != entry.time)
            tell("= ", name);
    }
    // A folder in a new one is not worth a line of its own.
    const auto isIn = [&](const std::string& name) {
        const auto end = name.rfind('/', name.size() - 2);
        const std::string folder = name.substr(0, end + 1);
        return name.ends_with('/') && end != name.npos && after.contains(folder) &&
               !before.contains(folder);
    };
    for (const auto& [name, entry] : after) {
        if (!before.contains(name) && !isIn(name)) tell("+ ", name);
    }
    std::string last;
    for (const auto& [line, count] : news) {
        const std::string name =
            line.substr(2) + (count == 1 ? "" : " (" + std::to_string(count) + ")");
        if (last.starts_with(line.substr(0, 2))) {
            told.back() += ", " + name;
        } else {
            told.push_back(line.substr(0, 2) + name);
        }
        last = line;
    }
}

}  // namespace cases
