#pragma once

#include "app/Application.h"
#include "app/MainView.h"
#include "config/LogConfigData.h"
#include "config/LogConfigView.h"
#include "logging/ConnectionInfo.h"
#include "logging/LogMessageListener.h"
#include "logging/LogSvcError.h"
#include "platform/SharedMemory.h"
#include "store/LogContainer.h"
#include "store/ViewSettings.h"
#include "tests/app/MessageBoxWaiter.h"
#include "tests/support/TestEnvironment.h"
#include "view/LogMessageView.h"

#include <QAction>
#include <QDockWidget>
#include <QFile>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace zuLogging::test {

/// A log service that numbers messages, takes subscriptions and has no configuration to offer. It
/// can be found through the test's own connection info.
class PublishedService
{
public:
    PublishedService() { publish(listener_.boundAddress()); }

    /// Has the connection info name another address.
    void publish(const platform::SocketAddress& address)
    {
        publisher_.withdraw();
        EXPECT_EQ(publisher_.publish(connectionInfoName(), encodeConnectionInfo(address)),
                  platform::SharedMemoryPublisher::Result::Published)
            << publisher_.error();
    }

    std::size_t subscribers() const { return listener_.sinkCount.load(); }
    /// Answers this command with a negative acknowledge from now on.
    void refuse(LogMessageCommand command) { listener_.refused = static_cast<int>(command); }
    /// The commands that it was sent, with the messages left out.
    std::vector<int> commands() const
    {
        const std::lock_guard<std::mutex> lock(listener_.mutex);
        return listener_.commands;
    }

private:
    class Listener final : public LogMessageListener
    {
    public:
        Listener()
            : LogMessageListener(SinkList{})
        {
            start();
        }
        ~Listener() override { stop(); }

        std::atomic<std::size_t> sinkCount{0};
        std::atomic<int> refused{0};
        mutable std::mutex mutex;
        std::vector<int> commands; ///< under the mutex

    protected:
        bool assignsServiceIds() const override { return true; }
        bool processForeign(const Packet& request, std::size_t, Packet& acknowledge) override
        {
            remember(request);
            acknowledge.setHeader(acknowledgeOf(request.header(), PacketStatus::Failed));
            return true;
        }
        void process(const Packet& request, std::size_t length, Packet& acknowledge) override
        {
            remember(request);
            if (request.header().command == refused)
                throw LogSvcError("no");
            LogMessageListener::process(request, length, acknowledge);
            sinkCount = sinks().size();
        }

    private:
        void remember(const Packet& request)
        {
            const int command = request.header().command;
            const std::lock_guard<std::mutex> lock(mutex);
            if (command != static_cast<int>(LogMessageCommand::Message))
                commands.push_back(command);
        }
    };

    Listener listener_;
    platform::SharedMemoryPublisher publisher_;
};

/// Each test starts with the settings, the settings file and the configuration of a first start.
class AppFixture : public ::testing::Test
{
protected:
    void SetUp() override
    {
        // The configuration object is made once a process, and only where a service can be found.
        try {
            LogConfigData::instance();
        } catch (const LogSvcError&) {
            const PublishedService service;
            LogConfigData::instance();
        }
        forget();
    }
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
