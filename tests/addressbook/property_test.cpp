#include <map>
#include <random>
#include <string>

#include "tests/addressbook/book_fixture.h"
#include "tests/addressbook/reference.h"

namespace {

using std::string;

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
        static const string kPlain[] = {"bob",
                                        "bo",
                                        "bobby",
                                        "Bob",
                                        "Ann Lee",
                                        "ann",
                                        "Ann",
                                        "note",
                                        "notes",
                                        "x",
                                        "\x83\x5c\x95\x5c",
                                        "\x83\x5c \x8e\x7c",
                                        "alias",
                                        "a,b",
                                        " lead",
                                        "tab\tin",
                                        "name:q",
                                        "long-common-prefix-1",
                                        "long-common-prefix-2",
                                        string(39, 'n')};
        static const string kWild[] = {"group one",     "Groupies", "GROUP", string(40, 'n'),
                                       string(60, 'm'), "a\0b"s,    "q\"q",  "\"q",
                                       "a<b",           "<",        "c>",    "cr\rin",
                                       "group"};
        return wild ? Pick(kWild) : Pick(kPlain);
    }

    string Entry() {
        static const string kFirst[] = {"alias", "alias", "alias",    "alias", "alias",
                                        "note",  "Alias", "notebook", "xy"};
        const auto nick = Nickname(Chance(m_wildness));
        string text = Pick(kFirst) + " " + Quoted(nick);
        if (Chance(95)) text += " ";
        for (int i = Below(4); i > 0; --i) {
            text += Pick(Addresses()) + Token();
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
        static const string kOpen[] = {"<fax:",   "<address:", "<phone:", "<name:",
                                       "<title:", "<Name:",    "<",       ">",
                                       "",        " ",         "\x03",    "name:"};
        for (int i = Below(6); i > 0; --i) {
            const auto open = Pick(kOpen);
            text += open + (Chance(85) ? Token() : "") + (Chance(80) && open[0] == '<' ? ">" : "");
            if (Chance(5)) text += Chance(50) ? " " : "\r";
        }
        return text + LineEnd();
    }

    string File() {
        m_wildness = Chance(50) ? 0 : 25;
        static const string kJunk[] = {"",         " ",    "alias", "alias ",
                                       "alias \"", "note", "\r",    "note "};
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
    static const std::vector<string>& Addresses() {
        static const std::vector<string> list = {
            "", "", " ", "Ann Lee <", "\"Lee, Ann\" <", ",,", "\t", "\x83\x7c"};
        return list;
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
            book.SetRecordField(ContactField::kName, value);
            record.name = value;
        } else if (field == 1) {
            book.SetRecordField(ContactField::kAddress, value + "\r\n" + value);
            record.address = value + "\x03" + value;
        } else if (field == 2) {
            book.SetRecordField(ContactField::kEmail, value);
            record.mails.resize(std::max<std::size_t>(record.mails.size(), 1));
            record.mails[0] = value;
        } else if (field == 3) {
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
        book.SetRecordField(ContactField::kNickname, name);
        // One that another record has leaves everything under the old key.
        if (m_model.records.count(name) != 0) return;
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
