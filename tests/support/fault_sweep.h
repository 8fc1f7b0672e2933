#pragma once

#include <gtest/gtest.h>

#include <initializer_list>

#include "platform/testing/faulty_files.h"

namespace test {

using platform::testing::Fault;

inline constexpr std::initializer_list<Fault> kEveryFault = {Fault::kFail, Fault::kTornWrite,
                                                             Fault::kKill};

// Calls `play(fault, n)` for each of those faults with n = 1, 2, ...: it runs what is under test
// with its n-th operation on files (or memory) meeting the fault, judges what is left, and gives
// whether there was such an operation. `least` is how many there are at the least.
//
//     ForEveryFault([&](Fault fault, int n) {
//         files.Arm(fault, n);
//         const bool isSaved = Save(files);
//         const bool fired = files.Disarm();
//         EXPECT_EQ(Content(), isSaved ? kNew : kOld);
//         return fired;
//     });
template <class Play>
void ForEveryFault(const Play& play, int least = 1,
                   std::initializer_list<Fault> faults = kEveryFault) {
    for (const Fault fault : faults) {
        int n = 0;
        for (bool fired = true; fired && !::testing::Test::HasFatalFailure();) {
            SCOPED_TRACE(::testing::Message() << "fault " << int(fault) << " at " << ++n);
            fired = play(fault, n);
            ASSERT_LT(n, 5000) << "no end";
        }
        EXPECT_GT(n, least);
    }
}

}  // namespace test
