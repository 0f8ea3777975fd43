#include "store/MessageFilter.h"
#include "store/PreparedFilter.h"
#include "tests/store/StoreTestSupport.h"

#include <boost/thread/thread.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <random>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

/// Random messages and texts to look for, few characters each, so that much is found.
class Randoms
{
public:
    explicit Randoms(unsigned seed)
        : random_(seed)
    {
    }

    std::size_t below(std::size_t bound) { return random_() % bound; }
    Qt::CaseSensitivity caseRule() { return below(2) ? Qt::CaseSensitive : Qt::CaseInsensitive; }

    std::u16string text(std::size_t longest)
    {
        static const std::u16string units{
            u'a',   u'A',   u'k',   0x212A, u's', 0x017F, u'1',   u'0',   u'x',   u'-', 0xDF,
            0x1E9E, 0x03C3, 0x03C2, 0x03A3, u'i', 0x0130, 0xD801, 0xDC00, 0xDC28, u'.', u'e'};
        std::u16string result;
        for (auto length = below(longest + 1); length > 0; --length)
            result += units[below(units.size())];
        return result;
    }

    std::shared_ptr<LogMessage> message()
    {
        constexpr std::uint64_t levels[] = {0, 1, 2, 4, 8, 16, 32, 3, 64, 255, 0x1A2B3C4D5E6F7081};
        MessageFields fields;
        fields.id = random_() % 2000;
        fields.timestamp += random_() % 4'000'000'000ULL;
        if (below(4) == 0)
            fields.timestamp -= fields.timestamp % 1'000'000;
        fields.level = levels[below(11)];
        fields.text = text(below(3) == 0 ? 90 : 6);
        fields.module = text(3);
        fields.group = text(3);
        fields.position = text(3);
        fields.process = random_() % 3000;
        fields.thread = random_();
        return makeMessage(fields);
    }

