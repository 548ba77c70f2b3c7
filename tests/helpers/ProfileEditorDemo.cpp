// The two profile editors, to be looked at (and photographed) on a real
// display: the archive editor on the factory profile "Mac To Win（日付：
// YYYYMMDD）" and the unarchive editor on "Win To Mac", each with a key
// combination. With the argument "archive" or "unarchive" only that one is
// shown. Prints the geometry of each editor shown, so a script can find it.
// Not part of the application.
#include "settings/RKSetting.h"
#include "ui/RKProfileWindow.h"
#include "ui/RKTranslations.h"
#include "ui/RKUnArchiveProfileWindow.h"

#include <QApplication>
#include <QTimer>

#include <cstdio>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    RKTranslations::install(app);
    const RKSetting factory;
    const QStringList arguments = app.arguments();
    const bool showArchive = !arguments.contains(QStringLiteral("unarchive"));
    const bool showUnArchive = !arguments.contains(QStringLiteral("archive"));
    QList<QWidget*> shown;

    auto archive = std::make_shared<RKProfileSetting>(factory.archiveProfiles.at(2));
    archive->profileShotcutCode = 1; // S
    archive->profileShotcutFlags = 0x20000;
    RKProfileWindow archiveWindow;
    archiveWindow.setTargetProfile(archive);
    archiveWindow.move(20, 20);
    if (showArchive) {
        archiveWindow.show();
        shown.append(&archiveWindow);
    }

    auto unArchive = std::make_shared<RKUnArchiveProfileSetting>(factory.unArchiveProfiles.at(0));
    unArchive->profileShotcutCode = 96; // F5
    unArchive->profileShotcutFlags = 0x40000;
    RKUnArchiveProfileWindow unArchiveWindow;
    unArchiveWindow.setTargetProfile(unArchive);
    unArchiveWindow.move(20, showArchive ? archiveWindow.frameGeometry().bottom() + 20 : 20);
    if (showUnArchive) {
        unArchiveWindow.show();
        shown.append(&unArchiveWindow);
    }

    QTimer::singleShot(500, &app, [&] {
        for (const QWidget* window : shown) {
            const QRect frame = window->frameGeometry();
            std::printf("%d %d %d %d\n", frame.x(), frame.y(), frame.width(), frame.height());
        }
        std::fflush(stdout);
    });
    return app.exec();
}
