#include "app/widgets/RKAppDelegate.h"

#include "app/RKDispatch.h"
#include "app/widgets/RKHelpLauncher.h"
#include "app/widgets/RKTopView.h"
#include "app/widgets/RKTopWindow.h"
#include "archive/widgets/RKProgressWindow.h"
#include "platform/RKAppInfo.h"
#include "platform/RKKeyStateSource.h"
#include "preferences/widgets/RKPreferenceWindow.h"
#include "results/widgets/RKProcessResultWindow.h"
#include "settings/RKPasswordProvider.h"
#include "settings/RKSetting.h"
#include "ui/RKWindowFit.h"
#include "ui/RKWindowPlacement.h"
#include "unarchive/widgets/RKUnArchiveProgressWindow.h"

#include <QApplication>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QWindow>

RKAppDelegate::RKAppDelegate(QObject* parent)
    : QObject(parent)
{
    // A first run stores the factory profiles before any request is handled.
    RKSetting::Setting();
    m_window = std::make_unique<RKTopWindow>(this);
    m_terminateAction = [] {
        // Queued, so that it also works before the event loop has started.
        QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit,
                                  Qt::QueuedConnection);
    };
    m_previousHost = RKJobHost::current();
    RKJobHost::setCurrent(this);
    m_keyStateTimer.setInterval(10);
    connect(&m_keyStateTimer, &QTimer::timeout, this, &RKAppDelegate::checkKeyState);
}

RKAppDelegate::~RKAppDelegate()
{
    if (RKJobHost::current() == this) {
        RKJobHost::setCurrent(m_previousHost);
    }
    m_archiver.reset();
    m_unArchiver.reset();
}

QObject* RKAppDelegate::mainWindow()
{
    return m_window.get();
}

RKArchiveRunner* RKAppDelegate::progressWindow()
{
    if (m_progressWindow == nullptr) {
        m_progressWindow = new RKProgressWindow(m_window.get());
    }
    return m_progressWindow;
}

RKUnArchiveRunner* RKAppDelegate::unArchveProgressWindow()
{
    if (m_unArchveProgressWindow == nullptr) {
        m_unArchveProgressWindow = new RKUnArchiveProgressWindow(m_window.get());
    }
    return m_unArchveProgressWindow;
}

RKResultDisplay* RKAppDelegate::processResultWindow()
{
    if (m_stopping) {
        return nullptr;
    }
    if (m_processResultWindow == nullptr) {
        m_processResultWindow = new RKProcessResultWindow(m_window.get());
    }
    return m_processResultWindow;
}

void RKAppDelegate::setTerminateAction(std::function<void()> action)
{
    m_terminateAction = std::move(action);
}

void RKAppDelegate::terminate()
{
    m_exitRequested = true;
    terminateIfIdle();
}

void RKAppDelegate::stopForSignal()
{
    if (m_stopping) {
        return;
    }
    m_stopping = true;
    m_pending.clear();
    if (m_progressWindow) {
        m_progressWindow->btCanselTouchUpInside();
    }
    if (m_unArchveProgressWindow && m_unArchveProgressWindow->isRunning()) {
        m_unArchveProgressWindow->cancel();
    }
    // A panel, prompt or result window would hold the job up; a runner
    // window ends by itself once its run has stopped.
    QWidget* modal = QApplication::activeModalWidget();
    if (modal && modal != m_progressWindow && modal != m_unArchveProgressWindow) {
        modal->close();
    }
    terminate();
}

void RKAppDelegate::terminateIfIdle()
{
    // A job asks to end the application before it reports that it has
    // finished, and items handed over by a later start may be waiting: the
    // application ends only when all of that is done.
    if (!m_exitRequested || m_terminated || m_jobRunning || !m_pending.isEmpty()) {
        return;
    }
    m_terminated = true;
    if (m_terminateAction) {
        m_terminateAction();
    }
}

void RKAppDelegate::applicationOpenFiles(const QStringList& paths, RKOpenRequest::Mode mode)
{
    m_isDockProcessing = true;
    const RKSetting setting = RKSetting::Setting();
    switch (RKDispatch::itemKind(mode, paths)) {
    case RKDispatch::ItemKindCompress:
        if (const auto profile = setting.archiveProfileWithID(setting.finderDragArchiveProfileID)) {
            doArchive(paths, *profile);
        }
        break;
    case RKDispatch::ItemKindExtract:
        if (const auto profile =
                setting.unArchiveProfileWithID(setting.finderDragUnArchiveProfileID)) {
            doUnArchive(paths, *profile);
        }
        break;
    default:
        showMixedItemsAlert(true);
        break;
    }
}

void RKAppDelegate::applicationDidFinishLaunching()
{
    if (m_isDockProcessing) {
        m_reserveExit = true;
    }
}

qint32 RKAppDelegate::checkItems(const QStringList& paths) const
{
    return RKDispatch::checkItems(paths);
}

void RKAppDelegate::showMixedItemsAlert(bool terminateAfterwards)
{
    auto* alert = new QMessageBox(m_window.get());
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setObjectName(QStringLiteral("mixedItemsAlert"));
    alert->setIcon(QMessageBox::Warning);
    alert->setWindowTitle(RKAppInfo::applicationTitle());
    alert->setText(QString::fromUtf16(u"エラー"));
    alert->setInformativeText(QString::fromUtf16(u"圧縮対象と解凍対象が混在しています"));
    alert->addButton(QStringLiteral("OK"), QMessageBox::AcceptRole);
    RKFitAlertToText(alert);
    alert->setWindowModality(Qt::WindowModal);
    if (terminateAfterwards) {
        connect(alert, &QMessageBox::finished, this, [this] { terminate(); });
    }
    alert->open();
}

