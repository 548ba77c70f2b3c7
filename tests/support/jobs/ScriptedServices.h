#pragma once

#include "platform/RKJobHost.h"
#include "platform/RKNotifier.h"
#include "platform/RKPanelService.h"
#include "results/RKProcessResultInfo.h"
#include "results/RKResultDisplay.h"
#include "settings/RKPasswordPrompt.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <mutex>

// Stand-ins for the user, so jobs run headless: panels and password prompts
// answer from a script, notifications and result windows are captured.
// ScriptedServices installs them all for the lifetime of the object.

class ScriptedPanelService : public RKPanelService
{
public:
    struct Call {
        bool save = true;          // save panel, else open panel
        QString title;
        QString message;
        QString url;
        QStringList types;
        int selectMode = -1;
        bool onMainThread = true;
    };

    // Answers in order; a null QString answers "cancelled". When the script
    // runs out, every further panel is cancelled.
    void script(const QStringList& answers);
    // Alternatively, decide each answer from the call.
    void setResponder(std::function<QString(const Call&)> responder);

    QList<Call> calls() const;

    QString showModalSavePanel(QObject* parent, const QString& title, const QString& message,
                               const QString& url, const QStringList& types) override;
    QString showModalOpenPanel(QObject* parent, const QString& title, const QString& message,
                               const QString& url, int selectMode) override;

private:
    QString answer(const Call& call);

    mutable std::mutex m_mutex;
    QStringList m_answers;
    std::function<QString(const Call&)> m_responder;
    QList<Call> m_calls;
};

class ScriptedPasswordPrompt : public RKPasswordPrompt
{
public:
    QStringList archiveAnswers;   // consumed in order; "" when exhausted
    QStringList unArchiveAnswers; // consumed in order; "" when exhausted
    QList<RKProfileSetting> archivePromptProfiles; // one per manual password window shown
    int unArchivePromptCount = 0;
    QStringList unArchivePrompts; // "<archive> <attempt>", one per prompt shown

    QString showPasswordDialog(QObject* window, const RKProfileSetting& profile) override;
    QString askUnArchivePassword(QObject* runnerWindow, const QString& archivePath,
                                 int attempt) override;
};

class CapturingNotifier : public RKNotifier
{
public:
    struct Notification {
        QString title;
        QString subtitle;
        QString informativeText;
        QString showItemPath;
    };

    void deliver(const QString& title, const QString& subtitle, const QString& informativeText,
                 const QString& showItemPath) override;
    QList<Notification> delivered() const;

private:
    mutable std::mutex m_mutex;
    QList<Notification> m_delivered;
};

class CapturingResultDisplay : public RKResultDisplay
{
public:
    QList<QList<RKProcessResultInfo>> shown; // one entry per result window shown

    void showResults(QObject* centreOver, const QList<RKProcessResultInfo>& results) override;
};

class TestJobHost : public RKJobHost
{
public:
    QObject* window = nullptr;
    bool reserve = false;
    int terminateCalls = 0;
    RKArchiveRunner* archiveRunner = nullptr;     // set by the test
    RKUnArchiveRunner* unArchiveRunner = nullptr; // set by the test
    CapturingResultDisplay results;

    QObject* mainWindow() override { return window; }
    bool reserveExit() const override { return reserve; }
    void terminate() override { ++terminateCalls; }
    RKArchiveRunner* progressWindow() override { return archiveRunner; }
    RKUnArchiveRunner* unArchveProgressWindow() override { return unArchiveRunner; }
    RKResultDisplay* processResultWindow() override { return &results; }
};

// Installs a panel service, password prompt, notifier and job host for the
// lifetime of the object, and puts back what was installed before.
class ScriptedServices
{
public:
    ScriptedServices();
    ~ScriptedServices();

    ScriptedServices(const ScriptedServices&) = delete;
    ScriptedServices& operator=(const ScriptedServices&) = delete;

    ScriptedPanelService panels;
    ScriptedPasswordPrompt passwords;
    CapturingNotifier notifier;
    TestJobHost host;

private:
    RKPanelService* m_previousPanels;
    RKPasswordPrompt* m_previousPrompt;
    RKNotifier* m_previousNotifier;
    RKJobHost* m_previousHost;
};
