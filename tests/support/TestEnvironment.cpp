#include "support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QThread>

namespace TestEnvironment {

ProcessResult run(const QString& program, const QStringList& arguments,
                  const QString& workingDirectory, int timeoutMs)
{
    ProcessResult result;
    QProcess process;
    if (!workingDirectory.isEmpty()) {
        process.setWorkingDirectory(workingDirectory);
    }
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(program, arguments);
    result.started = process.waitForStarted(30000);
    if (!result.started) {
        return result;
    }
    process.waitForFinished(timeoutMs);
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return result;
}

bool hasProgram(const QString& program)
{
    return !QStandardPaths::findExecutable(program).isEmpty();
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return false;
    }
    return file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return file.readAll();
}

bool waitFor(const std::function<bool()>& predicate, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!predicate()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(1);
    }
    return true;
}

QStringList listTree(const QString& root)
{
    QStringList entries;
    QDir base(root);
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QFileInfo info(path);
        QString relative = base.relativeFilePath(path);
        if (info.isDir() && !info.isSymLink()) {
            relative += QLatin1Char('/');
        }
        entries << relative;
    }
    entries.sort();
    return entries;
}

} // namespace TestEnvironment
