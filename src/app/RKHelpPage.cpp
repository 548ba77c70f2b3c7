#include "app/RKHelpPage.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

const QString kRelativePage = QStringLiteral("mokuza-full/help/index.html");

} // namespace

QStringList RKHelpPage::candidatePaths(const QString& applicationDir)
{
    const QDir dir(applicationDir);
    QStringList paths{
        // build tree: the page is copied next to the executable
        QDir::cleanPath(dir.filePath(QStringLiteral("help/index.html"))),
        // installed: <prefix>/bin/mokuza-full and <prefix>/share/mokuza-full/help
        QDir::cleanPath(dir.filePath(QStringLiteral("../share/") + kRelativePage)),
    };
    for (const QString& dataDir :
         QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation)) {
        paths.append(QDir::cleanPath(QDir(dataDir).filePath(kRelativePage)));
    }
    paths.removeDuplicates();
    return paths;
}

QString RKHelpPage::helpFilePath(const QString& applicationDir)
{
    for (const QString& path : candidatePaths(applicationDir)) {
        if (QFileInfo(path).isFile()) {
            return path;
        }
    }
    return QString();
}

QUrl RKHelpPage::helpUrl()
{
    const QString path = helpFilePath(QCoreApplication::applicationDirPath());
    return path.isEmpty() ? QUrl() : QUrl::fromLocalFile(path);
}
