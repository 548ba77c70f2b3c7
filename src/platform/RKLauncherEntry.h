#pragma once

#include "platform/RKTaskbarProgress.h"

#include <QString>
#include <QVariantMap>

// Shows a job's progress on the application's task-bar or dock entry with the
// launcher-entry signal that Plasma's task manager and the GNOME and Ubuntu
// docks listen to: com.canonical.Unity.LauncherEntry.Update on the session
// bus, naming the desktop entry, with the share of the whole job done
// ("progress") and the number of archives left ("count"). A signal goes to
// whoever listens; where nobody does, or there is no session bus, nothing
// happens. Main thread.
class RKLauncherEntry : public RKTaskbarProgress
{
public:
    // connectionName: a connection made with QDBusConnection::connectToBus;
    // empty: the session bus.
    explicit RKLauncherEntry(const QString& connectionName = QString());
    // Clears what is still shown.
    ~RKLauncherEntry() override;

    void archiveStarting(qsizetype index, qsizetype count) override;
    void archiveProgress(double share) override;
    void jobEnded() override;

    // "application://mokuza-full.desktop"
    static QString appUri();
    // The properties of an Update while archive index of count is share done;
    // count < 1: the job has ended and nothing is shown.
    static QVariantMap properties(qsizetype index, qsizetype count, double share);

private:
    void publish();

    QString m_connectionName;
    qsizetype m_index = 0;
    qsizetype m_count = 0;
    double m_share = 0.0;
    // What was sent last: a display gains nothing from signals that change
    // less than a step of its bar.
    int m_sentPermille = -1;
    qsizetype m_sentLeft = -1;
};
