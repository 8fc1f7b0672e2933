#include <array>
#include <map>
#include <random>

#include "tests/addressbook/book_fixture.h"

namespace {

using namespace std::string_literals;
using std::string;

const Texts kTags = {"fax:", "address:", "phone:", "name:"};
const Texts kNames = {"bob",   "bo", "bobby", "Ann Lee", "ann",     "note",
                      "notes", "x",  "a,b",   " lead",   "tab\tin", "name:q"};
const Texts kLongNames = {"common-prefix-1", "common-prefix-2", "\x83\x5c \x8e\x7c",
                          string(39, 'n')};
const Texts kGroups = {"group one", "Groupies", "GROUP", "group"};
const Texts kUnheld = {string(40, 'n'), string(60, 'm'), "a\0b"s};

struct Record {
    Texts mails;
    std::array<string, 5> parts;  // those of kTags and the note
};
using Records = std::map<string, Record>;

string Quoted(const string& name) {
    return '"' + name + '"';
}

string NormalForm(const Records& records) {
    string out;
    for (const auto& [nickname, record] : records) {
        const auto name = nickname.find(' ') == string::npos ? nickname : Quoted(nickname);
        string mails, note;
        for (const auto& mail : record.mails) mails += (mails.empty() ? "" : ",") + mail;
        for (std::size_t i = 0; i < kTags.size(); ++i) {
            if (!record.parts[i].empty()) note += "<" + kTags[i] + record.parts[i] + ">";
        }
        note += record.parts[4];
        out += "alias " + name + " " + mails + "\r\n";
        if (!note.empty()) out += "note " + name + " " + note + "\r\n";
    }
    return out;
}

// What no record holds, and whose it is (nobody's: empty).
struct Piece {
    string text, owner;
    bool isDead = false;  // went with its owner
};

// Writes a nickname file as bad as can be and knows what a book has to make of it. Every value has
// a number of its own: it stands in the record or is carried along.
class World {
  public:
    explicit World(unsigned seed) : m_random(seed) {
        for (auto i = Below(Chance(5) ? 60 : 12); i > 0; --i) {
            if (Chance(85)) {
                WriteEntry();
                continue;
            }
            file += Chance(50) ? Pick({"", " ", "alias", "alias \"", "\r", "note", "note "})
                               : pieces.emplace_back(Piece{Token(), ""}).text;
            file += LineEnd();
            m_takesNote = false;
        }
        if (Chance(30) && file.ends_with('\n')) file.pop_back();
    }

    // Does the same to the book and to what should come of it. A walk goes on behind a record that
    // was changed, and behind the one that follows a removed one.
    void Change(CEudoraAB& book) {
        const auto value = Token(), name = Chance(50) ? Pick(kNames).substr(0, 27) : value + " b";
        auto at = std::next(records.begin(), static_cast<long>(Below(records.size() + 1)));
        const bool isAdded = at == records.end();
        auto next = isAdded ? at : std::next(at);
        if (isAdded) {
            Add(book, value.c_str(), value.c_str());
            at = records.emplace(value, Record{{value}, {}}).first;
        } else {
            ASSERT_EQ(book.FindRecord(at->first), RRC_OK) << at->first;
            if (Chance(50)) Edit(book, at->second, value);
        }
        if (Chance(20)) {
            EXPECT_EQ(book.RemoveRecord(), RRC_OK);
            for (auto& piece : pieces) piece.isDead = piece.isDead || piece.owner == at->first;
            next = records.erase(at);
            if (next != records.end()) ++next;
        } else if (!isAdded) {
            if (!records.contains(name) && Chance(25)) {
                book.SetRecordField(ContactField::kNickname, name);
                for (auto& piece : pieces) {
                    if (piece.owner == at->first && !piece.isDead) piece.owner = name;
                }
                auto node = records.extract(at);
                node.key() = name;
                records.insert(std::move(node));
                next = records.end();
            }
            EXPECT_EQ(book.StoreRecord(), RRC_OK);
        }
        ASSERT_EQ(book.NextRecord(), next == records.end() ? RRC_EOF : RRC_OK);
        EXPECT_TRUE(next == records.end() || book.CurrentKey().Str() == next->first);
    }

    std::size_t Below(std::size_t limit) { return m_random() % limit; }

    string file;
    Records records;
    std::vector<Piece> pieces;

