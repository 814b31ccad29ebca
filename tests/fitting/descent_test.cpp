#include "Geometry/fitting/internal/descent.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace QELT::Geometry::ThreeDimensional {
namespace {

/// Goes from each state to that which a table names, and ends at the one it is told, if there is such.
struct TableDescent {
    std::vector<int> const* next;
    int end;
    int state = 0;
    int stepsMade = 0;

    bool step() {
        state = (*next)[static_cast<std::size_t>(state)];
        ++stepsMade;
        return state == end;
    }

    bool getIsSame(TableDescent const& other) const { return state == other.state; }
};

bool plainDescend(TableDescent& descent, int maxSteps) {
    for (int i = 0; i < maxSteps; ++i) {
        if (descent.step()) {
            return true;
        }
    }
    return false;
}

void expectPlainResult(std::vector<int> const& next, int end, int maxSteps) {
    TableDescent plain{&next, end};
    TableDescent descent{&next, end};
    bool const isEnded = plainDescend(plain, maxSteps);
    ASSERT_EQ(descend(descent, maxSteps), isEnded);
    ASSERT_EQ(descent.state, plain.state);
    ASSERT_LE(descent.stepsMade, plain.stepsMade);
}

/// A way of `tail` states into a round of `round` states.
std::vector<int> rhoTable(int tail, int round) {
    std::vector<int> next;
    for (int k = 1; k < tail + round; ++k) {
        next.push_back(k);
    }
    next.push_back(tail);
    return next;
}

TEST(Descent, EndsAsThePlainLoopForEveryTailRoundAndLimit) {
    for (int tail = 0; tail < 20; ++tail) {
        for (int round = 1; round < 20; ++round) {
            auto const next = rhoTable(tail, round);
            for (int maxSteps = 1; maxSteps < 90; ++maxSteps) {
                expectPlainResult(next, -1, maxSteps);
            }
        }
    }
}

TEST(Descent, EndsAsThePlainLoopOnRandomTables) {
    std::mt19937 generator(5);
    int endedCount = 0;
    for (int trial = 0; trial < 3000; ++trial) {
        std::vector<int> next(1 + generator() % 60);
        for (int& state : next) {
            state = static_cast<int>(generator() % next.size());
        }
        int const end = static_cast<int>(generator() % next.size());
        int const maxSteps = static_cast<int>(1 + generator() % 200);
        TableDescent plain{&next, end};
        endedCount += plainDescend(plain, maxSteps) ? 1 : 0;
        expectPlainResult(next, end, maxSteps);
    }
    EXPECT_GT(endedCount, 200);
    EXPECT_LT(endedCount, 2800);
}

TEST(Descent, EndsAtTheStepThatSaysSoThoughItsStateIsNotNew) {
    std::vector<int> const next{0};
    expectPlainResult(next, 0, 10);
}

TEST(Descent, LeavesOutTheRoundsOfALongOne) {
    auto const next = rhoTable(1000, 37);
    TableDescent descent{&next, -1};
    EXPECT_FALSE(descend(descent, 268435456));
    EXPECT_EQ(descent.state, 1000 + (268435456 - 1000) % 37);
    EXPECT_LT(descent.stepsMade, 2200);
}

TEST(Descent, NoticesARestOrAShortRoundWithinASixteenthOfTheSteps) {
    for (int const round : {1, 2, 7, 60}) {
        for (int const tail : {1000, 4097, 100000}) {
            auto const next = rhoTable(tail, round);
            TableDescent descent{&next, -1};
            EXPECT_FALSE(descend(descent, 1048576));
            EXPECT_EQ(descent.state, tail + (1048576 - tail) % round);
            EXPECT_LE(descent.stepsMade, tail + tail / 16 + 2 + 2 * round) << tail << " and " << round;
        }
    }
}

TEST(Descent, NoticesALongRoundBeforeTwentyOfThem) {
    for (int const round : {100, 1000, 4000}) {
        auto const next = rhoTable(10, round);
        TableDescent descent{&next, -1};
        EXPECT_FALSE(descend(descent, 268435456));
        EXPECT_EQ(descent.state, 10 + (268435456 - 10) % round);
        EXPECT_LE(descent.stepsMade, 20 * round);
    }
}

} // namespace
} // namespace QELT::Geometry::ThreeDimensional
