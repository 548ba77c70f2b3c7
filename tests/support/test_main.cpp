// One main for every suite: a QApplication (so windows can be driven on the
// offscreen platform) and settings that never touch the real user's files.
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "support/TestEnvironment.h"

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    // Settings and caches go to a private folder of this process.
    QTemporaryDir home;
    home.setAutoRemove(true);
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_CACHE_HOME", home.filePath(QStringLiteral("cache")).toUtf8());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());
    const QString runtime = home.filePath(QStringLiteral("runtime"));
    QDir().mkpath(runtime);
    QFile::setPermissions(runtime, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    qputenv("XDG_RUNTIME_DIR", runtime.toUtf8());
    // The unarchive runner clears the application's whole temporary folder at
    // every start; test processes running side by side must not share it.
    QDir().mkpath(home.filePath(QStringLiteral("tmp")));
    qputenv("TMPDIR", home.filePath(QStringLiteral("tmp")).toUtf8());
    QStandardPaths::setTestModeEnabled(true);
    // Test mode alone would send every suite to the same ~/.qttest folder.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                       home.filePath(QStringLiteral("config")));

    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("MOKUZA-test"));
    QApplication::setApplicationName(QStringLiteral("MOKUZA-FULL-test"));

    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
