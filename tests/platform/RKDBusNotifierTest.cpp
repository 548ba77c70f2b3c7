#include "platform/RKDBusNotifier.h"
#include "support/PrivateSessionBus.h"
#include "support/TestEnvironment.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <gtest/gtest.h>

#include <thread>

namespace {

// A notification server that records the arguments of every call it gets.
class FakeNotifications : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    QList<QVariantList> calls;

public slots:
    uint Notify(const QString& appName, uint replacesId, const QString& appIcon, const QString& summary,
                const QString& body, const QStringList& actions, const QVariantMap& hints, int expireTimeout)
    {
        calls.append({appName, replacesId, appIcon, summary, body, actions, hints, expireTimeout});
        return uint(calls.size());
    }
};

// Summary is the title; the body holds subtitle and informative text on lines
// of their own (no blank line for an empty subtitle), escaped for servers that
// read it as markup. Workers deliver as well as the main thread. Without a
// server, or without a bus, the job goes on; what was lost is not delivered
// later.
TEST(RKDBusNotifier, DeliversTitleSubtitleAndInformativeTextFromAnyThreadAndIsSilentWithoutServer)
{
    PrivateSessionBus bus;
    ASSERT_TRUE(bus.isRunning()) << "dbus-daemon did not start";
    ASSERT_TRUE(bus.connect(QStringLiteral("notifier-client")));
    RKDBusNotifier notifier{QStringLiteral("notifier-client")};
    RKDBusNotifier(QStringLiteral("never-connected")).deliver("MOKUZA-FULL", "/a.zip", "no bus");
    notifier.deliver("MOKUZA-FULL", "/lost.zip", "lost");
    // A call the bus answers itself: everything sent before has been routed.
    QDBusConnection(QStringLiteral("notifier-client"))
        .call(QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                             "org.freedesktop.DBus", "GetId"));

    FakeNotifications fake;
    ASSERT_TRUE(bus.connect(QStringLiteral("notification-server")));
    QDBusConnection server(QStringLiteral("notification-server"));
    ASSERT_TRUE(server.registerObject(QStringLiteral("/org/freedesktop/Notifications"), &fake,
                                      QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(server.registerService(QStringLiteral("org.freedesktop.Notifications")));
    notifier.deliver(QStringLiteral("MOKUZA-FULL"), QStringLiteral("/home/u/a & <b>.zip"),
                     QStringLiteral("圧縮が完了しました"));
    ASSERT_TRUE(TestEnvironment::waitFor([&] { return fake.calls.size() == 1; }));
    std::thread first([&] { notifier.deliver("MOKUZA-FULL", "/b.zip", "two"); });
    std::thread second([&] { notifier.deliver("MOKUZA-FULL", QString(), "three"); });
    first.join();
    second.join();
    ASSERT_TRUE(TestEnvironment::waitFor([&] { return fake.calls.size() == 3; }));

    const QVariantList& call = fake.calls.first();
    ASSERT_EQ(call.size(), 8);
    EXPECT_EQ(call[0].toString(), QStringLiteral("MOKUZA-FULL")); // app_name
    EXPECT_EQ(call[1].toUInt(), 0u);                               // replaces_id
    EXPECT_EQ(call[3].toString(), QStringLiteral("MOKUZA-FULL")); // summary
    EXPECT_TRUE(call[5].toStringList().isEmpty());                 // actions
    EXPECT_EQ(call[7].toInt(), -1);                                // server's timeout
    QStringList bodies;
    for (const QVariantList& each : fake.calls) {
        bodies.append(each.value(4).toString());
    }
    std::sort(bodies.begin() + 1, bodies.end());
    EXPECT_EQ(bodies, (QStringList{QStringLiteral("/home/u/a &amp; &lt;b&gt;.zip\n圧縮が完了しました"),
                                   QStringLiteral("/b.zip\ntwo"), QStringLiteral("three")}));
}

} // namespace

#include "RKDBusNotifierTest.moc"
