#include "store/IdentifierList.h"
#include "store/RowShifts.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

using zuLogging::IdentifierList;
using zuLogging::RowShifts;

TEST(IdentifierList, FindsTheFirstRowOfAnIdentifierAsAPlainSearchDoes)
{
    for (unsigned seed = 0; seed < 60; ++seed) {
        std::mt19937_64 random(seed);
        const unsigned range = seed % 3 == 0 ? 5U : 2000U;
        const bool ascending = seed % 2 == 0;
        IdentifierList list;
        std::vector<std::uint64_t> plain;
        std::uint64_t next = 1;
        for (int step = 0; step < 1500; ++step) {
            const auto choice = random() % 100;
            if (choice < 45) {
                const std::uint64_t identifier =
                    ascending && random() % 200 != 0 ? next += random() % 3 : random() % range;
                list.append(identifier);
                plain.push_back(identifier);
            } else if (choice < 50) {
                const std::size_t row = random() % (plain.size() + 1);
                const std::uint64_t identifier = random() % range;
                list.insert(row, identifier);
                plain.insert(plain.begin() + static_cast<std::ptrdiff_t>(row), identifier);
            } else if (choice < 55 && !plain.empty()) {
                list.removeFirst();
                plain.erase(plain.begin());
            } else if (choice == 99 && random() % 20 == 0) {
                list.clear();
                plain.clear();
            } else {
                const std::uint64_t wanted = plain.empty() || random() % 2 == 0
                                                 ? random() % (range + 5)
                                                 : plain[random() % plain.size()];
                const auto found = std::find(plain.begin(), plain.end(), wanted);
                const int expected =
                    found == plain.end() ? -1 : static_cast<int>(found - plain.begin());
                ASSERT_EQ(list.indexOf(wanted), expected) << "seed " << seed << " step " << step;
                if (expected >= 0) {
                    list.removeAt(static_cast<std::size_t>(expected));
                    plain.erase(found);
                }
            }
            ASSERT_EQ(list.size(), plain.size());
        }
    }
}

TEST(IdentifierList, ManyFirstOnesGoAtOnceAsTheyGoOneByOne)
{
    std::mt19937 random(2);
    for (int round = 0; round < 200; ++round) {
        IdentifierList atOnce;
        IdentifierList oneByOne;
        const auto size = static_cast<std::size_t>(1 + random() % 40);
        for (std::size_t i = 0; i < size; ++i) {
            const std::uint64_t identifier = round % 2 == 0 ? i : random() % 20;
            atOnce.append(identifier);
            oneByOne.append(identifier);
        }
        if (round % 3 == 0)
            atOnce.indexOf(5); // counted
        const std::size_t count = random() % (size + 1);
        atOnce.removeFirst(count);
        for (std::size_t i = 0; i < count; ++i)
            oneByOne.removeFirst();
        ASSERT_EQ(atOnce.size(), oneByOne.size());
        for (std::uint64_t identifier = 0; identifier < 40; ++identifier)
            ASSERT_EQ(atOnce.indexOf(identifier), oneByOne.indexOf(identifier));
    }
}

TEST(RowShifts, FollowsEveryRowThroughRemovalsAndInsertions)
{
    for (unsigned seed = 0; seed < 50; ++seed) {
        std::mt19937 random(seed);
        std::vector<int> rows(60);
        for (int i = 0; i < 60; ++i)
            rows[static_cast<std::size_t>(i)] = i;
        RowShifts shifts;
        for (int step = 0; step < 40; ++step) {
            const int row = static_cast<int>(random() % rows.size());
            if (random() % 3 != 0) {
                shifts.removed(row, 1);
                rows.erase(rows.begin() + row);
            } else {
                shifts.inserted(row, 1);
                rows.insert(rows.begin() + row, -1);
            }
        }
        for (int i = 0; i < 60; ++i) {
            const auto found = std::find(rows.begin(), rows.end(), i);
            ASSERT_EQ(shifts.newRow(i),
                      found == rows.end() ? -1 : static_cast<int>(found - rows.begin()));
        }
    }
}

TEST(RowShifts, AMillionRemovalsOfTheFirstRowAreOneShift)
{
    RowShifts shifts;
    for (int i = 0; i < 1000000; ++i)
        shifts.removed(0, 1);
    EXPECT_EQ(shifts.newRow(999999), -1);
    EXPECT_EQ(shifts.newRow(1000005), 5);
}

TEST(RowShifts, TooManyDifferentShiftsAreForgottenAndEveryRowWithThem)
{
    RowShifts shifts;
    for (int i = 0; i < 100000; ++i)
        shifts.removed(i % 2 == 0 ? 0 : 5, 1);
    EXPECT_FALSE(shifts.isEmpty());
    EXPECT_EQ(shifts.newRow(1000000), -1);
    shifts.clear();
    EXPECT_TRUE(shifts.isEmpty());
    EXPECT_EQ(shifts.newRow(3), 3);
}
