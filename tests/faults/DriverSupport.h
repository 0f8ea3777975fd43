#pragma once

#include "store/LogTableModel.h"
#include "tests/store/StoreTestSupport.h"

#include <cstdint>
#include <string>

namespace zuLogging::test {

/// What the drivers of writes share. No run hangs: the system ends the process after so many
/// seconds.
inline constexpr unsigned int longestRun = 60;
/// Exit status of a write that said that it failed.
inline constexpr int refused = 3;

/// The messages of a log, with texts that need escapes.
inline void fillLog(LogTableModel& model, int count)
{
    for (int i = 1; i <= count; ++i)
        model.addMessage(
            makeMessage(static_cast<std::uint64_t>(i),
                        u"a \"text\"\t" + std::u16string(static_cast<std::size_t>(i % 60), u'x')));
}

} // namespace zuLogging::test
