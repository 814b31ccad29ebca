#include "Geometry/groups/mtf_list.h"

#include <algorithm>
#include <list>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace QELT {
namespace {

static_assert(std::has_virtual_destructor_v<mtf_list<int>>);
static_assert(std::is_base_of_v<std::list<int>, mtf_list<int>>);
static_assert(std::is_same_v<mtf_list<int>, mtf_list<int, std::allocator<int>>>);

using Letters = std::list<std::string>;

mtf_list<std::string> listOf(Letters const& letters) {
    mtf_list<std::string> list;
    for (std::string const& letter : letters) {
        list.push_back(letter);
    }
    return list;
}

Letters lettersOf(mtf_list<std::string> const& list) {
    return {list.begin(), list.end()};
}

TEST(MoveToFrontList, IsEmptyAtFirst) {
    EXPECT_TRUE(mtf_list<int>().empty());
}

TEST(MoveToFrontList, OfNothingTakesTheValueAndAnswersZero) {
    mtf_list<std::string> list;
    EXPECT_EQ(list.move_to_front("a"), 0U);
    EXPECT_EQ(lettersOf(list), (Letters{"a"}));
}

TEST(MoveToFrontList, BringsTheLastToTheFront) {
    mtf_list<std::string> list = listOf({"a", "b", "c"});
    EXPECT_EQ(list.move_to_front("c"), 2U);
    EXPECT_EQ(lettersOf(list), (Letters{"c", "a", "b"}));
}

TEST(MoveToFrontList, LeavesTheOrderWhenTheFrontIsMoved) {
    mtf_list<std::string> list = listOf({"a", "b", "c"});
    EXPECT_EQ(list.move_to_front("a"), 0U);
    EXPECT_EQ(lettersOf(list), (Letters{"a", "b", "c"}));
}

TEST(MoveToFrontList, MovesOnlyTheFirstOfEquals) {
    mtf_list<std::string> list = listOf({"a", "b", "a"});
    EXPECT_EQ(list.move_to_front("a"), 0U);
    EXPECT_EQ(lettersOf(list), (Letters{"a", "b", "a"}));
    EXPECT_EQ(list.move_to_front("b"), 1U);
    EXPECT_EQ(lettersOf(list), (Letters{"b", "a", "a"}));
}

TEST(MoveToFrontList, GrowsByAValueThatItHasNot) {
    mtf_list<std::string> list = listOf({"a", "b"});
    EXPECT_EQ(list.move_to_front("z"), 2U);
    EXPECT_EQ(list.size(), 3U);
    EXPECT_EQ(lettersOf(list), (Letters{"z", "a", "b"}));
}

TEST(MoveToFrontList, TakesAReferenceToItsOwnElement) {
    mtf_list<std::string> list = listOf({"a long enough text to live on the heap", "b", "c"});
    EXPECT_EQ(list.move_to_front(list.back()), 2U);
    EXPECT_EQ(list.move_to_front(list.front()), 0U);
    EXPECT_EQ(list.front(), "c");
    EXPECT_EQ(list.size(), 3U);
}

TEST(MoveToFrontList, CopiesDeeply) {
    mtf_list<std::string> list = listOf({"a", "b"});
    mtf_list<std::string> copy(list);
    mtf_list<std::string> assigned;
    assigned = list;
    copy.move_to_front("b");
    EXPECT_EQ(lettersOf(list), (Letters{"a", "b"}));
    EXPECT_EQ(lettersOf(copy), (Letters{"b", "a"}));
    EXPECT_EQ(lettersOf(assigned), (Letters{"a", "b"}));
}

TEST(MoveToFrontList, IsAListOtherwise) {
    mtf_list<int> list;
    list.resize(3);
    EXPECT_EQ(list.size(), 3U);
    list.front() = 7;
    EXPECT_EQ(*list.begin(), 7);
    list.clear();
    EXPECT_TRUE(list.empty());
}

using SharedList = mtf_list<std::shared_ptr<int>>;

/// A list that keeps one more.
class KeepingList : public SharedList {
public:
    explicit KeepingList(std::shared_ptr<int> newKept) : kept(std::move(newKept)) {}

private:
    std::shared_ptr<int> kept;
};

TEST(MoveToFrontList, EmptiesItselfWhenDestroyedThroughItsBase) {
    auto const watched = std::make_shared<int>(3);
    SharedList* const list = new KeepingList(watched);
    list->push_back(watched);
    list->push_back(watched);
    list->move_to_front(watched);
    EXPECT_EQ(watched.use_count(), 4);
    delete list;
    EXPECT_EQ(watched.use_count(), 1);
}

/// What the allocators below still hand out.
int nodesLeft = 0;

template <class T>
struct ScarceAllocator : std::allocator<T> {
    template <class Other>
    struct rebind {
        using other = ScarceAllocator<Other>;
    };

