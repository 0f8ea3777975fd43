// What a message takes in memory once it is in the table, and what a sort index adds to that,
// beside the bytes that the message itself has: its numbers and its texts as UTF-16.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/Goals.h"
#include "benchmarks/Scale.h"
#include "benchmarks/StoreAccess.h"
#include "logging/DecodedMessage.h"
#include "store/LogTableModel.h"
#include "tools/DemoTraffic.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

namespace zuLogging {
namespace {

using namespace benchmarks;

const int rows = scaled(1000000, 5000);

/// The limit: numbers and texts of a record in one allocation, and the pointer to it.
double bytesInOneBlock(const LogTableModel& model)
{
    std::vector<std::unique_ptr<char[]>> blocks;
    blocks.reserve(static_cast<std::size_t>(rows));
    const double before = allocatedBytes() - static_cast<double>(rows) * sizeof(void*);
    for (int row = 0; row < rows; ++row) {
        const std::size_t size =
            8 * sizeof(std::uint64_t) + sizeof(char16_t) * model.messageAt(row)->texts().size();
        blocks.push_back(std::make_unique<char[]>(size));
    }
    return (allocatedBytes() - before) / rows;
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
    const double before = allocatedBytes();
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
    const double loaded = allocatedBytes();
    if (full.rowCount() != rows) {
        std::fprintf(stderr, "FAILED: %d rows of %d\n", full.rowCount(), rows);
        return 1;
    }
    std::printf("a message of %.0f bytes on the wire: %.0f bytes in the table; its content: %.0f\n",
                payload / rows, (loaded - before) / rows, content / rows);

    struct Column
    {
        const char* name;
        int column;
    };
    double largestIndex = 0;
    for (const Column& column : {Column{"LogMessage", 11}, Column{"Module", 7},
                                 Column{"LogLevel [Hex]", 4}, Column{"Timestamp", 3}}) {
        full.sort(column.column, Qt::AscendingOrder);
        const double index = (allocatedBytes() - loaded) / rows;
        std::printf("sorted by %s: %.0f bytes more for a message\n", column.name, index);
        largestIndex = std::max(largestIndex, index);
    }
    const double block = bytesInOneBlock(full);
    report({"memory a record, typical texts", (loaded - before) / rows, "B", "in one block", block,
            Goal::Kind::AtMost, 470});
    report({"memory of the sort index, a row", largestIndex, "B", "", 0, Goal::Kind::AtMost, 100});
    store->setModels(nullptr, nullptr);
    return 0;
}

} // namespace
} // namespace zuLogging

int main()
{
    return zuLogging::run();
}
