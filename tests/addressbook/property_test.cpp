#include <algorithm>
#include <cctype>
#include <map>
#include <optional>
#include <random>
#include <string>

#include "tests/addressbook/book_fixture.h"

namespace {

using std::string;

// The nickname format once more, as simply as it can be said: the measure for the property test.
namespace reference {

struct Record {
    string name, address, phone, fax, note;
    std::vector<string> mails;
    bool operator==(const Record&) const = default;
};

// Something in the file that no record holds, and whose it is (nobody's: empty).
struct Piece {
    string text, owner;
};

struct Book {
    std::map<string, Record> records;
    std::vector<Piece> pieces;
};

const char* const kTags[] = {"fax:", "address:", "phone:", "name:"};
string Record::*const kFields[] = {&Record::fax, &Record::address, &Record::phone, &Record::name};

struct Scan {
    string line;
    std::size_t at = 0;

    string Next(const string& set) {
        at = std::min(line.find_first_not_of(set, at), line.size());
        const auto end = std::min(line.find_first_of(set, at), line.size());
        const auto token = line.substr(at, end - at);
        at = std::min(end + 1, line.size());
        return token;
    }
};

string Trim(const string& text) {
    const auto begin = text.find_first_not_of(" \t\r\n\v\f");
    if (begin == string::npos) return "";
    return text.substr(begin, text.find_last_not_of(" \t\r\n\v\f") - begin + 1);
}

bool IsGroup(string name) {
    name.resize(std::min<std::size_t>(name.size(), 5));
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return name == "group";
}

bool IsNote(const string& line) {
    return line.substr(0, 4) == "note";
}

// A token without the end of a nickname that has a delimiter in it.
string Besides(const string& token, const string& nick) {
    const auto last = nick.find_last_of("<>\r");
    if (last == string::npos) return token;
    const auto tail = nick.substr(last + 1);
    for (const auto& end : {tail, tail + '"'}) {
        if (token == end) return "";
        if (token.starts_with(end + ' ')) return token.substr(end.size() + 1);
    }
    return token;
}

void ParseNote(const string& line, const string& nick, Record& record, std::vector<Piece>& pieces) {
    Scan scan{line};
    scan.Next(" ");
    const auto head = scan.Next("<>\r\n");
    std::vector<string> tokens;
    for (auto token = scan.Next("<>\r\n"); !token.empty(); token = scan.Next("<>\r\n")) {
        tokens.push_back(token);
    }
    if (tokens.empty()) {
        if (head.compare(0, nick.size(), nick) == 0) {
            if (head.size() > nick.size() + 1) record.note = head.substr(nick.size() + 1);
        } else if (!head.empty() && head.compare(1, nick.size(), nick) == 0) {
            if (head.size() > nick.size() + 3) record.note = head.substr(nick.size() + 3);
        } else {
            for (Scan words{head}; !words.line.empty();) {
                const auto word = words.Next(" ");
                if (word.empty()) break;
                // The words of the nickname itself, with or without its quotes, are no content.
                if (("\"" + nick + "\"").find(word) == string::npos) pieces.push_back({word, nick});
            }
        }
        return;
    }
    for (const auto& token : tokens) {
        int kind = 0;
        while (kind < 4 && token.compare(0, string(kTags[kind]).size(), kTags[kind]) != 0) ++kind;
        if (kind == 4) {
            if (!Trim(record.note).empty()) pieces.push_back({Besides(record.note, nick), nick});
            record.note = token;
        } else if (const auto value = token.substr(string(kTags[kind]).size()); !value.empty()) {
            auto& field = record.*kFields[kind];
            if (!field.empty()) pieces.push_back({kTags[kind] + field, nick});
            field = value;
        }
    }
}

Book Parse(const string& file) {
    std::vector<string> lines;
    for (std::size_t at = 0; at < file.size();) {
        const auto end = std::min(file.find('\n', at), file.size());
        lines.push_back(file.substr(at, end - at));
        at = end + 1;
    }
    Book book;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const auto& line = lines[i];
        const bool quoted = line.size() > 6 && line[6] == '"';
        Scan scan{line};
        scan.Next(" \"");
        const auto nick = scan.Next(quoted ? "\"" : " ");
        if (Trim(nick).empty() && nick.find_first_not_of('\r') == string::npos) {
            if (!Trim(line).empty()) book.pieces.push_back({Trim(line), ""});
            continue;
        }
        std::optional<string> note;
        if (i + 1 < lines.size() && IsNote(lines[i + 1]) && (quoted || !IsGroup(nick))) {
            note = lines[++i];
        }
        const bool held = !IsGroup(nick) && nick.size() <= 39 && nick.find('\0') == string::npos;
        if (!held) {
            book.pieces.push_back({Trim(line), ""});
            if (note) book.pieces.push_back({Trim(*note), ""});
            continue;
        }
        const auto rest = line.substr(scan.at);
        if (book.records.count(nick) != 0) {
            book.pieces.push_back({Trim(rest), nick});
            if (note) {
                Scan tokens{*note};
                tokens.Next("<>\r\n");
                for (auto t = tokens.Next("<>\r\n"); !t.empty(); t = tokens.Next("<>\r\n")) {
                    book.pieces.push_back({Trim(Besides(t, nick)), nick});
                }
            }
            continue;
        }
        Record record;
        Scan list{scan.Next("\r\n")};
        if (!Trim(scan.line.substr(scan.at)).empty()) {
            book.pieces.push_back({Trim(scan.line.substr(scan.at)), nick});
        }
        for (auto piece = list.Next(","); !piece.empty(); piece = list.Next(",")) {
            if (!Trim(piece).empty()) record.mails.push_back(Trim(piece));
        }
        if (note) ParseNote(*note, nick, record, book.pieces);
        book.records.emplace(nick, record);
    }
    return book;
}

string Write(const std::map<string, Record>& records) {
    string out;
    for (const auto& [nick, record] : records) {
        const auto name = nick.find(' ') == string::npos ? nick : "\"" + nick + "\"";
        if (!out.empty()) out += "\r\n";
        out += "alias " + name + " ";
        for (std::size_t i = 0; i < record.mails.size(); ++i) {
            out += (i > 0 ? "," : "") + record.mails[i];
        }
        string note;
        for (int kind = 0; kind < 4; ++kind) {
            const auto& value = record.*kFields[kind];
            if (!value.empty()) note += "<" + string(kTags[kind]) + value + ">";
        }
        const bool hasTags = !note.empty();
        note += record.note;
        if (note.empty()) continue;
        auto line = name + " " + note;
        if (const auto cut = nick.find_first_of("<>\r"); cut != string::npos) {
            Record read;
            std::vector<Piece> ignored;
            ParseNote("note " + line, nick, read, ignored);
            read.mails = record.mails;
            if (read != record) line = nick.substr(0, cut) + (hasTags ? " " : " >") + note;
        }
        out += "\r\nnote " + line;
    }
    return out;
}

bool IsCarriable(const std::map<string, Record>& records) {
    return std::all_of(records.begin(), records.end(), [](const auto& entry) {
        const auto& record = entry.second;
        for (const auto* tag : kTags) {
            if (record.note.compare(0, string(tag).size(), tag) == 0) return false;
        }
        return entry.first.find('"') == string::npos;
    });
}

}  // namespace reference

