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

// A message bus of this test only, a client connection for the notifier and,
// once serve() ran, the fake server.
class RKDBusNotifierTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(bus.isRunning()) << "dbus-daemon did not start";
        ASSERT_TRUE(bus.connect(QStringLiteral("notifier-client")));
    }

    void serve()
    {
        ASSERT_TRUE(bus.connect(QStringLiteral("notification-server")));
        QDBusConnection server(QStringLiteral("notification-server"));
        ASSERT_TRUE(server.registerObject(QStringLiteral("/org/freedesktop/Notifications"), &fake,
                                          QDBusConnection::ExportAllSlots));
        ASSERT_TRUE(server.registerService(QStringLiteral("org.freedesktop.Notifications")));
    }

    QStringList bodies() const
    {
        QStringList all;
        for (const QVariantList& call : fake.calls) {
            all.append(call.value(4).toString());
        }
        return all;
    }

    PrivateSessionBus bus;
    FakeNotifications fake;
    RKDBusNotifier notifier{QStringLiteral("notifier-client")};
};

// Summary is the title; the body holds subtitle and informative text on lines
// of their own (no blank line for an empty subtitle), escaped for servers that
// read it as markup. Workers deliver as well as the main thread.
TEST_F(RKDBusNotifierTest, DeliversTitleSubtitleAndInformativeTextFromAnyThread)
{
    serve();
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
    QStringList all = bodies();
    std::sort(all.begin() + 1, all.end());
    EXPECT_EQ(all, (QStringList{QStringLiteral("/home/u/a &amp; &lt;b&gt;.zip\n圧縮が完了しました"),
                                QStringLiteral("/b.zip\ntwo"), QStringLiteral("three")}));
}

// Without a server the job goes on; what was lost is not delivered later.
TEST_F(RKDBusNotifierTest, NoServerOrNoBusIsSilent)
{
    RKDBusNotifier(QStringLiteral("never-connected")).deliver("MOKUZA-FULL", "/a.zip", "no bus");
    notifier.deliver("MOKUZA-FULL", "/lost.zip", "lost");
    // A call the bus answers itself: everything sent before has been routed.
    QDBusConnection(QStringLiteral("notifier-client"))
        .call(QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                             "org.freedesktop.DBus", "GetId"));
    serve();
    notifier.deliver("MOKUZA-FULL", "/seen.zip", "seen");
    ASSERT_TRUE(TestEnvironment::waitFor([&] { return !fake.calls.isEmpty(); }));
    EXPECT_EQ(bodies(), QStringList{"/seen.zip\nseen"});
}

} // namespace

#include "RKDBusNotifierTest.moc"
