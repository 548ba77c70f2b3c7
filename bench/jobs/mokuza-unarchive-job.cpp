// mokuza-unarchive-job: one whole unarchive job, headless, for timing it.
//
//   mokuza-unarchive-job ARCHIVE OUTDIR [--encoding N] [--new-folder]
//
// Runs the one-archive fixed-folder job with the real runner window on the
// offscreen platform: extraction into the working folder under $TMPDIR, the
// runner's progress handling, then the placement of every item into OUTDIR
// (as is, or into a new folder named after the archive with --new-folder).
// Prints the elapsed milliseconds and the number of placed items; exit status
// 1 when the job reported errors, 2 for bad usage.
#include "platform/RKJobHost.h"
#include "platform/RKNotifier.h"
#include "results/RKResultDisplay.h"
#include "unarchive/RKUnArchiveSingleStaticFolder.h"
#include "unarchive/widgets/RKUnArchiveProgressWindow.h"

#include <QApplication>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFileInfo>

#include <cstdio>
#include <memory>

namespace {

class SilentNotifier : public RKNotifier
{
public:
    void deliver(const QString&, const QString&, const QString&, const QString&) override {}
};

class BenchHost : public RKJobHost, public RKResultDisplay
{
public:
    QObject* mainWindow() override { return nullptr; }
    bool reserveExit() const override { return false; }
    void terminate() override {}
    RKArchiveRunner* progressWindow() override { return nullptr; }
    RKUnArchiveRunner* unArchveProgressWindow() override
    {
        if (!runner) {
            runner = std::make_unique<RKUnArchiveProgressWindow>();
        }
        return runner.get();
    }
    RKResultDisplay* processResultWindow() override { return this; }
    void showResults(QObject*, const QList<RKProcessResultInfo>& shown) override { results = shown; }

    std::unique_ptr<RKUnArchiveProgressWindow> runner;
    QList<RKProcessResultInfo> results;
};

// The offscreen platform's remarks about raising windows are of no interest.
void quiet(QtMsgType, const QMessageLogContext&, const QString&) {}

int usage()
{
    std::fputs("usage: mokuza-unarchive-job ARCHIVE OUTDIR [--encoding N] [--new-folder]\n", stderr);
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    qInstallMessageHandler(quiet);
    QApplication app(argc, argv);

    QStringList arguments = QCoreApplication::arguments().mid(1);
    RKUnArchiveProfileSetting profile = RKUnArchiveProfileSetting::DefaultSetting();
    profile.unArchiveMode = RKUnArchiveProfileSetting::UnArchiveModeAsIs;
    profile.sameFileName = 1; // overwrite: never ask
    profile.saveLocation = 2;
    const qsizetype encodingAt = arguments.indexOf(QStringLiteral("--encoding"));
    if (encodingAt >= 0) {
        if (encodingAt + 1 >= arguments.size()) {
            return usage();
        }
        profile.sourceEncoding = arguments.at(encodingAt + 1).toULongLong();
        arguments.remove(encodingAt, 2);
    }
    if (arguments.removeAll(QStringLiteral("--new-folder")) > 0) {
        profile.unArchiveMode = RKUnArchiveProfileSetting::UnArchiveModeNewFolder;
    }
    if (arguments.size() != 2) {
        return usage();
    }
    profile.saveStaticFolderPath = QFileInfo(arguments.at(1)).absoluteFilePath();

    SilentNotifier notifier;
    RKNotifier::setCurrent(&notifier);
    BenchHost host;
    RKJobHost::setCurrent(&host);

    QElapsedTimer timer;
    timer.start();
    const auto job = std::make_shared<RKUnArchiveSingleStaticFolder>(
        QStringList{QFileInfo(arguments.at(0)).absoluteFilePath()}, profile, nullptr);
    QObject::connect(job.get(), &RKUnArchiveBase::finished, &app, &QCoreApplication::quit);
    job->startProcess();
    app.exec();
    const qint64 elapsed = timer.elapsed();

    int errors = 0;
    for (const RKProcessResultInfo& result : std::as_const(host.results)) {
        for (const RQError& error : result.errors.items) {
            ++errors;
            std::fprintf(stderr, "%d\t%s\t%s\n", error.code(),
                         error.localizedRecoverySuggestion().toLocal8Bit().constData(),
                         error.localizedDescription().toLocal8Bit().constData());
        }
    }
    qsizetype placed = 0;
    QDirIterator it(profile.saveStaticFolderPath,
                    QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        ++placed;
    }
    RKJobHost::setCurrent(nullptr);
    RKNotifier::setCurrent(nullptr);
    std::printf("%lld ms, %lld items, %d errors\n", static_cast<long long>(elapsed),
                static_cast<long long>(placed), errors);
    return host.results.isEmpty() || errors > 0 ? 1 : 0;
}