    ScarceAllocator() = default;

    template <class Other>
    explicit ScarceAllocator(ScarceAllocator<Other> const& /*other*/) {}

    T* allocate(std::size_t count) {
        if (nodesLeft == 0) {
            throw std::bad_alloc();
        }
        --nodesLeft;
        return std::allocator<T>::allocate(count);
    }
};

TEST(MoveToFrontList, StaysAsItWasWithoutMemoryForTheCopy) {
    mtf_list<int, ScarceAllocator<int>> list;
    nodesLeft = 3;
    for (int const value : {1, 2, 3}) {
        list.push_back(value);
    }
    for (int const value : {1, 3, 4}) {
        EXPECT_THROW(list.move_to_front(value), std::bad_alloc);
        EXPECT_EQ((std::vector<int>(list.begin(), list.end())), (std::vector<int>{1, 2, 3}));
    }
}

TEST(MoveToFrontList, KeepsTheOrderOfPlainMoves) {
    std::mt19937 generator(1);
    mtf_list<int> list;
    std::vector<int> plain;
    for (int i = 0; i < 3000; ++i) {
        int const value = static_cast<int>(generator() % 12);
        unsigned long place = 0;
        while (place < plain.size() && plain[place] != value) {
            ++place;
        }
        EXPECT_EQ(list.move_to_front(value), place);
        if (place < plain.size()) {
            plain.erase(plain.begin() + static_cast<std::ptrdiff_t>(place));
        }
        plain.insert(plain.begin(), value);
        if (generator() % 40 == 0) {
            list.push_back(value);
            plain.push_back(value);
        }
        ASSERT_TRUE(std::equal(list.begin(), list.end(), plain.begin(), plain.end()));
    }
}

TEST(MoveToFrontList, BringsANodeToTheFrontInTheSameOrderAsItsValue) {
    std::mt19937 generator(2);
    mtf_list<int> moved;
    for (int i = 0; i < 3000; ++i) {
        if (moved.empty() || generator() % 30 == 0) {
            moved.push_back(static_cast<int>(generator() % 12));
        }
        mtf_list<int> brought(moved);
        auto const place = static_cast<std::ptrdiff_t>(generator() % moved.size());
        moved.move_to_front(*std::next(moved.begin(), place));
        brought.bring_to_front(std::next(brought.begin(), place));
        ASSERT_TRUE(std::equal(moved.begin(), moved.end(), brought.begin(), brought.end()));
    }
}

TEST(MoveToFrontList, BringsTheNodeItselfAndTakesNoMemory) {
    mtf_list<int, ScarceAllocator<int>> list;
    nodesLeft = 4;
    for (int const value : {1, 2, 3, 2}) {
        list.push_back(value);
    }
    auto const second = std::next(list.begin());
    auto const last = std::prev(list.end());
    list.bring_to_front(last); // the first of the equal ones goes
    EXPECT_EQ((std::vector<int>(list.begin(), list.end())), (std::vector<int>{2, 1, 3, 2}));
    EXPECT_EQ(&list.front(), &*second);
    list.bring_to_front(list.begin());
    EXPECT_EQ(&list.front(), &*second);
}

} // namespace
} // namespace QELT
