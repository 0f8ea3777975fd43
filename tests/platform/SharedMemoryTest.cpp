#include "platform/SharedMemory.h"

#include "platform/Process.h"
#include "tests/support/SharedObject.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace zuLogging::platform;
using zuLogging::test::SharedObject;
using Bytes = std::vector<std::uint8_t>;
using Result = SharedMemoryPublisher::Result;
using Status = SharedMemoryStatus;

class SharedMemory : public ::testing::Test
{
protected:
    const std::string name_ = "zuSharedMemoryTest-" + std::to_string(currentProcessId());
    const Bytes record_{1, 2, 3, 4, 5, 6, 7, 8};

    struct stat status() const
    {
        struct stat status = {};
        const int handle = ::shm_open(("/" + name_).c_str(), O_RDONLY | O_CLOEXEC, 0);
        EXPECT_GE(handle, 0);
        EXPECT_EQ(::fstat(handle, &status), 0);
        ::close(handle);
        return status;
    }

    void TearDown() override { ::shm_unlink(("/" + name_).c_str()); }
};

TEST_F(SharedMemory, AnObjectThatIsNotThereIsNotFound)
{
    EXPECT_EQ(readSharedMemory(name_, 24).status, Status::NotFound);
    EXPECT_EQ(readSharedMemory("", 24).status, Status::NotFound);
    EXPECT_EQ(readSharedMemory(std::string(10000, 'x'), 24).status, Status::NotFound);
}

TEST_F(SharedMemory, TheGlobalNameIsTriedFirst)
{
    const SharedObject plain(name_, {1});
    EXPECT_EQ(readSharedMemory(name_, 24).bytes, Bytes{1});
    const SharedObject global("Global\\" + name_, {2});
    EXPECT_EQ(readSharedMemory(name_, 24).bytes, Bytes{2});
}

TEST_F(SharedMemory, NoMoreThanTheLimitIsRead)
{
    const SharedObject object(name_, record_);
    EXPECT_EQ(readSharedMemory(name_, 3).bytes, (Bytes{1, 2, 3}));
    EXPECT_EQ(readSharedMemory(name_, 8).bytes, record_);
    EXPECT_EQ(readSharedMemory(name_, 9).bytes, record_);
}

TEST_F(SharedMemory, AnEmptyObjectFailsWithTheSystemsText)
{
    const SharedObject object(name_, {});
    const SharedMemoryContents contents = readSharedMemory(name_, 24);
    EXPECT_EQ(contents.status, Status::Failed);
    EXPECT_EQ(contents.error, "Invalid argument");
    EXPECT_TRUE(contents.bytes.empty());
}

TEST_F(SharedMemory, ASymbolicLinkIsNotFollowed)
{
    std::string target = "/tmp/zuSharedMemoryTest-XXXXXX";
    const int file = ::mkstemp(target.data());
    ASSERT_GE(file, 0);
    ASSERT_EQ(::write(file, "precious", 8), 8);
    const std::string link = "/dev/shm/" + name_;
    ASSERT_EQ(::symlink(target.c_str(), link.c_str()), 0);

    EXPECT_EQ(readSharedMemory(name_, 24).status, Status::NotFound);
    SharedMemoryPublisher publisher;
    EXPECT_EQ(publisher.publish(name_, record_), Result::Failed);
    EXPECT_FALSE(publisher.error().empty());
    struct stat status = {};
    EXPECT_EQ(::fstat(file, &status), 0);
    EXPECT_EQ(status.st_size, 8);

    ::close(file);
    ::unlink(target.c_str());
    ::unlink(link.c_str());
}

TEST_F(SharedMemory, APipeInTheObjectsPlaceHoldsNobody)
{
    const std::string path = "/dev/shm/" + name_;
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(readSharedMemory(name_, 24).status, Status::Failed);
    SharedMemoryPublisher publisher;
    EXPECT_EQ(publisher.publish(name_, record_), Result::Failed);
    ::unlink(path.c_str());
}

TEST_F(SharedMemory, APublishedRecordIsThereUntilItIsWithdrawn)
{
    SharedMemoryPublisher publisher;
    ASSERT_EQ(publisher.publish(name_, record_), Result::Published);
    EXPECT_EQ(readSharedMemory(name_, 24).bytes, record_);
    publisher.withdraw();
    EXPECT_EQ(readSharedMemory(name_, 24).status, Status::NotFound);
    publisher.withdraw();
}

TEST_F(SharedMemory, TheDestructorWithdraws)
{
    {
        SharedMemoryPublisher publisher;
        ASSERT_EQ(publisher.publish(name_, record_), Result::Published);
    }
    EXPECT_EQ(readSharedMemory(name_, 24).status, Status::NotFound);
}

TEST_F(SharedMemory, EverybodyMayReadWhateverTheProgramsMask)
{
    const mode_t before = ::umask(077);
    SharedMemoryPublisher publisher;
    EXPECT_EQ(publisher.publish(name_, record_), Result::Published);
    ::umask(before);
    EXPECT_EQ(status().st_mode & 07777U, 0644U);
}

