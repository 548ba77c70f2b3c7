#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

// Where the Japanese help page that ships with the application is: beside
// the executable in the build tree, under share/ when installed.
class RKHelpPage
{
public:
    // The places looked at, in order, for an executable in applicationDir.
    static QStringList candidatePaths(const QString& applicationDir);

    // The first candidate that exists; empty when there is none.
    static QString helpFilePath(const QString& applicationDir);

    // helpFilePath() for the running executable as a file URL; invalid when
    // the page is missing.
    static QUrl helpUrl();
};
