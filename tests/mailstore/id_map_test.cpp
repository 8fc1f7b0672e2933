#include "mailstore/id_map.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace {

TEST(IdMap, RandomWalkAgainstAMap) {
    std::mt19937 random(3);
    mailstore::IdMap map;
    std::map<std::string, std::string> model;
    for (int step = 0; step < 40000; ++step) {
        // Few keys, so that they are met again; the empty one among them.
        const auto number = random() % 700;
        const std::string key = number == 0 ? "" : "key " + std::to_string(number);
        const auto action = random() % 100;
        if (action < 60) {
            const std::string value = std::to_string(random() % 3);
            map.Set(key, value);
            model[key] = value;
        } else if (action < 98) {
            map.Erase(key);
            model.erase(key);
        } else if (random() % 40 == 0) {
            map.Clear();
            model.clear();
        } else {
            map.Reserve(random() % 2000);
        }
        const auto found = map.Find(key);
        const auto expected = model.find(key);
        ASSERT_EQ(found.has_value(), expected != model.end()) << step << ' ' << key;
        if (found) {
            ASSERT_EQ(*found, expected->second) << step << ' ' << key;
        }
        ASSERT_EQ(map.Size(), model.size()) << step;
    }
    std::map<std::string, std::string> all;
    map.ForEach([&](std::string_view key, std::string_view value) { all.emplace(key, value); });
    EXPECT_EQ(all, model);
}

}  // namespace