    /// To be found in a field of some kind, or nearly.
    QString wanted()
    {
        static const QString wholes[] = {
            QStringLiteral("none"),        QStringLiteral("Warn"),     QStringLiteral("0x20"),
            QStringLiteral("X1"),          QStringLiteral("*REF*"),    QStringLiteral("-invalid-"),
            QStringLiteral("-Jan-01 00:"), QStringLiteral("1970-JAN"), QStringLiteral("0.25"),
            QStringLiteral("-1"),          QStringLiteral(".000000"),  QStringLiteral("debug"),
            QStringLiteral("tr\u0130ace"), QStringLiteral("\uFF10")};
        switch (below(4)) {
        case 0:
            return QString::number(random_() % (below(2) ? 200 : 200'000));
        case 1: {
            const QString& whole = wholes[below(14)];
            const auto begin = below(static_cast<std::size_t>(whole.size()));
            return whole.mid(static_cast<int>(begin), static_cast<int>(below(7)));
        }
        default:
            return toQString(text(4));
        }
    }

    QStringList wantedTexts(std::size_t most)
    {
        QStringList texts;
        for (auto count = below(most + 1); count > 0; --count)
            texts.append(wanted());
        return texts;
    }

private:
    std::mt19937_64 random_;
};

// What the rules say, word for word.

QStringList searchedTexts(const LogMessage& message)
{
    const auto number = [](std::uint64_t value) {
        return QString::number(static_cast<qulonglong>(value));
    };
    return {toQString(message.logMessage()), toQString(message.module()),
            toQString(message.groupName()),  message.levelName(),
            number(message.serviceMsgId()),  number(message.sourceMsgId()),
            number(message.senderMsgId()),   message.timestampText(),
            number(message.processId()),     number(message.threadId()),
            toQString(message.logPos())};
}

bool matchesList(const LogMessage& message, const QStringList& wanted, Qt::CaseSensitivity rule)
{
    const QStringList fields = searchedTexts(message);
    for (const QString& text : wanted) {
        for (const QString& field : fields) {
            if (field.contains(text, rule))
                return true;
        }
    }
    return false;
}

bool passesByTheRule(const LogMessage& message, const MessageFilter& filter)
{
    if (!filter.levels.isEmpty()) {
        bool listed = false;
        for (const QString& level : filter.levels)
            listed = listed || message.levelName().contains(level, Qt::CaseInsensitive);
        if (!listed || message.logLevel() == 0)
            return false;
    }
    if (!filter.include.isEmpty() && !matchesList(message, filter.include, filter.includeCase))
        return false;
    return filter.exclude.isEmpty() || !matchesList(message, filter.exclude, filter.excludeCase);
}

QModelIndex foundByTheRule(const LogTableModel& model, const QModelIndex& start,
                           const QString& text, bool down, Qt::CaseSensitivity rule)
{
    const int rows = model.rowCount();
    const int columns = model.columnCount();
    int row = start.row();
    int column = start.column();
    for (;;) {
        column += down ? 1 : -1;
        if (column == columns || column < 0) {
            column = down ? 0 : columns - 1;
            row = (row + (down ? 1 : rows - 1)) % rows;
        }
        if (row == start.row() && column == start.column())
            return {};
        if (model.cellText(row, column).contains(text, rule))
            return model.index(row, column);
    }
}

class SearchAndFilter : public ::testing::Test
{
protected:
    SearchAndFilter()
    {
        store->setModels(&full, &filtered);
        store->setFilter({}, {}, {}, false, false);
    }
    ~SearchAndFilter() override { store->setModels(nullptr, nullptr); }

    void fill(Randoms& randoms, int count)
    {
        for (int i = 0; i < count; ++i)
            full.addMessage(randoms.message());
    }
    /// Searches from random cells, with random texts, in both directions.
    void compareSearches(Randoms& randoms, const LogTableModel& model, int rounds)
    {
        for (int round = 0; round < rounds; ++round) {
            const QModelIndex start = model.index(
                static_cast<int>(randoms.below(static_cast<std::size_t>(model.rowCount()))),
                static_cast<int>(randoms.below(static_cast<std::size_t>(model.columnCount()))));
            const QString text = randoms.wanted();
            const bool down = randoms.below(2) == 0;
            const auto rule = randoms.caseRule();
            const QModelIndex expected = foundByTheRule(model, start, text, down, rule);
            ASSERT_EQ(model.findNext(start, text, down, rule), expected)
                << start.row() << "," << start.column() << " " << text.toStdString() << " " << down
                << " " << rule;
            EXPECT_EQ(model.matches(expected, text, rule), expected.isValid());
            ++(expected.isValid() ? found : notFound);
        }
    }

    std::shared_ptr<QuietStore> store = std::make_shared<QuietStore>();
    LogTableModel full{store};
    LogTableModel filtered{store};
    int found = 0;
    int notFound = 0;
};

} // namespace

TEST_F(SearchAndFilter, AFilterKeepsWhatTheRuleSaysForRandomMessages)
{
    Randoms randoms(1);
    fill(randoms, 400);
    int kept = 0;
    int left = 0;
    for (int round = 0; round < 400; ++round) {
        MessageFilter filter;
        filter.include = randoms.wantedTexts(2);
        filter.exclude = randoms.wantedTexts(2);
        if (randoms.below(3) == 0)
            filter.levels = QStringList{QStringLiteral("inF"), randoms.wanted()};
        filter.includeCase = randoms.caseRule();
        filter.excludeCase = randoms.caseRule();
        const PreparedFilter prepared(filter);
        std::vector<std::uint64_t> expected;
        for (const auto& message : full.messagesFrom(0, full.rowCount())) {
            const bool passes = passesByTheRule(*message, filter);
            ASSERT_EQ(prepared.passes(*message), passes);
            if (passes)
                expected.push_back(message->serviceMsgId());
            ++(passes ? kept : left);
        }
        store->setFilter(filter.include, filter.levels, filter.exclude,
                         filter.includeCase == Qt::CaseSensitive,
                         filter.excludeCase == Qt::CaseSensitive);
        if (!filter.isEmpty()) {
            ASSERT_EQ(storedIds(filtered), expected) << round;
        }
    }
    EXPECT_GT(kept, 10'000);
    EXPECT_GT(left, 10'000);
}

TEST_F(SearchAndFilter, AFilterOnManyRowsKeepsTheirOrder)
{
    for (std::uint64_t id = 1; id <= 5000; ++id)
        full.addMessage(makeMessage(id, id % 7 == 0 ? u"Kept" : u"left"));
    store->setFilter({QStringLiteral("kEPT")}, {}, {}, false, false);
    const std::vector<std::uint64_t> ids = storedIds(filtered);
    EXPECT_EQ(ids.size(), 714U);
    for (std::size_t i = 0; i < ids.size(); ++i)
        EXPECT_EQ(ids[i], 7 * (i + 1));
    store->refilter();
    EXPECT_EQ(storedIds(filtered), ids);
}

TEST_F(SearchAndFilter, AMessageContainsWhatOneOfItsFieldsContains)
{
    Randoms randoms(2);
    int yes = 0;
    for (int round = 0; round < 20'000; ++round) {
        const auto message = randoms.message();
        const QStringList wanted{randoms.wanted()};
        const auto rule = randoms.caseRule();
        const bool expected = matchesList(*message, wanted, rule);
        ASSERT_EQ(message->contains(wanted.first(), rule), expected)
            << wanted.first().toStdString();
        yes += expected ? 1 : 0;
    }
    EXPECT_GT(yes, 5'000);
    EXPECT_LT(yes, 15'000);
}

TEST_F(SearchAndFilter, ASearchFindsWhatTheRuleSaysInRandomTables)
{
    Randoms randoms(3);
    for (int table = 0; table < 60; ++table) {
        full.clear();
        fill(randoms, 1 + static_cast<int>(randoms.below(12)));
        store->setTimeDisplayMode(table % 2);
        if (table % 3 != 0)
            full.sort(static_cast<int>(randoms.below(12)),
                      randoms.below(2) ? Qt::AscendingOrder : Qt::DescendingOrder);
        if (table % 5 == 0)
            full.addReference(static_cast<int>(randoms.below(12)));
        if (table % 7 == 0)
            full.removeReference(0);
        compareSearches(randoms, full, 60);
    }
    EXPECT_GT(found, 1'000);
    EXPECT_GT(notFound, 500);
}

TEST_F(SearchAndFilter, ASearchFindsWhatTheRuleSaysInATableOfManyRows)
{
    Randoms randoms(4);
    for (int i = 0; i < 1300; ++i) // few matches: searches go on for several turns of the lock
        full.addMessage(makeMessage(static_cast<std::uint64_t>(i + 1), u"nothing"));
    for (int i = 0; i < 4; ++i)
        full.insertMessage(static_cast<int>(randoms.below(1300)), randoms.message());
    for (int mode = 0; mode < 2; ++mode) {
        store->setTimeDisplayMode(mode);
        for (const int column : {-1, 3, 11}) {
            full.sort(column, mode == 0 ? Qt::AscendingOrder : Qt::DescendingOrder);
            compareSearches(randoms, full, 40);
        }
    }
    EXPECT_GT(found, 50);
    EXPECT_GT(notFound, 50);
}

TEST_F(SearchAndFilter, ASearchLooksAtTheShownColumnsOnly)
{
    Randoms randoms(5);
    fill(randoms, 30);
    for (int round = 0; round < 40; ++round) {
        QList<int> columns = defaultColumnOrder();
        for (auto leave = 1 + randoms.below(11); leave > 0; --leave)
            columns.removeAt(
                static_cast<int>(randoms.below(static_cast<std::size_t>(columns.size()))));
        std::shuffle(columns.begin(), columns.end(), std::mt19937(static_cast<unsigned>(round)));
        full.setColumns(columns);
        compareSearches(randoms, full, 30);
    }
    EXPECT_GT(found, 100);
    EXPECT_GT(notFound, 100);
}

TEST_F(SearchAndFilter, ASearchInTheFilteredTableCountsSecondsFromTheFirstOfAllMessages)
{
    Randoms randoms(6);
    fill(randoms, 60);
    store->setTimeDisplayMode(1);
    store->setFilter({QStringLiteral("a")}, {}, {}, false, false);
    ASSERT_GT(filtered.rowCount(), 5);
    full.removeOldest(3);
    compareSearches(randoms, filtered, 400);
    EXPECT_GT(found, 50);
    EXPECT_GT(notFound, 50);
}

TEST_F(SearchAndFilter, ASearchMeetsEveryRowWhileTheOldestLeave)
{
    // Texts so long that the search lets go of the lock after each row.
    const std::u16string hay(600'000, u'h');
    const std::u16string needle = u"needle" + hay;
    for (int round = 0; round < 12; ++round) {
        full.clear();
        for (std::uint64_t id = 1; id <= 40; ++id)
            full.addMessage(makeMessage(id, id == 31 ? needle : hay));
        std::promise<void> begin;
        boost::thread worker([&] {
            begin.get_future().wait();
            for (std::uint64_t id = 41; id <= 65; ++id)
                full.replaceOldest({makeMessage(id, u"short")});
        });
        begin.set_value();
        const QModelIndex match =
            full.findNext(full.index(0, 0), QStringLiteral("needle"), true, Qt::CaseSensitive);
        worker.join();
        ASSERT_TRUE(match.isValid()) << round;
        EXPECT_GE(match.row(), 5) << round;
        EXPECT_LE(match.row(), 30) << round;
    }
}

TEST_F(SearchAndFilter, ASearchEndsWhileAllRowsAreExchanged)
{
    for (int i = 1; i <= 1500; ++i)
        full.addMessage(makeMessage(static_cast<std::uint64_t>(i), u"hay"));
    std::atomic<bool> end{false};
    boost::thread worker([&] {
        std::vector<std::shared_ptr<LogMessage>> added;
        for (std::uint64_t i = 0; i < 400; ++i)
            added.push_back(makeMessage(i, u"hay"));
        while (!end) {
            full.replaceOldest(added);
            full.removeOldest(200);
            full.addMessages(added);
            full.removeOldest(200);
        }
    });
    for (int round = 0; round < 60; ++round) {
        const QModelIndex start = full.index(round * 20, round % 12);
        const QModelIndex match =
            full.findNext(start, QStringLiteral("needle"), round % 2 == 0, Qt::CaseInsensitive);
        EXPECT_FALSE(match.isValid());
    }
    end = true;
    worker.join();
}