TEST_F(SharedMemory, ASecondPublisherIsRefusedAndTouchesNothing)
{
    SharedMemoryPublisher first;
    ASSERT_EQ(first.publish(name_, record_), Result::Published);
    SharedMemoryPublisher second;
    EXPECT_EQ(second.publish(name_, {9, 9, 9, 9}), Result::NameInUse);
    EXPECT_FALSE(second.error().empty());
    second.withdraw();
    EXPECT_EQ(readSharedMemory(name_, 24).bytes, record_);
    first.withdraw();
    EXPECT_EQ(second.publish(name_, {9, 9, 9, 9}), Result::Published);
    EXPECT_TRUE(second.error().empty());
}

TEST_F(SharedMemory, ALeftoverIsTakenOverWhole)
{
    const SharedObject leftover(name_, Bytes(100, 0xEE));
    SharedMemoryPublisher publisher;
    ASSERT_EQ(publisher.publish(name_, record_), Result::Published);
    EXPECT_EQ(readSharedMemory(name_, 1000).bytes, record_);
    EXPECT_EQ(status().st_mode & 07777U, 0644U);
}

TEST_F(SharedMemory, TheRecordOfAKilledProcessIsTakenOver)
{
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        SharedMemoryPublisher publisher;
        const char result = publisher.publish(name_, Bytes(50, 7)) == Result::Published ? 'p' : 'f';
        if (::write(pipe[1], &result, 1) == 1)
            ::pause();
        ::_exit(1);
    }
    char result = 0;
    ASSERT_EQ(::read(pipe[0], &result, 1), 1);
    EXPECT_EQ(result, 'p');
    SharedMemoryPublisher publisher;
    EXPECT_EQ(publisher.publish(name_, record_), Result::NameInUse);

    ASSERT_EQ(::kill(child, SIGKILL), 0);
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    EXPECT_EQ(readSharedMemory(name_, 1000).bytes, Bytes(50, 7));
    EXPECT_EQ(publisher.publish(name_, record_), Result::Published);
    EXPECT_EQ(readSharedMemory(name_, 1000).bytes, record_);
    ::close(pipe[0]);
    ::close(pipe[1]);
}

TEST_F(SharedMemory, ARecordThatReplacedOursIsNotWithdrawn)
{
    SharedMemoryPublisher first;
    ASSERT_EQ(first.publish(name_, record_), Result::Published);
    ASSERT_EQ(::shm_unlink(("/" + name_).c_str()), 0);
    SharedMemoryPublisher second;
    ASSERT_EQ(second.publish(name_, {9, 9, 9, 9}), Result::Published);
    first.withdraw();
    EXPECT_EQ(readSharedMemory(name_, 24).bytes, (Bytes{9, 9, 9, 9}));
}

TEST_F(SharedMemory, AnEmptyRecordOrAnImpossibleNameFails)
{
    SharedMemoryPublisher publisher;
    EXPECT_EQ(publisher.publish(name_, {}), Result::Failed);
    EXPECT_EQ(publisher.error(), "Invalid argument");
    EXPECT_EQ(publisher.publish("a/b", record_), Result::Failed);
    EXPECT_EQ(publisher.publish("", record_), Result::Failed);
    EXPECT_EQ(publisher.publish(std::string(1000, 'x'), record_), Result::Failed);
    EXPECT_FALSE(publisher.error().empty());
}

TEST_F(SharedMemory, OfManyPublishersOneHoldsTheNameAndReadersSeeWholeRecords)
{
    std::atomic<int> holders{0};
    std::atomic<int> published{0};
    std::atomic<bool> overlapped{false};
    std::atomic<bool> torn{false};
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    for (std::uint8_t i = 1; i <= 4; ++i)
        threads.emplace_back([&, i] {
            for (int round = 0; round < 200; ++round) {
                SharedMemoryPublisher publisher;
                if (publisher.publish(name_, Bytes(24, i)) != Result::Published)
                    continue;
                if (++holders != 1)
                    overlapped = true;
                ++published;
                --holders;
            }
        });
    std::thread reader([&] {
        while (!done) {
            const SharedMemoryContents contents = readSharedMemory(name_, 24);
            // The first four bytes tell whether there is a record.
            if (contents.status != Status::Ok || contents.bytes.size() < 4 ||
                contents.bytes[0] == 0)
                continue;
            if (contents.bytes != Bytes(24, contents.bytes[0]))
                torn = true;
        }
    });
    for (std::thread& thread : threads)
        thread.join();
    done = true;
    reader.join();
    EXPECT_FALSE(overlapped);
    EXPECT_FALSE(torn);
    EXPECT_GT(published, 0);
    EXPECT_EQ(readSharedMemory(name_, 24).status, Status::NotFound);
}

} // namespace