void RKAppDelegate::doArchive(const QStringList& paths, const RKProfileSetting& profile)
{
    Request request;
    request.archive = true;
    request.paths = paths;
    request.archiveProfile = profile;
    enqueue(std::move(request));
}

void RKAppDelegate::doUnArchive(const QStringList& paths, const RKUnArchiveProfileSetting& profile)
{
    Request request;
    request.archive = false;
    request.paths = paths;
    request.unArchiveProfile = profile;
    enqueue(std::move(request));
}

void RKAppDelegate::enqueue(Request request)
{
    m_pending.append(std::move(request));
    scheduleNextRequest();
}

void RKAppDelegate::scheduleNextRequest()
{
    // The set-up runs on a later turn of the main loop, so that the drop or
    // the open-files call returns before any panel or window of the job, and
    // once the held keys can be known: a window just opened may not have the
    // keyboard focus yet, and some keyboards are seen only through it.
    if (m_jobRunning || m_nextScheduled || m_pending.isEmpty()) {
        return;
    }
    m_nextScheduled = true;
    m_keyStateWait.start();
    QTimer::singleShot(0, this, &RKAppDelegate::checkKeyState);
}

void RKAppDelegate::checkKeyState()
{
    if (!m_nextScheduled) {
        return;
    }
    const bool known = RKKeyStateSource::current()->knowsState(QGuiApplication::focusWindow());
    if (!known && m_keyStateWait.elapsed() < kKeyStateWaitMs) {
        m_keyStateTimer.start();
        return;
    }
    m_keyStateTimer.stop();
    m_nextScheduled = false;
    runNextRequest(known);
}

void RKAppDelegate::runNextRequest(bool keyStateKnown)
{
    if (m_jobRunning || m_pending.isEmpty()) {
        return;
    }
    const Request request = m_pending.takeFirst();
    m_keyStateKnown = keyStateKnown;
    if (keyStateKnown) {
        m_heldKeyFilter.ignore(RKKeyStateSource::current()->heldX11KeyCodes());
    }
    // Setting up may wait for the user (the manual password window runs its
    // own loop): a request handed over meanwhile must wait for this one
    // instead of starting a second job beside it.
    m_jobRunning = true;
    const bool started = request.archive
        ? innerDoArchive(request.paths, request.archiveProfile)
        : innerDoUnArchive(request.paths, request.unArchiveProfile);
    if (!started) {
        m_jobRunning = false;
        emit requestDropped();
        scheduleNextRequest();
        terminateIfIdle();
    }
}

bool RKAppDelegate::innerDoArchive(const QStringList& paths, const RKProfileSetting& profile)
{
    const RKSetting setting = RKSetting::Setting();
    const bool passwordHeld = m_keyStateKnown && RKDispatch::passwordCombinationHeld(setting);
    const RKProfileSetting chosen =
        (m_keyStateKnown ? RKDispatch::heldArchiveProfile(setting.archiveProfiles) : std::nullopt).value_or(profile);
    RKProfileSetting copy = chosen.copy();
    if (passwordHeld) {
        // The typed text becomes a fixed template for this job only; the
        // stored profile keeps its own password mode.
        copy.password = RKPasswordProvider::showPasswordDialog(m_window.get(), chosen);
        copy.passMode = RKProfileSetting::PassModeStatic;
    }
    const auto jobClass =
        RKDispatch::archiveJobClass(paths.size(), copy.archiveMode, copy.saveLocation);
    std::shared_ptr<RKArchiveBase> job = RKDispatch::makeArchiveJob(jobClass, paths, copy, m_window.get());
    if (!job) {
        return false;
    }
    m_archiver = job;
    m_jobRunning = true;
    connect(job.get(), &RKArchiveBase::finished, this, &RKAppDelegate::onJobFinished);
    emit jobStarted();
    job->startProcess();
    return true;
}

bool RKAppDelegate::innerDoUnArchive(const QStringList& paths,
                                     const RKUnArchiveProfileSetting& profile)
{
    const RKSetting setting = RKSetting::Setting();
    const RKUnArchiveProfileSetting chosen =
        (m_keyStateKnown ? RKDispatch::heldUnArchiveProfile(setting.unArchiveProfiles) : std::nullopt)
            .value_or(profile);
    const auto jobClass = RKDispatch::unArchiveJobClass(paths.size(), chosen.saveLocation);
    std::shared_ptr<RKUnArchiveBase> job =
        RKDispatch::makeUnArchiveJob(jobClass, paths, chosen, m_window.get());
    if (!job) {
        return false;
    }
    m_unArchiver = job;
    m_jobRunning = true;
    connect(job.get(), &RKUnArchiveBase::finished, this, &RKAppDelegate::onJobFinished);
    emit jobStarted();
    job->startProcess();
    return true;
}

void RKAppDelegate::onJobFinished()
{
    m_jobRunning = false;
    emit jobFinished();
    scheduleNextRequest();
    terminateIfIdle();
}

void RKAppDelegate::doPrefernces()
{
    if (!m_preferenceWindow) {
        m_preferenceWindow = new RKPreferenceWindow(m_window.get());
        m_preferenceWindow->adjustSize();
    }
    m_preferenceWindow->startDialog(m_window.get());
    RKCentreOver(m_preferenceWindow, m_window.get());
    m_preferenceWindow->setWindowModality(Qt::ApplicationModal);
    m_preferenceWindow->raise();
    m_preferenceWindow->activateWindow();
    m_preferenceWindow->exec();
    // The lists may have changed meanwhile: show them again, keeping what
    // each pop-up showed.
    m_window->topView()->reloadProfilePopUps();
}

void RKAppDelegate::doHelp()
{
    RKHelpLauncher::openHelpPage(m_window.get());
}
