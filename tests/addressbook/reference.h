#pragma once

#include <map>
#include <string>
#include <vector>

// The nickname format once more, as simply as it can be said: the measure for the property test.
namespace reference {

struct Record {
    std::string name, address, phone, fax, note;
    std::vector<std::string> mails;
    bool operator==(const Record&) const = default;
};

// Something in the file that no record holds, and whose it is (nobody's: empty).
struct Piece {
    std::string text, owner;
};

struct Book {
    std::map<std::string, Record> records;
    std::vector<Piece> pieces;
};

Book Parse(const std::string& file);
// The lines of the records, in the normal form.
std::string Write(const std::map<std::string, Record>& records);
// Whether every text in there can be carried by the format.
bool IsCarriable(const std::map<std::string, Record>& records);

}  // namespace reference
