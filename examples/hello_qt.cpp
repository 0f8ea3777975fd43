#include <zulog/QtMessageHandler.h>

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(greetings, "greetings")

int main()
{
    zulog::QtMessageHandler handler("HelloQt");
    qCWarning(greetings) << "Hello from Qt";
}
