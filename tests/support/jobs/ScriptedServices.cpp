#include "support/jobs/ScriptedServices.h"

#include <QCoreApplication>
#include <QThread>

void ScriptedPanelService::script(const QStringList& answers)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_answers = answers;
}

void ScriptedPanelService::setResponder(std::function<QString(const Call&)> responder)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_responder = std::move(responder);
}

QList<ScriptedPanelService::Call> ScriptedPanelService::calls() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
}

QString ScriptedPanelService::answer(const Call& call)
{
    std::function<QString(const Call&)> responder;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_calls.append(call);
        if (!m_responder) {
            return m_answers.isEmpty() ? QString() : m_answers.takeFirst();
        }
        responder = m_responder;
    }
    return responder(call);
}

QString ScriptedPanelService::showModalSavePanel(QObject*, const QString& title,
                                                 const QString& message, const QString& url,
                                                 const QStringList& types)
{
    Call call;
    call.save = true;
    call.title = title;
    call.message = message;
    call.url = url;
    call.types = types;
    call.onMainThread = QThread::currentThread() == QCoreApplication::instance()->thread();
    return answer(call);
}

QString ScriptedPanelService::showModalOpenPanel(QObject*, const QString& title,
                                                 const QString& message, const QString& url,
                                                 int selectMode)
{
    Call call;
    call.save = false;
    call.title = title;
    call.message = message;
    call.url = url;
    call.selectMode = selectMode;
    call.onMainThread = QThread::currentThread() == QCoreApplication::instance()->thread();
    return answer(call);
}

QString ScriptedPasswordPrompt::showPasswordDialog(QObject*, const RKProfileSetting& profile)
{
    archivePromptProfiles.append(profile);
    return archiveAnswers.isEmpty() ? QStringLiteral("") : archiveAnswers.takeFirst();
}

QString ScriptedPasswordPrompt::askUnArchivePassword(QObject*, const QString& archivePath,
                                                    int attempt)
{
    ++unArchivePromptCount;
    unArchivePrompts.append(QStringLiteral("%1 %2").arg(archivePath).arg(attempt));
    return unArchiveAnswers.isEmpty() ? QStringLiteral("") : unArchiveAnswers.takeFirst();
}

void CapturingNotifier::deliver(const QString& title, const QString& subtitle,
                                const QString& informativeText, const QString& showItemPath)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_delivered.append({title, subtitle, informativeText, showItemPath});
}

QList<CapturingNotifier::Notification> CapturingNotifier::delivered() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_delivered;
}

void CapturingResultDisplay::showResults(QObject*, const QList<RKProcessResultInfo>& results)
{
    shown.append(results);
}

ScriptedServices::ScriptedServices()
    : m_previousPanels(RKPanelService::current())
    , m_previousPrompt(RKPasswordPrompt::current())
    , m_previousNotifier(RKNotifier::current())
    , m_previousHost(RKJobHost::current())
{
    RKPanelService::setCurrent(&panels);
    RKPasswordPrompt::setCurrent(&passwords);
    RKNotifier::setCurrent(&notifier);
    RKJobHost::setCurrent(&host);
}

ScriptedServices::~ScriptedServices()
{
    RKPanelService::setCurrent(m_previousPanels);
    RKPasswordPrompt::setCurrent(m_previousPrompt);
    RKNotifier::setCurrent(m_previousNotifier);
    RKJobHost::setCurrent(m_previousHost);
}
