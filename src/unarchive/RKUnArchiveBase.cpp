#include "unarchive/RKUnArchiveBase.h"

#include "platform/RKAppInfo.h"
#include "platform/RKJobHost.h"
#include "platform/RKPanelService.h"
#include "platform/RKTaskbarProgress.h"
#include "results/RKResultDisplay.h"
#include "unarchive/RKUnArchiveRunner.h"

#include <QFileInfo>
#include <QMetaObject>
#include <QTimer>

RKUnArchiveBase::RKUnArchiveBase(const QStringList& items, const RKUnArchiveProfileSetting& profile,
                                 QObject* window)
    : m_items(items)
    , m_profile(profile)
    , m_window(window)
{
}

RKUnArchiveBase::~RKUnArchiveBase() = default;

void RKUnArchiveBase::startProcess()
{
    prepareSavePaths();
}

void RKUnArchiveBase::prepareSavePaths()
{
}

void RKUnArchiveBase::postDecisionSavePaths(const QStringList& savePaths)
{
    QMetaObject::invokeMethod(
        this, [self = shared_from_this(), savePaths] { self->decisionSavePaths(savePaths); },
        Qt::QueuedConnection);
}

void RKUnArchiveBase::stopProcess()
{
    postFinished();
}

void RKUnArchiveBase::postFinished()
{
    // Whoever started the job may start the next request from finished();
    // never do that from inside startProcess() or a modal loop's caller.
    QTimer::singleShot(0, this, [self = shared_from_this()] { emit self->finished(); });
}

QString RKUnArchiveBase::askDestinationFolder(const QString& message) const
{
    const QString first = m_items.value(0);
    return showModalOpenPanel(m_window, RKAppInfo::applicationTitle(), message.arg(first),
                              holdingFolder(first), 1);
}

QString RKUnArchiveBase::holdingFolder(const QString& path)
{
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    return slash <= 0 ? QStringLiteral("/") : path.left(slash);
}

void RKUnArchiveBase::decisionSavePaths(const QStringList& savePaths)
{
    m_savePaths = savePaths;
    RKJobHost* host = RKJobHost::current();
    RKUnArchiveRunner* runner = host ? host->unArchveProgressWindow() : nullptr;
    if (!runner) {
        postFinished();
        return;
    }

    QList<RKProcessResultInfo> results;
    for (qsizetype i = 0; i < m_savePaths.size(); ++i) {
        const QString archive = m_items.value(i);
        RKTaskbarProgress::startingArchive(i, m_savePaths.size());
        runner->runUnArchive(m_window, archive, m_profile, m_savePaths[i]);

        RKProcessResultInfo result;
        result.title = QFileInfo(archive).fileName();
        result.destPath.stringValue = m_savePaths[i];
        result.errors.items = runner->errors();
        results.append(result);
        ++m_indexOfPaths;
    }
    RKTaskbarProgress::endOfJob();

    if (RKResultDisplay* display = host->processResultWindow()) {
        display->showResults(m_window, results);
    }
    if (host->reserveExit()) {
        host->terminate();
    }
    postFinished();
}
