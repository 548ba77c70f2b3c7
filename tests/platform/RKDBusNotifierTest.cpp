#include "platform/RKDBusNotifier.h"
#include "support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <mutex>
#include <thread>

namespace {

// A notification server that records what it is told.
class FakeNotifications : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    struct Call {
        QString appName;
        uint replacesId = 0;
        QString appIcon;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints;
        int expireTimeout = 0;
    };
    QList<Call> calls;

public slots:
    uint Notify(const QString& appName, uint replacesId, const QString& appIcon,
                const QString& summary, const QString& body, const QStringList& actions,
                const QVariantMap& hints, int expireTimeout)
    {
        calls.append({appName, replacesId, appIcon, summary, body, actions, hints, expireTimeout});
        return uint(calls.size());
    }
};

// A private message bus of this test only, with no services that could be
// started on demand.
class PrivateBus
{
public:
    PrivateBus()
    {
        const QString config = m_dir.filePath(QStringLiteral("bus.conf"));
        TestEnvironment::writeFile(
            config,
            "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
            " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
            "<busconfig><type>session</type><listen>unix:tmpdir=" + m_dir.path().toUtf8() +
            "</listen><policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
            "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n");
        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--config-file=") + config, QStringLiteral("--nofork"),
                        QStringLiteral("--print-address=1")});
        if (m_daemon.waitForStarted() && m_daemon.waitForReadyRead(10000)) {
            address = QString::fromUtf8(m_daemon.readLine().trimmed());
        }
    }
    ~PrivateBus()
    {
        for (const QString& name : m_connections) {
            QDBusConnection::disconnectFromBus(name);
        }
        m_daemon.kill();
        m_daemon.waitForFinished();
    }

    QDBusConnection connect(const QString& name)
    {
        m_connections.append(name);
        return QDBusConnection::connectToBus(address, name);
    }

    QString address;

private:
    QTemporaryDir m_dir;
    QProcess m_daemon;
    QStringList m_connections;
};

class RKDBusNotifierTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_FALSE(bus.address.isEmpty()) << "dbus-daemon did not start";
        client = bus.connect(QStringLiteral("notifier-client"));
        ASSERT_TRUE(client.isConnected());
    }

    void serve()
    {
        server = bus.connect(QStringLiteral("notification-server"));
        ASSERT_TRUE(server.registerObject(QStringLiteral("/org/freedesktop/Notifications"), &fake,
                                          QDBusConnection::ExportAllSlots));
        ASSERT_TRUE(server.registerService(QStringLiteral("org.freedesktop.Notifications")));
    }

    // A call answered by the bus itself: everything the client sent before
    // has been routed once it returns.
    void flushClient()
    {
        client.call(QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId")));
    }

    PrivateBus bus;
    QDBusConnection client{QString()};
    QDBusConnection server{QString()};
    FakeNotifications fake;
};

TEST_F(RKDBusNotifierTest, DeliversTitleSubtitleAndInformativeText)
{
    serve();
    RKDBusNotifier notifier(QStringLiteral("notifier-client"));
    notifier.deliver(QStringLiteral("MOKUZA-FULL"), QStringLiteral("/home/u/a & <b>.zip"),
                     QStringLiteral("圧縮が完了しました"));
    ASSERT_TRUE(TestEnvironment::waitFor([&] { return fake.calls.size() == 1; }));

    const FakeNotifications::Call& call = fake.calls.first();
    EXPECT_EQ(call.appName, QStringLiteral("MOKUZA-FULL"));
    EXPECT_EQ(call.replacesId, 0u);
    EXPECT_EQ(call.summary, QStringLiteral("MOKUZA-FULL"));
    // The body is read as markup by most servers; the path must survive it.
    EXPECT_EQ(call.body, QStringLiteral("/home/u/a &amp; &lt;b&gt;.zip\n圧縮が完了しました"));
    EXPECT_TRUE(call.actions.isEmpty());
    EXPECT_EQ(call.expireTimeout, -1);
    EXPECT_EQ(call.hints.value(QStringLiteral("desktop-entry")).toString(), QStringLiteral("mokuza-full"));
}

TEST_F(RKDBusNotifierTest, DeliversFromWorkerThreads)
{
    serve();
    RKDBusNotifier notifier(QStringLiteral("notifier-client"));
    std::thread first([&] { notifier.deliver("MOKUZA-FULL", "/a.zip", "one"); });
    std::thread second([&] { notifier.deliver("MOKUZA-FULL", "/b.zip", "two"); });
    first.join();
    second.join();
    ASSERT_TRUE(TestEnvironment::waitFor([&] { return fake.calls.size() == 2; }));
    QStringList bodies{fake.calls[0].body, fake.calls[1].body};
    bodies.sort();
    EXPECT_EQ(bodies, (QStringList{"/a.zip\none", "/b.zip\ntwo"}));
}

TEST_F(RKDBusNotifierTest, EmptySubtitleLeavesNoBlankLine)
{
    serve();
    RKDBusNotifier notifier(QStringLiteral("notifier-client"));
    notifier.deliver("MOKUZA-FULL", QString(), "done");
    ASSERT_TRUE(TestEnvironment::waitFor([&] { return fake.calls.size() == 1; }));
    EXPECT_EQ(fake.calls.first().body, QStringLiteral("done"));
}

TEST_F(RKDBusNotifierTest, NoServerIsSilentAndNothingIsReplayedLater)
{
    RKDBusNotifier notifier(QStringLiteral("notifier-client"));
    notifier.deliver("MOKUZA-FULL", "/lost.zip", "lost");
    flushClient();
    serve();
    notifier.deliver("MOKUZA-FULL", "/seen.zip", "seen");
    ASSERT_TRUE(TestEnvironment::waitFor([&] { return !fake.calls.isEmpty(); }));
    flushClient();
    QCoreApplication::processEvents();
    ASSERT_EQ(fake.calls.size(), 1);
    EXPECT_EQ(fake.calls.first().body, QStringLiteral("/seen.zip\nseen"));
}

TEST(RKDBusNotifier, NoBusIsSilent)
{
    RKDBusNotifier notifier(QStringLiteral("never-connected"));
    notifier.deliver("MOKUZA-FULL", "/a.zip", "done"); // returns without a bus
    SUCCEED();
}

} // namespace

#include "RKDBusNotifierTest.moc"
