#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QList>
#include <QString>

namespace zuLogging::test {

/// An object of the accessibility bus, (so): the program that has it, and its path there.
struct AccessibleReference
{
    QString service;
    QDBusObjectPath path;
};

inline QDBusArgument& operator<<(QDBusArgument& argument, const AccessibleReference& reference)
{
    argument.beginStructure();
    argument << reference.service << reference.path;
    argument.endStructure();
    return argument;
}

inline const QDBusArgument& operator>>(const QDBusArgument& argument,
                                       AccessibleReference& reference)
{
    argument.beginStructure();
    argument >> reference.service >> reference.path;
    argument.endStructure();
    return argument;
}

/// What a screen reader does with an object: asks for its name, role, state and children, presses
/// it, reads a cell of it. Each question waits for its answer, at most two seconds.
class AccessibleObject
{
public:
    // The numbers of the protocol.
    enum Role
    {
        CheckBox = 7,
        Frame = 23,
        MenuItem = 35,
        PushButton = 43,
        Table = 55,
    };
    enum State
    {
        Enabled = 8,
        Focusable = 11,
        Showing = 25
    };

    AccessibleObject() = default;
    AccessibleObject(QDBusConnection connection, AccessibleReference reference)
        : connection_(std::move(connection))
        , reference_(std::move(reference))
    {
    }

    /// What a program's windows are the children of.
    static AccessibleObject root(const QDBusConnection& connection, const QString& service)
    {
        return {connection,
                {service, QDBusObjectPath(QStringLiteral("/org/a11y/atspi/accessible/root"))}};
    }

    bool isNull() const
    {
        return reference_.service.isEmpty() ||
               reference_.path.path() == QLatin1String("/org/a11y/atspi/null");
    }

    QString name() const { return property(accessible(), "Name").toString(); }
    int role() const { return call(accessible(), "GetRole").value(0).toInt(); }
    bool has(State state) const
    {
        const QVariant answer = call(accessible(), "GetState").value(0);
        if (!answer.canConvert<QDBusArgument>())
            return false;
        const auto bits = qdbus_cast<QList<uint>>(answer.value<QDBusArgument>());
        return ((bits.value(state / 32) >> (state % 32)) & 1U) != 0;
    }
    QList<AccessibleObject> children() const
    {
        QList<AccessibleObject> objects;
        const QVariant answer = call(accessible(), "GetChildren").value(0);
        if (answer.canConvert<QDBusArgument>())
            for (const AccessibleReference& child :
                 qdbus_cast<QList<AccessibleReference>>(answer.value<QDBusArgument>()))
                objects << AccessibleObject(connection_, child);
        return objects;
    }
    /// Its first action: for buttons and menu entries, to be pressed.
    bool press() const { return call("org.a11y.atspi.Action", "DoAction", {0}).value(0).toBool(); }
    int rows() const { return property("org.a11y.atspi.Table", "NRows").toInt(); }
    AccessibleObject cell(int row, int column) const
    {
        const QVariant answer =
            call("org.a11y.atspi.Table", "GetAccessibleAt", {row, column}).value(0);
        if (!answer.canConvert<QDBusArgument>())
            return {};
        return {connection_, qdbus_cast<AccessibleReference>(answer.value<QDBusArgument>())};
    }

private:
    static const char* accessible() { return "org.a11y.atspi.Accessible"; }

    QVariantList call(const char* interface, const char* method,
                      const QVariantList& arguments = {}) const
    {
        QDBusMessage message =
            QDBusMessage::createMethodCall(reference_.service, reference_.path.path(),
                                           QLatin1String(interface), QLatin1String(method));
        message.setArguments(arguments);
        const QDBusMessage reply = connection_.call(message, QDBus::Block, 2000);
        return reply.type() == QDBusMessage::ReplyMessage ? reply.arguments() : QVariantList();
    }
    QVariant property(const char* interface, const char* name) const
    {
        QDBusMessage message = QDBusMessage::createMethodCall(
            reference_.service, reference_.path.path(),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
        message.setArguments({QLatin1String(interface), QLatin1String(name)});
        const QDBusMessage reply = connection_.call(message, QDBus::Block, 2000);
        return reply.arguments().value(0).value<QDBusVariant>().variant();
    }

    QDBusConnection connection_{QString()};
    AccessibleReference reference_;
};

} // namespace zuLogging::test

Q_DECLARE_METATYPE(zuLogging::test::AccessibleReference)