// Writes nickname files as bad as can be. Every piece of content has a number of its own, so that
// it can be found again.
class Generator {
  public:
    explicit Generator(unsigned seed) : m_random(seed) {}

    int Below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }
    bool Chance(int percent) { return Below(100) < percent; }
    string Token() { return "t" + std::to_string(1000 + m_next++) + "."; }
    template <class List>
    string Pick(const List& list) {
        return list[static_cast<std::size_t>(Below(static_cast<int>(std::size(list))))];
    }

    string Nickname(bool wild) {
        using namespace std::string_literals;
        // clang-format off
        static const string kPlain[] = {
            "bob", "bo", "bobby", "Bob", "Ann Lee", "ann", "note", "notes", "x", "\x83\x5c \x8e\x7c",
            "alias", "a,b", " lead", "tab\tin", "name:q", "long-common-prefix-1",
            "long-common-prefix-2", string(39, 'n')};
        static const string kWild[] = {
            "group one", "Groupies", "GROUP", string(40, 'n'), string(60, 'm'), "a\0b"s, "q\"q",
            "\"q", "a<b", "<", "c>", "cr\rin", "group"};
        // clang-format on
        return wild ? Pick(kWild) : Pick(kPlain);
    }

    string Entry() {
        static const string kFirst[] = {"alias", "alias", "alias", "note", "notebook", "xy"};
        static const string kMails[] = {"", "", " ", "Ann Lee <", "\"Lee, Ann\" <", ",,", "\t"};
        const auto nick = Nickname(Chance(m_wildness));
        string text = Pick(kFirst) + " " + Quoted(nick);
        if (Chance(95)) text += " ";
        for (int i = Below(4); i > 0; --i) {
            text += Pick(kMails) + Token();
            if (Chance(80)) text += ",";
            if (Chance(5)) text += "\r";
        }
        text += LineEnd();
        if (Chance(60)) text += Note(Chance(80) ? nick : Nickname(false));
        if (Chance(10)) text += Note(nick);
        return text;
    }

    string Note(const string& nick) {
        static const string kWords[] = {"note ", "note ", "note ", "note  ", "notes ", "note"};
        string text = Pick(kWords) + Quoted(nick) + (Chance(90) ? " " : "");
        static const string kOpen[] = {
            "<fax:", "<address:", "<phone:", "<name:", "<title:", "<", ">", "", " ", "name:"};
        for (int i = Below(6); i > 0; --i) {
            const auto open = Pick(kOpen);
            text += open + (Chance(85) ? Token() : "") + (Chance(80) && open[0] == '<' ? ">" : "");
            if (Chance(5)) text += Chance(50) ? " " : "\r";
        }
        return text + LineEnd();
    }

    string File() {
        m_wildness = Chance(50) ? 0 : 25;
        static const string kJunk[] = {"", " ", "alias", "alias \"", "note", "\r", "note "};
        string text;
        for (int i = Below(12); i > 0; --i) {
            text += Chance(85)   ? Entry()
                    : Chance(50) ? Pick(kJunk) + LineEnd()
                                 : Token() + LineEnd();
        }
        if (Chance(30) && text.ends_with('\n')) text.pop_back();
        return text;
    }

  private:
    string Quoted(const string& nick) {
        const bool quoted = nick.find(' ') != string::npos ? Chance(95) : Chance(15);
        return quoted ? "\"" + nick + (Chance(97) ? "\"" : "") : nick;
    }
    string LineEnd() {
        const int kind = Below(20);
        return kind < 13 ? "\r\n" : kind < 19 ? "\n" : "\r\r\n";
    }
    std::mt19937 m_random;
    int m_next = 0;
    int m_wildness = 0;
};

