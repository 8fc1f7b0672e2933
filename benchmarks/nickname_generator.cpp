#include "benchmarks/nickname_generator.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <numeric>
#include <random>
#include <vector>

namespace benchmarks {

namespace {

constexpr const char* kFirst[] = {"Ann",  "Bob",  "Carla", "David", "Eve",   "Frank",  "Grace",
                                  "Hugo", "Ines", "Jack",  "Keiko", "Laura", "Miguel", "Nina"};
constexpr const char* kLast[] = {"Lee",    "Smith", "Garcia", "Rossi", "Dubois", "Schmidt",
                                 "Tanaka", "Novak", "Silva",  "Jones", "Miller", "Costa"};
constexpr const char* kHosts[] = {"example.com", "mail.example.org", "example.net"};
constexpr const char* kStreets[] = {"12 Harbour Road", "4 Rue des Lilas", "Hauptstrasse 77"};

struct Contact {
    std::uint32_t number;
    std::uint32_t dice;
    std::string nickname;
};

Contact MakeContact(std::uint32_t number, std::uint32_t dice) {
    const char* first = kFirst[dice % std::size(kFirst)];
    const char* last = kLast[dice / 16 % std::size(kLast)];
    char text[40];
    const char* form = dice / 256 % 5 < 2 ? "%s %s %07u" : "%s.%s%07u";
    std::snprintf(text, sizeof(text), form, first, last, number);
    return {number, dice, text};
}

void Append(std::string& out, const Contact& contact, bool sorted) {
    const auto dice = contact.dice / 2048;
    const bool quoted = contact.nickname.find(' ') != std::string::npos;
    const auto name = quoted ? '"' + contact.nickname + '"' : contact.nickname;
    const auto number = std::to_string(contact.number);
    const char* first = kFirst[contact.dice % std::size(kFirst)];
    const char* host = kHosts[dice % std::size(kHosts)];
    out += "alias " + name + " " + first + number + "@" + host;
    if (dice % 7 == 0) out += std::string(",") + first + "@home." + host;
    out += "\r\n";
    if (dice % 10 == 9) return;
    const auto tag = [](const char* kind, const std::string& value) {
        return std::string("<") + kind + ":" + value + ">";
    };
    const auto fax = dice % 5 == 0 ? tag("fax", "+49 30 " + number) : "";
    const auto street = tag("address", kStreets[dice % 3] + std::string("\x03") + number + " Town");
    const auto phone = tag("phone", "+49 40 " + number);
    const auto full = tag("name", first + std::string(" ") + kLast[contact.dice / 16 % 12]);
    out += "note " + name + " ";
    out += sorted ? fax + street + phone + full : full + street + phone + fax;
    if (dice % 4 == 0) out += "met in " + std::to_string(1990 + dice % 30);
    out += "\r\n";
}

}  // namespace

bool WriteNicknameFile(const std::string& path, std::uint32_t contacts, bool sorted) {
    std::mt19937 random(20260101);
    std::vector<std::uint32_t> numbers(contacts);
    std::iota(numbers.begin(), numbers.end(), 1U);
    std::shuffle(numbers.begin(), numbers.end(), random);
    std::vector<Contact> list;
    list.reserve(contacts);
    for (const auto number : numbers) list.push_back(MakeContact(number, random()));
    if (sorted) {
        std::sort(list.begin(), list.end(),
                  [](const auto& a, const auto& b) { return a.nickname < b.nickname; });
    }
    std::ofstream file(path, std::ios::binary);
    std::string out;
    for (std::size_t i = 0; i < list.size(); ++i) {
        Append(out, list[i], sorted);
        if (!sorted && i % 1000 == 500) out += "alias \"Group " + list[i].nickname + "\" a,b\r\n";
        if (!sorted && i % 1000 == 999) out += "alias \"" + list[i - 9].nickname + "\" later\r\n";
        if (out.size() > 1000000) {
            file << out;
            out.clear();
        }
    }
    file << out;
    return static_cast<bool>(file.flush());
}

}  // namespace benchmarks
