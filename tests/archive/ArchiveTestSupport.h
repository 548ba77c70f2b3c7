#pragma once

#include "settings/RKProfileSetting.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

#include <ostream>

class RKArchiveBase;

// Readable texts in the messages of failed expectations.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

// Shared by the archive suite: building item trees and reading archives back
// with a reader nobody here wrote.
namespace ArchiveTestSupport {

// Makes every entry below root: names ending in "/" are folders, the others
// files whose content is their own name.
void makeTree(const QString& root, const QStringList& entries);

// The entry names of an archive, sorted, after Python's zipfile has read and
// checked every entry (with the password when given) and found every folder
// stored before its contents, which follow it in one piece. On failure a
// single line starting with "unreadable:".
QStringList zipEntries(const QString& archivePath, const QString& password = QString());

// Paths relative to root.
QStringList absolute(const QString& root, const QStringList& relative);

// A job of the named class ("SingleAnyTime" … "MultiStaticFolder").
std::shared_ptr<RKArchiveBase> makeJob(const QString& jobClass, const QStringList& items,
                                       const RKProfileSetting& profile, QObject* window = nullptr);

// Starts the job and processes events until it has emitted finished().
// Returns how often it was emitted (0 when it never ended).
int runJob(const std::shared_ptr<RKArchiveBase>& job);

} // namespace ArchiveTestSupport