  private:
    static void Edit(CEudoraAB& book, Record& record, const string& value) {
        book.SetRecordField(ContactField::kAddress, value + "\r\n" + value);
        book.SetRecordField(ContactField::kEmail, value);
        book.SetRecordField(ContactField::kNote, "<" + value);
        record.parts[1] = value + "\x03" + value;
        record.mails.resize(std::max<std::size_t>(record.mails.size(), 1));
        record.mails[0] = value;
        record.parts[4] = " " + value;
    }
    bool Chance(unsigned percent) { return Below(100) < percent; }
    string Pick(const Texts& texts) { return texts[Below(texts.size())]; }
    string LineEnd() { return Pick({"\r\n", "\r\n", "\r\n", "\n", "\r\r\n"}); }
    static string TokenOf(int number) { return "t" + std::to_string(1000 + number) + "."; }
    string Token() { return TokenOf(m_next++); }

    void WriteEntry() {
        const bool isGroup = Chance(10), isHeld = !isGroup && Chance(90);
        const auto name = Pick(isGroup      ? kGroups
                               : !isHeld    ? kUnheld
                               : Chance(30) ? kLongNames
                                            : kNames);
        const bool isQuoted = name.find(' ') != string::npos || Chance(15);
        Record record;
        int number = m_next;
        // A first word of five bytes brings a quote to where it counts.
        if (isQuoted) {
            file += Pick({"alias ", "Alias "}) + Quoted(name) + (Chance(90) ? " " : "");
        } else {
            const Texts words = {"alias", "alias", "contact", "note", "notebook"};
            file += words[Below(m_takesNote ? 3 : 5)] + " " + name + " ";
        }
        for (auto i = Below(4); i > 0; --i) {
            if (!record.mails.empty()) file += Pick({",", ",", " , ", ",,\t"});
            if (Chance(20)) {
                file += "\"Lee,";
                record.mails.emplace_back("\"Lee");
            }
            record.mails.push_back(Pick({"", "", "Ann\" <"}) + Token());
            file += record.mails.back();
        }
        if (Chance(20)) file += " ,";
        if (!record.mails.empty() && Chance(5)) file += "\r" + Token();
        file += LineEnd();
        m_takesNote = isQuoted || !isGroup;
        if (m_takesNote && Chance(60)) WriteNote(name, record);
        const bool isNew = isHeld && !records.contains(name);
        const auto held = isNew ? NormalForm({{name, record}}) : "";
        for (; number < m_next; ++number) {
            const auto token = TokenOf(number);
            if (held.find(token) == string::npos) pieces.push_back({token, isHeld ? name : ""});
        }
        if (isNew) records[name] = record;
    }

    void WriteNote(const string& name, Record& record) {
        const bool isOther = Chance(15);
        file += Chance(90) ? "note " : "note" + Token() + " ";
        file += isOther ? Token() : Chance(50) ? Quoted(name) : name;
        m_takesNote = false;
        if (Chance(20)) {
            const auto text = Chance(80) ? "met " + Token() : "";
            if (!isOther) record.parts[4] = text;
            file += " " + text + LineEnd();
            return;
        }
        if (Chance(10)) file += " " + Token();
        if (Chance(90)) file += " ";
        for (auto i = Below(6) + 1; i > 0; --i) {
            const auto part = Below(5);
            auto& value = record.parts[part] = (part < 4 ? "" : Pick({"title:", ""})) + Token();
            if (Chance(10)) file += "<phone:>";
            file += Pick({"<", "<", ">", "\r"}) + (part < 4 ? kTags[part] : "") + value;
            file += Pick({">", ">", ""});
        }
        file += LineEnd();
    }

    std::mt19937 m_random;
    int m_next = 0;
    bool m_takesNote = false;  // the line above would take a note line
};

using PropertyTest = BookTest;

TEST_F(PropertyTest, NothingVanishesAndSavingIsStable) {
    for (unsigned seed = 1; seed <= 4000 && !HasFailure(); ++seed) {
        World world(seed);
        SCOPED_TRACE(::testing::Message() << seed << "\n" << ::testing::PrintToString(world.file));
        CEudoraAB book;
        Load(book, world.file);
        for (auto i = world.Below(6); i > 0; --i) world.Change(book);
        ASSERT_EQ(book.SaveRecords(), RRC_OK);
        const auto saved = Saved(), records = NormalForm(world.records);
        EXPECT_EQ((saved + "\r\n").substr(0, records.size()), records);
        for (const auto& piece : world.pieces) {
            EXPECT_EQ(saved.find(piece.text) == string::npos, piece.isDead) << piece.text;
        }
        EXPECT_EQ(Resaved(saved), saved);
    }
}

}  // namespace
