#include <zulog/QtMessageHandler.h>

#include "tests/client/ClientFixture.h"

#include <QLoggingCategory>

#include <atomic>
#include <optional>
#include <thread>

namespace zuLogging {
namespace {

Q_LOGGING_CATEGORY(disk, "disk")

std::atomic<int> seenBefore{0};

void countingHandler(QtMsgType, const QMessageLogContext&, const QString&)
{
    ++seenBefore;
}

/// Logs from inside, as a handler should not.
void talkativeHandler(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    ++seenBefore;
    const QtMessageHandler present = qInstallMessageHandler(nullptr);
    qInstallMessageHandler(present);
    if (present != nullptr)
        present(type, context, text + QStringLiteral(" again"));
}

class QtHandler : public test::ClientFixture
{
protected:
    QtHandler()
        : original_(qInstallMessageHandler(&countingHandler))
    {
        seenBefore = 0;
    }
    ~QtHandler() override { qInstallMessageHandler(original_); }

private:
    QtMessageHandler original_;
};

TEST_F(QtHandler, SendsWithLevelCategoryAndPlace)
{
    zulog::QtMessageHandler handler("QtModule");
    handler.logger().setLevel(zulog::Level::Debug);
    QLoggingCategory::setFilterRules(QStringLiteral("disk.debug=true"));
    qCDebug(disk) << "one";
    const int line = __LINE__ - 1;
    qInfo("two");
    qWarning("three: %s", "Größe");
    qCCritical(disk, "four");
    const auto messages = messagesOf(u"QtModule", 4);
    ASSERT_EQ(messages.size(), 4U);
    EXPECT_EQ(messages[0].logMessage, u"one");
    EXPECT_EQ(messages[0].logLevel, 32U);
    EXPECT_EQ(messages[0].groupName, u"disk");
    EXPECT_EQ(messages[0].logPos,
              QStringLiteral("QtMessageHandlerTest.cpp:%1").arg(line).toStdU16String());
    EXPECT_EQ(messages[1].logLevel, 8U);
    EXPECT_EQ(messages[1].groupName, u"default");
    EXPECT_EQ(messages[2].logLevel, 4U);
    EXPECT_EQ(messages[2].logMessage, u"three: Größe");
    EXPECT_EQ(messages[3].logLevel, 2U);
    EXPECT_EQ(seenBefore, 4) << "the handler before is called too";
}

TEST_F(QtHandler, PutsTheOneBeforeBack)
{
    {
        zulog::QtMessageHandler handler("QtRestored",
                                        zulog::QtMessageHandler::Previous::IsReplaced);
        qWarning("sent");
        EXPECT_EQ(seenBefore, 0);
    }
    qWarning("not sent");
    EXPECT_EQ(seenBefore, 1);
    EXPECT_EQ(messagesOf(u"QtRestored", 1).size(), 1U);
}

TEST_F(QtHandler, LeavesAnotherOneThatCameLaterInItsPlace)
{
    std::optional<zulog::QtMessageHandler> handler(std::in_place, "QtLater");
    static QtMessageHandler before = nullptr;
    static int later = 0;
    later = 0;
    before = qInstallMessageHandler(
        [](QtMsgType type, const QMessageLogContext& context, const QString& text) {
            ++later;
            before(type, context, text);
        });
    qWarning("through both");
    EXPECT_EQ(later, 1);
    EXPECT_EQ(seenBefore, 1);
    handler.reset();
    qWarning("not to the service");
    EXPECT_EQ(later, 2);
    EXPECT_EQ(seenBefore, 2);
    EXPECT_EQ(messagesOf(u"QtLater", 1).size(), 1U);
}

TEST_F(QtHandler, AMessageFromInsideAHandlerDoesNotGoRoundInCircles)
{
    qInstallMessageHandler(&talkativeHandler);
    {
        zulog::QtMessageHandler handler("QtCircle");
        qWarning("once");
        EXPECT_EQ(seenBefore, 1);
        EXPECT_EQ(messagesOf(u"QtCircle", 1).size(), 1U);
        qWarning("twice");
        EXPECT_EQ(seenBefore, 2);
        EXPECT_EQ(messagesOf(u"QtCircle", 2).size(), 2U);
    }
    qInstallMessageHandler(&countingHandler);
}

TEST_F(QtHandler, WhatIsFilteredOutIsNotSentButSeenAsBefore)
{
    zulog::QtMessageHandler handler("QtFiltered");
    handler.logger().setLevel(zulog::Level::Err);
    qWarning("not sent");
    qCritical("sent");
    EXPECT_EQ(seenBefore, 2);
    const auto messages = messagesOf(u"QtFiltered", 1);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].logMessage, u"sent");
}

TEST_F(QtHandler, MayGoWhileOtherThreadsLog)
{
    std::atomic<bool> isOver{false};
    std::atomic<int> started{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([&] {
            ++started;
            while (!isOver)
                qWarning("from a thread");
        });
    for (int i = 0; i < 200 || started < 3; ++i) {
        zulog::QtMessageHandler handler("QtThreads");
        qInfo("%d", i);
    }
    isOver = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_GE(messagesOf(u"QtThreads", 200).size(), 200U);
}

} // namespace
} // namespace zuLogging
