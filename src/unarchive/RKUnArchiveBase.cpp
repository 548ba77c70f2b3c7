#include "unarchive/RKUnArchiveBase.h"

#include "platform/RKAppInfo.h"
#include "platform/RKJobHost.h"
#include "platform/RKPanelService.h"
#include "platform/RKTaskbarProgress.h"
#include "results/RKResultDisplay.h"
#include "unarchive/RKUnArchiveRunner.h"

#include <QFile>
#include <QFileInfo>
#include <QMetaObject>
#include <QTimer>

#include <sys/stat.h>

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
    m_missing.clear();
    QStringList present;
    for (const QString& item : std::as_const(m_items)) {
        struct stat st;
        if (::lstat(QFile::encodeName(item).constData(), &st) == 0) {
            present.append(item);
        } else {
            m_missing.append(RQError::initWithUnArchiverErrorCode(1, item));
        }
    }
    m_items = present;
    if (!m_missing.isEmpty() && m_items.isEmpty()) {
        RKProcessResultInfo result;
        result.title = QFileInfo(m_missing.constFirst().localizedRecoverySuggestion()).fileName();
        result.errors.items = m_missing;
        showResults({result});
        return;
    }
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
        result.cancelled = runner->wasCancelled();
        results.append(result);
        ++m_indexOfPaths;
    }
    RKTaskbarProgress::endOfJob();
    if (!results.isEmpty()) {
        results.first().errors.items = m_missing + results.first().errors.items;
    }
    showResults(results);
}

void RKUnArchiveBase::showResults(const QList<RKProcessResultInfo>& results)
{
    RKJobHost* host = RKJobHost::current();
    if (RKResultDisplay* display = host ? host->processResultWindow() : nullptr) {
        display->showResults(m_window, results);
    }
    if (host && host->reserveExit()) {
        host->terminate();
    }
    postFinished();
}
