// What a message takes in memory once it is in the table, and what a sort index adds to that,
// beside the bytes that the message itself has: its numbers and its texts as UTF-16.

#include "logging/DecodedMessage.h"
#include "store/LogContainer.h"
#include "store/LogTableModel.h"
#include "tools/DemoTraffic.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include <malloc.h>

namespace zuLogging {

/// Runs the worker's steps on the benchmark's thread.
struct LogContainerAccess
{
    static void setActive(LogContainer& store) { store.active_ = true; }
    static void drain(LogContainer& store)
    {
        while (store.queueSize() > 0)
            store.moveMessages();
    }
};

namespace {

constexpr int rows = 1000000;

/// Bytes that the program has asked for, with what the memory manager keeps for each piece.
double usedBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

int run()
{
    const auto store = std::make_shared<LogContainer>();
    LogTableModel full(store);
    LogTableModel filtered(store);
    store->setModels(&full, &filtered);
    LogContainerAccess::setActive(*store);
    store->setMaximumMessages(rows);

    DemoTraffic traffic(1);
    DecodedMessage fields;
    double payload = 0;
    double content = 0;
    const double before = usedBytes();
    for (int i = 0; i < rows; ++i) {
        const std::vector<std::uint8_t> bytes = traffic.next().build();
        LogMessageContainerView container;
        container.data = bytes.data();
        container.length = bytes.size();
        fields.assign(container);
        payload += static_cast<double>(bytes.size());
        content += 7 * sizeof(std::uint64_t) +
                   sizeof(char16_t) *
                       static_cast<double>(fields.logPos.size() + fields.module.size() +
                                           fields.groupName.size() + fields.logMessage.size());
        store->addMessage(fields);
        if (i % 10000 == 0)
            LogContainerAccess::drain(*store);
    }
    LogContainerAccess::drain(*store);
    const double loaded = usedBytes();
    std::printf("a message of %.0f bytes on the wire: %.0f bytes in the table; its content: %.0f\n",
                payload / rows, (loaded - before) / rows, content / rows);

    struct Column
    {
        const char* name;
        int column;
    };
    for (const Column& column : {Column{"LogMessage", 11}, Column{"Module", 7},
                                 Column{"LogLevel [Hex]", 4}, Column{"Timestamp", 3}}) {
        full.sort(column.column, Qt::AscendingOrder);
        std::printf("sorted by %s: %.0f bytes more for a message\n", column.name,
                    (usedBytes() - loaded) / rows);
    }
    store->setModels(nullptr, nullptr);
    return 0;
}

} // namespace
} // namespace zuLogging

int main()
{
    return zuLogging::run();
}
