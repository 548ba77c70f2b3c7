#include "platform/RKDBusNotifier.h"
#include "platform/RKFileManager.h"
#include "support/FakeFileManager.h"
#include "support/PrivateSessionBus.h"
#include "support/TestEnvironment.h"

#include <QCoreApplication>
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
    QStringList capabilities{"body"};

public slots:
    QStringList GetCapabilities() { return capabilities; }

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
    RKDBusNotifier(QStringLiteral("never-connected")).deliver("MOKUZA-FULL", "/a.zip", "no bus", "/a.zip");
    notifier.deliver("MOKUZA-FULL", "/lost.zip", "lost", "/lost.zip");
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
    fake.capabilities.append("actions"); // not offered without offerShowItemAction()
    notifier.deliver(QStringLiteral("MOKUZA-FULL"), QStringLiteral("/home/u/a & <b>.zip"),
                     QStringLiteral("圧縮が完了しました"), QStringLiteral("/home/u/a & <b>.zip"));
    ASSERT_TRUE(TestEnvironment::waitFor([&] { return fake.calls.size() == 1; }));
    std::thread first([&] { notifier.deliver("MOKUZA-FULL", "/b.zip", "two", QString()); });
    std::thread second([&] { notifier.deliver("MOKUZA-FULL", QString(), "three", QString()); });
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

struct ActionRow {
    const char* name;
    QStringList capabilities;
    const char* showItemPath;
    bool offered;
};

class NotificationAction : public ::testing::TestWithParam<ActionRow> {};

// The 「フォルダを開く」 action goes only to a server that has actions, only
// with an item to show; picking it (after the server's activation token)
// makes the file manager show the item selected. Another notification's
// action shows nothing.
TEST_P(NotificationAction, OfferedWhereTheServerHasActionsAndShowsTheItem)
{
    const ActionRow& row = GetParam();
    PrivateSessionBus bus;
    ASSERT_TRUE(bus.connect("client") && bus.connect("server"));
    FakeNotifications server;
    server.capabilities = row.capabilities;
    QDBusConnection serverConnection("server");
    ASSERT_TRUE(serverConnection.registerObject("/org/freedesktop/Notifications", &server,
                                                QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(serverConnection.registerService("org.freedesktop.Notifications"));
    FakeFileManager fileManagerService;
    ASSERT_TRUE(fileManagerService.serveOn("server"));
    RKFileManager fileManager("client");
    RKFileManager::setCurrent(&fileManager);

    RKDBusNotifier notifier("client");
    notifier.offerShowItemAction();
    std::thread worker([&] { notifier.deliver("MOKUZA-FULL", "/in/a.zip", "解凍が完了しました", row.showItemPath); });
    worker.join();
    ASSERT_TRUE(TestEnvironment::waitFor([&] { return server.calls.size() == 1; }));
    EXPECT_EQ(server.calls[0][5].toStringList(),
              row.offered ? RKDBusNotifier::showItemActions() : QStringList());

    const auto signal = [&](const char* name, const QVariantList& arguments) {
        QDBusMessage message = QDBusMessage::createSignal("/org/freedesktop/Notifications",
                                                          "org.freedesktop.Notifications", name);
        message.setArguments(arguments);
        serverConnection.send(message);
    };
    signal("ActionInvoked", {uint(99), QString("show-folder")}); // not ours
    signal("ActivationToken", {uint(1), QString("token-1")});
    signal("ActionInvoked", {uint(1), QString("show-folder")});
    if (row.offered) {
        ASSERT_TRUE(TestEnvironment::waitFor([&] { return !fileManagerService.calls.isEmpty(); }));
        EXPECT_EQ(fileManagerService.calls[0].uris, QStringList{"file:///out/%E8%B3%87%E6%96%99%20b"});
        EXPECT_EQ(fileManagerService.calls[0].startupId, "token-1");
    }
    // Anything still on its way has arrived once the bus answered this.
    QDBusConnection("client").call(QDBusMessage::createMethodCall(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId"));
    QCoreApplication::processEvents();
    EXPECT_EQ(fileManagerService.calls.size(), row.offered ? 1 : 0);
    RKFileManager::setCurrent(nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Platform, NotificationAction,
    ::testing::Values(ActionRow{"ServerWithActions", {"body", "actions"}, "/out/資料 b", true},
                      ActionRow{"ServerWithoutActions", {"body"}, "/out/資料 b", false},
                      ActionRow{"NothingToShow", {"actions"}, "", false}),
    [](const auto& info) { return std::string(info.param.name); });

} // namespace

#include "RKDBusNotifierTest.moc"