class PropertyTest : public BookTest {
  protected:
    // Does the same to the book and to what should come of it.
    void Change(Generator& generator, CEudoraAB& book) {
        auto& records = m_model.records;
        if (records.empty() || generator.Chance(25)) return AddOne(generator, book);
        auto at = records.begin();
        std::advance(at, generator.Below(static_cast<int>(records.size())));
        const auto key = at->first;
        ASSERT_EQ(book.FindRecord(key), RRC_OK) << key;
        if (generator.Chance(20)) {
            ASSERT_EQ(book.RemoveRecord(), RRC_OK);
            records.erase(at);
            for (auto& piece : m_model.pieces) {
                if (piece.owner == key) Bury(piece.text);
            }
            std::erase_if(m_model.pieces, [&](const auto& piece) { return piece.owner == key; });
            return;
        }
        auto& record = at->second;
        const auto value = generator.Token();
        const int field = generator.Below(6);
        if (field == 0) {
            book.SetRecordField(ContactField::kAddress, value + "\r\n" + value);
            record.address = value + "\x03" + value;
        } else if (field == 1) {
            book.SetRecordField(ContactField::kEmail, value);
            record.mails.resize(std::max<std::size_t>(record.mails.size(), 1));
            record.mails[0] = value;
        } else if (field < 4) {
            book.SetRecordField(ContactField::kNote, "<" + value);
            record.note = " " + value;
        } else {
            Rename(generator, book, at);
        }
        ASSERT_EQ(book.StoreRecord(), RRC_OK);
    }

