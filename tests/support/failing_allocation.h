#pragma once

#include <gtest/gtest.h>

#include <new>

namespace test {

// Memory that runs out: one request of `new` alone is refused, or each one from there on.
enum class Shortage { kOne, kLasting };

// How many bytes `new` has been asked for so far: the work that a test of growth counts.
std::size_t BytesRequested();

// Refuses the n-th request of `new` that the whole process makes, its libraries included (on
// Windows those of the program alone), as long as the object lives.
class ArmedAllocation {
  public:
    ArmedAllocation(long number, Shortage shortage);
    ~ArmedAllocation();
    ArmedAllocation(const ArmedAllocation&) = delete;
    ArmedAllocation& operator=(const ArmedAllocation&) = delete;

    static bool HasFailed();
};

// Calls `attempt(run)` for each allocation that the operation under test makes. The attempt builds
// what it needs, the same each time, calls run(operation), in which that allocation fails, and
// judges what is left. `run` gives false if std::bad_alloc came out of the operation. The first
// failed check ends the sweep.
//
//     ForEachFailingAllocation([&](auto run) {
//         Book book = Sample();
//         const bool isDone = run([&] { book.Rename("ann", "anna"); });
//         EXPECT_EQ(book.Text(), isDone ? kRenamed : kSample);
//     });
template <class Attempt>
void ForEachFailingAllocation(Attempt attempt, Shortage shortage = Shortage::kOne) {
    bool hasFailed = true;
    for (long number = 1; hasFailed && !::testing::Test::HasFailure(); ++number) {
        SCOPED_TRACE(::testing::Message() << "allocation " << number);
        hasFailed = false;
        attempt([&](auto operation) {
            bool isDone = true;
            try {
                const ArmedAllocation armed(number, shortage);
                operation();
            } catch (const std::bad_alloc&) {
                isDone = false;
            }
            hasFailed = hasFailed || ArmedAllocation::HasFailed();
            return isDone;
        });
        EXPECT_TRUE(hasFailed || number > 1) << "the operation allocates nothing";
    }
}

}  // namespace test
