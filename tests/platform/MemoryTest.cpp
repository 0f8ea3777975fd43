#include "platform/Memory.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace zuLogging {
namespace {

/// How long the first larger allocation takes after many small pieces were freed.
qint64 allocationTimeAfterManyFrees()
{
    std::vector<void*> pieces(500000);
    for (void*& piece : pieces)
        piece = std::malloc(80);
    for (void* piece : pieces)
        std::free(piece);
    QElapsedTimer timer;
    timer.start();
    void* volatile large = std::malloc(20000); // volatile: not to be left out as useless
    const qint64 time = timer.nsecsElapsed();
    std::free(large);
    return time;
}

// The sanitizers bring a memory manager of their own.
#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(Memory, AnAllocationAfterManyFreesIsNotHeldUp)
{
    const qint64 before = allocationTimeAfterManyFrees();
    platform::avoidAllocationStalls();
    const qint64 after = allocationTimeAfterManyFrees();
    EXPECT_LT(after * 10, before);
}
#else
TEST(Memory, AskingForEvenAllocationsDoesNoHarm)
{
    platform::avoidAllocationStalls();
    EXPECT_GE(allocationTimeAfterManyFrees(), 0);
}
#endif

} // namespace
} // namespace zuLogging
