#include "benchmarks/BusyPrograms.h"

#include <cerrno>
#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zuLogging::benchmarks {

BusyPrograms::BusyPrograms(int count, unsigned seconds)
{
    for (int i = 0; i < count; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            alarm(seconds); // ends it
            for (volatile unsigned turns = 0;;)
                turns = turns + 1;
        }
        if (child > 0)
            children_.push_back(child);
    }
}

BusyPrograms::~BusyPrograms()
{
    for (const pid_t child : children_) {
        kill(child, SIGKILL);
        while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
}

} // namespace zuLogging::benchmarks
