#include "settings/RKFilterProvider.h"

#include <QFileInfo>

namespace {

// Case is ignored the way a full case fold does it, and "?" stands for one
// character, so both sides are compared as case-folded code points (a
// surrogate pair is one character, not two).
QList<uint> foldedCodePoints(const QString& text)
{
    return text.toCaseFolded().toUcs4();
}

bool matchFolded(const QList<uint>& name, const QList<uint>& pattern)
{
    constexpr uint star = '*';
    constexpr uint question = '?';
    qsizetype n = 0;
    qsizetype p = 0;
    // Where the last "*" was seen and how much of the name it has eaten so
    // far; on a mismatch the star takes one more character and we retry.
    qsizetype starPattern = -1;
    qsizetype starName = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == star) {
            starPattern = p++;
            starName = n;
        } else if (p < pattern.size() && (pattern[p] == question || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (starPattern >= 0) {
            p = starPattern + 1;
            n = ++starName;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == star) {
        ++p;
    }
    return p == pattern.size();
}

// Components as the platform splits a path: a leading "/" is a component of
// its own; empty pieces from doubled or trailing separators are dropped.
QStringList pathComponents(const QString& path)
{
    QStringList components;
    if (path.startsWith(QLatin1Char('/'))) {
        components.append(QStringLiteral("/"));
    }
    const QStringList pieces = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    components.append(pieces);
    return components;
}

bool anyMatches(const QStringList& names, const QString& pattern)
{
    const QList<uint> foldedPattern = foldedCodePoints(pattern);
    for (const QString& name : names) {
        if (matchFolded(foldedCodePoints(name), foldedPattern)) {
            return true;
        }
    }
    return false;
}

} // namespace

bool RKFilterProvider::Filter(const QString& path, const RKProfileSetting& profileSetting)
{
    return Filter(path, profileSetting.exclusionFiles, profileSetting.exclusionFolders);
}

bool RKFilterProvider::Filter(const QString& path,
                              const RKUnArchiveProfileSetting& unArchiveProfileSetting)
{
    return Filter(path, unArchiveProfileSetting.exclusionFiles,
                  unArchiveProfileSetting.exclusionFolders);
}

bool RKFilterProvider::Filter(const QString& path, const QStringList& exclusionFiles,
                              const QStringList& exclusionFolders)
{
    // A path that does not exist is not a directory, so it is tested as a file.
    const bool isDirectory = QFileInfo(path).isDir();
    QStringList folderNames = pathComponents(path);
    QString fileName;
    if (!isDirectory && !folderNames.isEmpty()) {
        fileName = folderNames.takeLast();
    }

    if (!folderNames.isEmpty()) {
        for (const QString& pattern : exclusionFolders) {
            if (anyMatches(folderNames, pattern)) {
                return false;
            }
        }
    }
    if (!isDirectory && !fileName.isEmpty()) {
        const QList<uint> foldedName = foldedCodePoints(fileName);
        for (const QString& pattern : exclusionFiles) {
            if (matchFolded(foldedName, foldedCodePoints(pattern))) {
                return false;
            }
        }
    }
    return true;
}

bool RKFilterProvider::matches(const QString& name, const QString& pattern)
{
    return matchFolded(foldedCodePoints(name), foldedCodePoints(pattern));
}
