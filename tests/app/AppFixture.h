#pragma once

#include "app/Application.h"
#include "app/MainView.h"
#include "config/LogConfigData.h"
#include "config/LogConfigView.h"
#include "logging/ConnectionInfo.h"
#include "platform/SharedMemory.h"
#include "store/LogContainer.h"
#include "store/ViewSettings.h"
#include "tests/app/MessageBoxWaiter.h"
#include "tests/support/ListenerUnderTest.h"
#include "tests/support/TestEnvironment.h"
#include "view/LogMessageView.h"

#include <QAction>
#include <QDockWidget>
#include <QFile>

#include <gtest/gtest.h>

#include <memory>

namespace zuLogging::test {

/// A log service on this thread's machine that numbers messages and takes subscriptions, and can be
/// found through the test's own connection info.
class PublishedService
{
public:
    PublishedService()
        : listener_({}, true)
    {
        publish(listener_.boundAddress());
    }

    /// Has the connection info name another address.
    void publish(const platform::SocketAddress& address)
    {
        publisher_.withdraw();
        EXPECT_EQ(publisher_.publish(connectionInfoName(), encodeConnectionInfo(address)),
                  platform::SharedMemoryPublisher::Result::Published)
            << publisher_.error();
    }

    std::size_t subscribers() const { return listener_.sinkCount(); }

private:
    ListenerUnderTest listener_;
    platform::SharedMemoryPublisher publisher_;
};

/// Each test starts with the settings, the settings file and the configuration of a first start.
class AppFixture : public ::testing::Test
{
protected:
    void SetUp() override { forget(); }
    void TearDown() override
    {
        LogConfigData::instance()->setModified(false);
        holder.reset();
        forget();
    }

    /// The window, built and shown as the program does it.
    MainView& openWindow()
    {
        holder = std::make_shared<MainView>(&holder);
        holder->show();
        return *holder;
    }

    QAction* action(const char* text) const
    {
        for (QAction* candidate :
             holder->findChildren<QAction*>(QString(), Qt::FindDirectChildrenOnly))
            if (candidate->text() == QLatin1String(text))
                return candidate;
        ADD_FAILURE() << "no action " << text;
        return nullptr;
    }

    MainViewHolder holder;

private:
    static void forget()
    {
        ViewSettings::instance().reset();
        LogConfigData::instance()->setModified(false);
        QFile::remove(ViewSettings::filePath());
    }
};

} // namespace zuLogging::test
