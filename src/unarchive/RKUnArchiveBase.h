#pragma once

#include "results/RKProcessResultInfo.h"
#include "settings/RKUnArchiveProfileSetting.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <memory>

// An unarchive job: decides one destination folder per dropped archive, runs
// the unarchive runner once per archive, one after the other, and shows one
// result window. The subclasses decide the destinations only. Always made
// with std::make_shared; every deferred step keeps the job alive. Main thread.
class RKUnArchiveBase : public QObject, public std::enable_shared_from_this<RKUnArchiveBase>
{
    Q_OBJECT

public:
    // items: the archives, absolute paths in the order received; window: the
    // main window, parent of the chooser and centre of the job's windows.
    RKUnArchiveBase(const QStringList& items, const RKUnArchiveProfileSetting& profile,
                    QObject* window);
    ~RKUnArchiveBase() override;

    // Archives that do not exist are taken out first, before any panel, and
    // listed as errors (unarchiver code 1) in the first result; when none is
    // left, nothing is asked and the results show just those errors.
    void startProcess();

    const QStringList& items() const { return m_items; }
    const RKUnArchiveProfileSetting& profile() const { return m_profile; }
    QObject* window() const { return m_window; }
    const QStringList& savePaths() const { return m_savePaths; }
    int indexOfPaths() const { return m_indexOfPaths; }

signals:
    // The job is completely done: its result window closed, or it stopped
    // because the folder chooser was cancelled. Sent on a later turn of the
    // main loop than startProcess().
    void finished();

protected:
    // Decides the destinations and hands them to postDecisionSavePaths(), or
    // calls stopProcess() when the user cancelled.
    virtual void prepareSavePaths();

    // Runs decisionSavePaths() on the next turn of the main loop.
    void postDecisionSavePaths(const QStringList& savePaths);
    // Ends the job without extracting anything.
    void stopProcess();

    // Asks for one destination folder; an empty string when cancelled. message
    // holds "%1" for the full path of the first archive.
    QString askDestinationFolder(const QString& message) const;

    // The folder that holds an archive ("/" for an archive at the root).
    static QString holdingFolder(const QString& path);

private:
    // Extracts every archive and shows the results.
    void decisionSavePaths(const QStringList& savePaths);
    void showResults(const QList<RKProcessResultInfo>& results);
    void postFinished();

    QStringList m_items;
    RKUnArchiveProfileSetting m_profile;
    QPointer<QObject> m_window;
    QStringList m_savePaths;
    QList<RQError> m_missing; // archives that did not exist
    int m_indexOfPaths = 0;
};
