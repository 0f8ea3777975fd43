// A prepared filter against what it means, asked of each field's text with Qt's search.

#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "store/MessageFilter.h"
#include "store/PreparedFilter.h"

#include <algorithm>
#include <memory>
#include <string>

using namespace zuLogging;
using fuzz::check;

namespace {

std::unique_ptr<LogMessage> messageFrom(fuzz::FuzzInput& input)
{
    const auto number = [&] { return input.number(input.byte() % 9); };
    const std::uint64_t service = number();
    const std::uint64_t source = number();
    const std::uint64_t sender = number();
    const std::uint64_t timestamp = number();
    const std::uint64_t level = number();
    const std::uint64_t process = number();
    const std::uint64_t thread = number();
    const std::u16string logPos = input.text();
    const std::u16string module = input.text();
    const std::u16string groupName = input.text();
    const std::u16string text = input.text();
    return std::make_unique<LogMessage>(service, source, sender, timestamp, level,
                                        std::u16string_view(logPos), std::u16string_view(module),
                                        std::u16string_view(groupName), std::u16string_view(text),
                                        process, thread);
}

QStringList fieldTexts(const LogMessage& message)
{
    return {toQString(message.logMessage()),         toQString(message.module()),
            toQString(message.groupName()),          toQString(message.logPos()),
            logLevelNameText(message.logLevel()),    message.timestampText(),
            QString::number(message.serviceMsgId()), QString::number(message.sourceMsgId()),
            QString::number(message.senderMsgId()),  QString::number(message.processId()),
            QString::number(message.threadId())};
}

/// Own units, or a part of one of the message's fields.
QString anyText(const QStringList& fields, fuzz::FuzzInput& input)
{
    const std::uint8_t choice = input.byte();
    if (choice % 4 == 0)
        return toQString(input.text());
    const QString& field = fields.at(choice / 4 % fields.size());
    const int begin = input.byte() % (field.size() + 1);
    const QString part = field.mid(begin, input.byte() % 8);
    return choice % 4 == 1 ? part : choice % 4 == 2 ? part.toUpper() : part.toLower();
}

QStringList textsFrom(const QStringList& fields, fuzz::FuzzInput& input)
{
    QStringList texts;
    for (int count = input.byte() % 4; count > 0; --count)
        texts.append(anyText(fields, input));
    return texts;
}

bool isIn(const QStringList& fields, const QString& text, Qt::CaseSensitivity rule)
{
    return std::any_of(fields.begin(), fields.end(),
                       [&](const QString& field) { return field.contains(text, rule); });
}

bool plainPasses(const LogMessage& message, const QStringList& fields, const MessageFilter& filter)
{
    const auto anyIn = [&](const QStringList& texts, Qt::CaseSensitivity rule) {
        return std::any_of(texts.begin(), texts.end(),
                           [&](const QString& text) { return isIn(fields, text, rule); });
    };
    if (!filter.levels.isEmpty()) {
        const QString name = logLevelNameText(message.logLevel());
        const bool isWanted =
            message.logLevel() != 0 &&
            std::any_of(filter.levels.begin(), filter.levels.end(), [&](const QString& level) {
                return name.contains(level, Qt::CaseInsensitive);
            });
        if (!isWanted)
            return false;
    }
    if (!filter.include.isEmpty() && !anyIn(filter.include, filter.includeCase))
        return false;
    return !anyIn(filter.exclude, filter.excludeCase);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::FuzzInput input(data, size);
    const std::uint8_t mode = input.byte();
    const std::unique_ptr<LogMessage> message = messageFrom(input);
    if ((mode & 1) != 0)
        message->renderTimestamp();
    const QStringList fields = fieldTexts(*message);

    MessageFilter filter;
    filter.includeCase = (mode & 2) != 0 ? Qt::CaseSensitive : Qt::CaseInsensitive;
    filter.excludeCase = (mode & 4) != 0 ? Qt::CaseSensitive : Qt::CaseInsensitive;
    filter.levels = textsFrom(fields, input);
    filter.include = textsFrom(fields, input);
    filter.exclude = textsFrom(fields, input);

    const bool isExpected = plainPasses(*message, fields, filter);
    check(PreparedFilter(filter).passes(*message) == isExpected,
          "a message passes the filter for one way only");
    check(filter.passes(*message) == isExpected, "a filter says something else once prepared");
    for (const QString& text : filter.include + filter.exclude)
        for (const auto rule : {Qt::CaseSensitive, Qt::CaseInsensitive})
            check(message->contains(text, rule) == isIn(fields, text, rule),
                  "a message holds a text for one way only");
    return 0;
}