    // Keeps the numbered tokens of a text.
    void Bury(const string& text) {
        for (auto at = text.find('t'); at != string::npos; at = text.find('t', at + 1)) {
            if (text.find('.', at) == at + 5) m_dead.push_back(text.substr(at, 6));
        }
    }

    void Rename(Generator& generator, CEudoraAB& book,
                std::map<string, reference::Record>::iterator at) {
        const auto name = generator.Chance(30) ? generator.Nickname(false).substr(0, 27)
                                               : generator.Token() + generator.Pick(kTails);
        if (m_model.records.count(name) != 0) return;
        book.SetRecordField(ContactField::kNickname, name);
        for (auto& piece : m_model.pieces) {
            if (piece.owner == at->first) piece.owner = name;
        }
        auto node = m_model.records.extract(at);
        node.key() = name;
        m_model.records.insert(std::move(node));
    }

    void AddOne(Generator& generator, CEudoraAB& book) {
        const auto name = generator.Token() + generator.Pick(kTails);
        const auto mail = generator.Token();
        ASSERT_EQ(book.NewRecord(), RRC_OK);
        book.SetRecordField(ContactField::kNickname, name);
        book.SetRecordField(ContactField::kEmail, mail);
        ASSERT_EQ(book.StoreRecord(), RRC_OK);
        m_model.records[name].mails = {mail};
    }

    inline static const string kTails[] = {"", " b", "\x83\x5c"};
    reference::Book m_model;
    std::vector<string> m_dead;  // what went with its record
};

string Visible(const string& text) {
    string out;
    for (const char c : text) {
        out += c == '\r' ? "\\r" : c == '\n' ? "\\n\n" : c == '\0' ? "\\0" : string(1, c);
    }
    return out;
}

TEST_F(PropertyTest, NothingVanishesAndSavingIsStable) {
    int carriable = 0;
    for (unsigned seed = 1; seed <= 4000; ++seed) {
        Generator generator(seed);
        const auto file = generator.File();
        SCOPED_TRACE("seed " + std::to_string(seed) + "\n" + Visible(file));
        m_model = reference::Parse(file);
        m_dead.clear();
        CEudoraAB book;
        Load(book, file);
        for (int i = generator.Below(6); i > 0; --i) Change(generator, book);
        ASSERT_EQ(book.SaveRecords(), RRC_OK);
        const auto saved = Saved();
        SCOPED_TRACE("saved\n" + Visible(saved));
        for (const auto& piece : m_model.pieces) {
            ASSERT_NE(saved.find(piece.text), string::npos) << "lost " << Visible(piece.text);
        }
        for (const auto& text : m_dead) {
            ASSERT_EQ(saved.find(text), string::npos) << "came back " << Visible(text);
        }
        if (reference::IsCarriable(m_model.records)) {
            ++carriable;
            const auto records = reference::Write(m_model.records);
            ASSERT_EQ(saved.substr(0, records.size()), records);
            ASSERT_TRUE(saved.size() == records.size() || records.empty() ||
                        saved.compare(records.size(), 2, "\r\n") == 0);
            ASSERT_EQ(reference::Parse(saved).records, m_model.records);
            ASSERT_EQ(Visible(Resaved(saved)), Visible(saved));
        }
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(carriable, 1500);
}

}  // namespace
