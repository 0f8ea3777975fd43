#pragma once

#include "logging/LogLedger.h"

#include <QCoreApplication>
#include <QString>

#include <cstdint>

namespace zuLogging {

/// The messages that never came to the table through no wish of the user, put into words. A plain
/// value.
class LostMessages
{
    Q_DECLARE_TR_FUNCTIONS(zuLogging::LostMessages)

public:
    explicit LostMessages(const LogCounts& counts);

    /// How many. A message that the socket's buffer had no room for is missing in its sender's
    /// numbers as well: of these two counts the larger one is taken, not the sum. Datagrams of
    /// which nobody can tell that they were messages do not count.
    std::uint64_t number() const;
    /// "Lost: N".
    QString label() const;
    /// What the number is made of: a line for each cause that there is.
    QString toolTip() const;

private:
    LogCounts counts_;
};

} // namespace zuLogging
