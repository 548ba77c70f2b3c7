#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>

// Small helpers shared by the suites: running real peer tools and making
// files in a test's own temporary folder.
namespace TestEnvironment {

struct ProcessResult {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
    bool started = false;
};

// Runs a program to completion (stdin closed). Waits at most timeoutMs.
ProcessResult run(const QString& program, const QStringList& arguments,
                  const QString& workingDirectory = QString(), int timeoutMs = 600000);

// True when the program is on PATH.
bool hasProgram(const QString& program);

// Writes bytes to path, creating parent folders. Returns false on failure.
bool writeFile(const QString& path, const QByteArray& bytes);

// Reads a whole file; empty when it cannot be read.
QByteArray readFile(const QString& path);

// Processes events until predicate() is true or timeoutMs passes.
bool waitFor(const std::function<bool()>& predicate, int timeoutMs = 30000);

// Every file and folder below root, relative, sorted ("a/", "a/b.txt").
QStringList listTree(const QString& root);

} // namespace TestEnvironment
