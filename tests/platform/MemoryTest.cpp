#include "platform/Memory.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <vector>

#if defined(__GLIBC__) && !defined(LOGDESK_ADDRESS_SANITIZER) && !defined(LOGDESK_THREAD_SANITIZER)
#if __GLIBC_PREREQ(2, 33)
#include <malloc.h>
#define MEMORY_MANAGER_TELLS
#endif
#endif

namespace zuLogging {
namespace {

constexpr std::size_t pieceCount = 100000;
constexpr std::size_t pieceSize = 80;

void allocateAndFree()
{
    std::vector<void*> pieces(pieceCount);
    for (void*& piece : pieces)
        piece = std::malloc(pieceSize);
    for (void* piece : pieces)
        std::free(piece);
}

// The sanitizers bring a memory manager of their own, and older systems' does not tell.
#ifdef MEMORY_MANAGER_TELLS
TEST(Memory, FreedPiecesAreNotKeptAsideForALaterAllocationToTidyUp)
{
    allocateAndFree();
    EXPECT_GT(mallinfo2().fsmblks, pieceCount * pieceSize / 2); // what is to be avoided
    platform::avoidAllocationStalls();
    const std::size_t before = mallinfo2().fsmblks;
    allocateAndFree();
    EXPECT_LE(mallinfo2().fsmblks, before);
    EXPECT_LT(mallinfo2().fsmblks, pieceCount * pieceSize / 100);
}
#else
TEST(Memory, AskingForEvenAllocationsDoesNoHarm)
{
    platform::avoidAllocationStalls();
    allocateAndFree();
    void* volatile piece = std::malloc(pieceSize);
    EXPECT_NE(piece, nullptr);
    std::free(piece);
}
#endif

} // namespace
} // namespace zuLogging
