#include "tests/addressbook/reference.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace reference {

namespace {

using std::string;
using Tokens = std::vector<string>;

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
    for (const auto& end : {tail + " ", tail + "\" "}) {
        if (token.starts_with(end)) return token.substr(end.size());
    }
    return token;
}

void ParseNote(const string& line, const string& nick, Record& record, std::vector<Piece>& pieces) {
    Scan scan{line};
    scan.Next(" ");
    const auto head = scan.Next("<>\r\n");
    Tokens tokens;
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
    Tokens used;
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

}  // namespace

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
                    book.pieces.push_back({Trim(t), nick});
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
