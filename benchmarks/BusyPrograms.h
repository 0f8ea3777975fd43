#pragma once

#include <sys/types.h>
#include <vector>

namespace zuLogging::benchmarks {

/// Processes that do nothing but compute, at normal priority, until this is gone. They end by
/// themselves with this process, and after `seconds` in any case.
class BusyPrograms
{
public:
    BusyPrograms(int count, unsigned seconds);
    ~BusyPrograms();
    BusyPrograms(const BusyPrograms&) = delete;
    BusyPrograms& operator=(const BusyPrograms&) = delete;

private:
    std::vector<pid_t> children_;
};

} // namespace zuLogging::benchmarks
