#include "platform/RKXdgOpen.h"

#include <QCoreApplication>
#include <QProcess>

#include <memory>

namespace {

QString& programOverride()
{
    static QString program;
    return program;
}

} // namespace

QString RKXdgOpen::program()
{
    return programOverride().isEmpty() ? QStringLiteral("xdg-open") : programOverride();
}

void RKXdgOpen::setProgram(const QString& program)
{
    programOverride() = program;
}

void RKXdgOpen::open(const QString& target, std::function<void(bool opened)> done)
{
    // Owned by the application as well, so that a launcher still running
    // when the application ends is not leaked.
    auto* process = new QProcess(QCoreApplication::instance());
    process->setProgram(program());
    process->setArguments({target});
    process->setStandardInputFile(QProcess::nullDevice());
    process->setProcessChannelMode(QProcess::ForwardedChannels);
    // A failed start may report both an error and an end: answer once.
    const auto finish = [process, done, answered = std::make_shared<bool>(false)](bool opened) {
        if (*answered) {
            return;
        }
        *answered = true;
        process->deleteLater();
        if (done) {
            done(opened);
        }
    };
    QObject::connect(process, &QProcess::finished, process,
                     [finish](int exitCode, QProcess::ExitStatus status) {
                         finish(status == QProcess::NormalExit && exitCode == 0);
                     });
    QObject::connect(process, &QProcess::errorOccurred, process,
                     [finish](QProcess::ProcessError error) {
                         if (error == QProcess::FailedToStart) {
                             finish(false);
                         }
                     });
    process->start();
}
