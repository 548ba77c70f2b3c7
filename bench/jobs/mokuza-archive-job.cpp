// mokuza-archive-job: one whole archive job, headless, for timing it.
//
//   mokuza-archive-job SOURCE OUTDIR [--level N]
//
// Runs the one-archive fixed-folder job on SOURCE (a file or folder) with the
// real runner window on the offscreen platform: expansion, exclusion test of
// every path, the runner's progress handling and the writer. The archive is
// OUTDIR/<name of SOURCE>.zip, replaced when it exists. Prints the elapsed
// milliseconds and the number of entries; exit status 1 when the job reported
// errors, 2 for bad usage.
#include "archive/RKArchiveSingleStaticFolder.h"
#include "archive/widgets/RKProgressWindow.h"
#include "platform/RKJobHost.h"
#include "platform/RKNotifier.h"
#include "results/RKResultDisplay.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QStandardPaths>
#include <QTemporaryDir>

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
    RKArchiveRunner* progressWindow() override
    {
        if (!runner) {
            runner = std::make_unique<RKProgressWindow>();
        }
        return runner.get();
    }
    RKUnArchiveRunner* unArchveProgressWindow() override { return nullptr; }
    RKResultDisplay* processResultWindow() override { return this; }
    void showResults(QObject*, const QList<RKProcessResultInfo>& shown) override
    {
        results = shown;
    }

    std::unique_ptr<RKProgressWindow> runner;
    QList<RKProcessResultInfo> results;
};

// The offscreen platform's remarks about raising windows are of no interest
// here; the driver reports on its own.
void quiet(QtMsgType, const QMessageLogContext&, const QString&) {}

int usage()
{
    std::fputs("usage: mokuza-archive-job SOURCE OUTDIR [--level N]\n", stderr);
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    // The job reads the stored settings; a benchmark must not create or
    // change the user's own.
    QTemporaryDir config;
    qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
    QStandardPaths::setTestModeEnabled(true);
    qInstallMessageHandler(quiet);
    QApplication app(argc, argv);

    QStringList arguments = QCoreApplication::arguments().mid(1);
    int level = 4;
    const qsizetype levelAt = arguments.indexOf(QStringLiteral("--level"));
    if (levelAt >= 0) {
        if (levelAt + 1 >= arguments.size()) {
            return usage();
        }
        level = arguments.at(levelAt + 1).toInt();
        arguments.remove(levelAt, 2);
    }
    if (arguments.size() != 2) {
        return usage();
    }

    SilentNotifier notifier;
    RKNotifier::setCurrent(&notifier);
    BenchHost host;
    RKJobHost::setCurrent(&host);

    RKProfileSetting profile = RKProfileSetting::DefaultSetting();
    profile.archiveLevel = level;
    profile.saveLocation = RKProfileSetting::SaveLocationStaticFolder;
    profile.saveStaticFolderPath = QFileInfo(arguments.at(1)).absoluteFilePath();
    profile.sameFileName = RKProfileSetting::SameNameOverwrite;

    QElapsedTimer timer;
    timer.start();
    const auto job = std::make_shared<RKArchiveSingleStaticFolder>(
        QStringList{QFileInfo(arguments.at(0)).absoluteFilePath()}, profile, nullptr);
    QObject::connect(job.get(), &RKArchiveBase::finished, &app, &QCoreApplication::quit);
    job->startProcess();
    app.exec();
    const qint64 elapsed = timer.elapsed();

    int errors = 0;
    qsizetype entries = 0;
    for (const RKProcessResultInfo& result : host.results) {
        errors += int(result.errors.items.size());
        for (const RQError& error : result.errors.items) {
            std::fprintf(stderr, "%d\t%s\t%s\n", error.code(),
                         error.localizedRecoverySuggestion().toLocal8Bit().constData(),
                         error.localizedDescription().toLocal8Bit().constData());
        }
    }
    for (const QStringList& paths : job->totalArchiveFiles()) {
        entries += paths.size();
    }
    RKJobHost::setCurrent(nullptr);
    RKNotifier::setCurrent(nullptr);
    std::printf("%lld ms, %lld entries, %d errors\n", static_cast<long long>(elapsed),
                static_cast<long long>(entries), errors);
    return host.results.isEmpty() || errors > 0 ? 1 : 0;
}
