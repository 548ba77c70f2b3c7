#pragma once

// Stand-ins for the app suite: a keyboard whose held keys a test decides,
// runners that record what they were asked to make, and an application
// delegate that uses them instead of the real windows.

#include "app/widgets/RKAppDelegate.h"
#include "archive/RKArchiveRunner.h"
#include "platform/RKKeyStateSource.h"
#include "support/jobs/ScriptedServices.h"
#include "unarchive/RKUnArchiveRunner.h"

#include <QList>
#include <QSet>
#include <QStringList>

#include <functional>
#include <ostream>

// Readable texts in the messages of failed expectations.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

// Keys held as the test says; counts the questions so a test can tell that
// nothing was sampled. Installed for its lifetime.
class ScriptedKeyState : public RKKeyStateSource
{
public:
    ScriptedKeyState() { RKKeyStateSource::setCurrent(this); }
    ~ScriptedKeyState() override { RKKeyStateSource::setCurrent(nullptr); }
    bool isKeyHeld(int virtualKeyCode) override
    {
        ++questions;
        return held.contains(virtualKeyCode);
    }
    bool knowsState(const QObject*) override { return known; }
    QSet<int> held;
    bool known = true;
    int questions = 0;
};

class RecordingArchiveRunner : public RKArchiveRunner
{
public:
    struct Run {
        QStringList filePaths;
        RKProfileSetting profile;
        QString url;
    };
    QList<Run> runs;
    std::function<void(const Run&)> onRun;

    void runArchive(QObject*, const QStringList& filePaths, const RKProfileSetting& profile,
                    const QString& url) override
    {
        runs.append(Run{filePaths, profile, url});
        if (onRun) {
            onRun(runs.last());
        }
    }
    QString usedPassword() const override { return runs.isEmpty() ? QString() : runs.last().profile.password; }
    QList<RQError> errors() const override { return {}; }
};

class RecordingUnArchiveRunner : public RKUnArchiveRunner
{
public:
    QList<RKUnArchiveProfileSetting> runs; // the profile of every archive extracted

    void runUnArchive(QObject*, const QString&, const RKUnArchiveProfileSetting& profile,
                      const QString&) override
    {
        runs.append(profile);
    }
    QList<RQError> errors() const override { return {}; }
    QString usedPassword() const override { return QString(); }
};

// The real delegate and drop window with recording runners and a capturing
// result display; ending the application is only counted.
class TestAppDelegate : public RKAppDelegate
{
public:
    TestAppDelegate();

    RKArchiveRunner* progressWindow() override { return &archiveRunner; }
    RKUnArchiveRunner* unArchveProgressWindow() override { return &unArchiveRunner; }
    RKResultDisplay* processResultWindow() override { return &results; }

    // Waits until no job runs and no request waits.
    bool waitUntilIdle();

    RecordingArchiveRunner archiveRunner;
    RecordingUnArchiveRunner unArchiveRunner;
    CapturingResultDisplay results;
    int terminateCount = 0;
};
