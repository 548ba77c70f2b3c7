#include "zip/ZipExtractedPaths.h"

#include "platform/RKStringEncoding.h"
#include "zip/ZipNumberedName.h"

namespace {

// Names are extracted in composed form (NFC): macOS stores them decomposed,
// and such names look right but match no name typed on Linux. Two entries
// that meet only once composed are numbered as any.
QStringList composed(QStringList components)
{
    for (QString& component : components) {
        component = RKStringEncoding::precomposedStringWithCanonicalMapping(component);
    }
    return components;
}

} // namespace

void ZipExtractedPaths::clear()
{
    m_files.clear();
    m_numbered.clear();
    m_folderPaths.clear();
    m_folders.clear();
    m_lastNamed.clear();
    m_lastActual.clear();
}

QString ZipExtractedPaths::filePath(qsizetype entry, const Recall& recall) const
{
    const auto numbered = m_numbered.constFind(entry);
    if (numbered != m_numbered.constEnd()) {
        return numbered.value();
    }
    // Not numbered: its folders as they were made, then its own name.
    const QStringList components = composed(recall(entry));
    if (components.isEmpty()) {
        return QString();
    }
    const QString folders = components.mid(0, components.size() - 1).join(QLatin1Char('/'));
    if (folders.isEmpty()) {
        return components.last();
    }
    return m_folders.value(folders, folders) + QLatin1Char('/') + components.last();
}

qsizetype ZipExtractedPaths::fileHolding(const QString& path, const Recall& recall) const
{
    for (auto it = m_files.constFind(qHash(path)); it != m_files.constEnd() && it.key() == qHash(path);
         ++it) {
        if (filePath(it.value(), recall) == path) {
            return it.value();
        }
    }
    return -1;
}

QStringList ZipExtractedPaths::folderPath(const QStringList& components, qsizetype count,
                                          bool* numbered, const Recall& recall)
{
    // Entries come folder by folder: the last entry's folders mostly fit.
    if (count == m_lastNamed.size()) {
        bool same = true;
        for (qsizetype i = count - 1; i >= 0 && same; --i) {
            same = components.at(i) == m_lastNamed.at(i);
        }
        if (same) {
            return m_lastActual;
        }
    }
    QStringList actual;
    QString named;
    QString actualPath;
    for (qsizetype i = 0; i < count; ++i) {
        if (i > 0) {
            named += QLatin1Char('/');
        }
        named += components.at(i);
        const auto known = m_folders.constFind(named);
        if (known != m_folders.constEnd()) {
            actualPath = known.value();
            actual = actualPath.split(QLatin1Char('/'));
            continue;
        }
        const QString prefix = actualPath.isEmpty() ? QString() : actualPath + QLatin1Char('/');
        QString name = components.at(i);
        // A file holds the name: the folder and what is inside it move.
        for (int number = 2;
             !m_folderPaths.contains(prefix + name) && fileHolding(prefix + name, recall) >= 0;
             ++number) {
            name = ZipNumberedName::folderName(components.at(i), number);
            *numbered = true;
        }
        actualPath = prefix + name;
        actual.append(name);
        m_folderPaths.insert(actualPath, true);
        m_folders.insert(named, actualPath);
    }
    m_lastNamed = components.mid(0, count);
    m_lastActual = actual;
    return actual;
}

ZipExtractedPaths::Path ZipExtractedPaths::claim(const QStringList& named, bool isFolder,
                                                 qsizetype entry, const Recall& recall)
{
    const QStringList components = composed(named);
    Path path;
    const qsizetype folderCount = isFolder ? components.size() : components.size() - 1;
    path.folders = folderPath(components, folderCount, &path.numbered, recall);
    if (isFolder) {
        return path;
    }
    const QString parent =
        path.folders.isEmpty() ? QString() : path.folders.join(QLatin1Char('/')) + QLatin1Char('/');
    const QString& leaf = components.last();
    path.leaf = leaf;
    const auto numberedBefore = m_numbered.constFind(entry);
    if (numberedBefore != m_numbered.constEnd()) {
        path.leaf = numberedBefore.value().mid(parent.size());
        path.numbered = true;
        return path;
    }
    for (int number = 2;; ++number) {
        const QString candidate = parent + path.leaf;
        const qsizetype holder =
            m_folderPaths.contains(candidate) ? -1 : fileHolding(candidate, recall);
        if (holder == entry) {
            break;
        }
        if (holder < 0 && !m_folderPaths.contains(candidate)) {
            m_files.insert(qHash(candidate), entry);
            if (number > 2) {
                m_numbered.insert(entry, candidate);
            }
            break;
        }
        path.leaf = ZipNumberedName::fileName(leaf, number);
        path.numbered = true;
    }
    return path;
}
