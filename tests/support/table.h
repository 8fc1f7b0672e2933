#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

// The tables of a test program stand in the file KV_TABLES. "== NAME" begins one, each line behind
// it is a row, " | " parts its cells. ^n, ^r, ^t and ^ with two hex digits are bytes that cannot be
// seen, blanks at the ends of a cell, and the bar. "# " begins a remark.
namespace test {

inline void ReadCell(const std::string& text, std::string& value) {
    value = text;
}
inline void ReadCell(const std::string& text, bool& value) {
    value = text == "yes";
    EXPECT_TRUE(value || text == "no") << text;
}
template <class Number>
void ReadCell(const std::string& text, Number& value) {
    value = static_cast<Number>(std::stod(text));
}

inline std::string TakeCell(std::string_view& row) {
    const auto bar = std::min(row.find('|'), row.size());
    const std::string_view cell = row.substr(0, bar);
    row.remove_prefix(std::min(bar + 1, row.size()));
    const auto begin = std::min(cell.find_first_not_of(' '), cell.size());
    const auto end = cell.find_last_not_of(' ') + 1;
    std::string text;
    for (std::size_t i = begin; i < end; ++i) {
        constexpr std::string_view kNames = "nrt", kBytes = "\n\r\t";
        const auto name = cell[i] == '^' ? kNames.find(cell[i + 1]) : 0;
        if (cell[i] != '^') {
            text += cell[i];
        } else if (name != kNames.npos) {
            text += kBytes[name];
            i += 1;
        } else {
            text += static_cast<char>(std::stoi(std::string(cell.substr(i + 1, 2)), nullptr, 16));
            i += 2;
        }
    }
    return text;
}

// The rows of a table of so many columns.
template <std::size_t kCells>
std::vector<std::array<std::string, kCells>> Rows(const std::string& name) {
    std::ifstream file(KV_TABLES, std::ios::binary);
    std::vector<std::array<std::string, kCells>> rows;
    bool isInside = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("== ")) {
            isInside = line.substr(3) == name;
        } else if (isInside && !line.empty() && !line.starts_with("# ")) {
            EXPECT_EQ(std::ranges::count(line, '|') + 1, kCells) << line;
            std::string_view rest = line;
            for (std::string& cell : rows.emplace_back()) cell = TakeCell(rest);
        }
    }
    EXPECT_FALSE(rows.empty()) << "no table of " << name;
    return rows;
}

// The same, with cells that are no texts.
template <class... Cells>
std::vector<std::tuple<Cells...>> Table(const std::string& name) {
    std::vector<std::tuple<Cells...>> rows;
    for (const auto& texts : Rows<sizeof...(Cells)>(name)) {
        auto text = texts.begin();
        std::apply([&](auto&... cells) { (ReadCell(*text++, cells), ...); }, rows.emplace_back());
    }
    return rows;
}

}  // namespace test
