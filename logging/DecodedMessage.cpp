#include "logging/DecodedMessage.h"

#include "platform/CodePage.h"

#include <array>

namespace zuLogging {

void DecodedMessage::assign(const LogMessageContainerView& view)
{
    using Item = LogMessageContainer::Item;

    const LogMessageContainer container(view.data, view.length);
    serviceMsgId = container.serviceMsgId();
    sourceMsgId = container.sourceMsgId();
    senderMsgId = container.senderMsgId();

    // The first item of each type is the one that a look-up would act on, wherever it ends.
    constexpr std::size_t typeCount = static_cast<std::size_t>(ItemType::CodePage) + 1;
    std::array<Item, typeCount> firstItems; // only those marked as present are filled
    unsigned present = 0;
    bool complete = true;
    if (container.hasItems()) {
        std::size_t position = containerHeaderSize;
        do {
            const Item item = container.itemAt(position);
            position += containerItemHeaderSize + item.length;
            if (item.type < typeCount && (present & (1U << item.type)) == 0) {
                present |= 1U << item.type;
                firstItems[item.type] = item;
            }
        } while (position + containerItemHeaderSize <= container.size());
        complete = position == container.size();
    }

    // A look-up that finds nothing has seen the end of the items, and minds when it is not the end
    // of the container. One that finds its item minds only that item's end.
    const auto find = [&](ItemType type) -> const Item* {
        const auto index = static_cast<std::size_t>(type);
        const bool isPresent = (present & (1U << index)) != 0;
        if (isPresent ? !container.fits(firstItems[index]) : !complete)
            LogMessageContainer::throwInconsistent();
        return isPresent ? &firstItems[index] : nullptr;
    };
    const auto number = [&](ItemType type) -> std::uint64_t {
        const Item* item = find(type);
        return item != nullptr ? LogMessageContainer::numberOf(*item).value_or(0) : 0;
    };
    const auto text = [&](ItemType type, TextMode mode, std::u16string& field) {
        const Item* item = find(type);
        if (item == nullptr) {
            field.clear();
            return;
        }
        std::uint64_t codePage = platform::codePageUtf8;
        if (LogMessageContainer::needsCodePage(*item, mode)) {
            const Item* codePageItem = find(ItemType::CodePage);
            if (codePageItem != nullptr)
                codePage = LogMessageContainer::numberOf(*codePageItem).value_or(codePage);
        }
        LogMessageContainer::textOf(*item, mode, codePage, field);
    };

    timestamp = number(ItemType::Timestamp);
    logLevel = number(ItemType::LogLevel);
    processId = number(ItemType::ProcessID);
    threadId = number(ItemType::ThreadID);
    text(ItemType::LogPos, TextMode::Plain, logPos);
    text(ItemType::Module, TextMode::Plain, module);
    text(ItemType::GroupName, TextMode::Plain, groupName);
    text(ItemType::LogMessage, TextMode::Text, logMessage);
}

} // namespace zuLogging
