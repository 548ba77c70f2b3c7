#include "zip/ZipExtractedPaths.h"

#include "platform/RKStringEncoding.h"
#include "zip/ZipNumberedName.h"

void ZipExtractedPaths::clear()
{
    m_claimed.clear();
    m_folders.clear();
    m_lastNamed.clear();
    m_lastActual.clear();
}

QStringList ZipExtractedPaths::folderPath(const QStringList& components, qsizetype count,
                                          bool* numbered)
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
        for (int number = 2;; ++number) {
            const auto holder = m_claimed.constFind(prefix + name);
            if (holder == m_claimed.constEnd() || holder->entry < 0) {
                break;
            }
            // A file holds the name: the folder and what is inside it move.
            name = ZipNumberedName::folderName(components.at(i), number);
            *numbered = true;
        }
        actualPath = prefix + name;
        actual.append(name);
        m_claimed.insert(actualPath, Claim {});
        m_folders.insert(named, actualPath);
    }
    m_lastNamed = components.mid(0, count);
    m_lastActual = actual;
    return actual;
}

ZipExtractedPaths::Path ZipExtractedPaths::claim(const QStringList& named, bool isFolder,
                                                 qsizetype entry)
{
    // Names are extracted in composed form (NFC): macOS stores them
    // decomposed, and such names look right but match no name typed on
    // Linux. Two entries that meet only once composed are numbered as any.
    QStringList components = named;
    for (QString& component : components) {
        component = RKStringEncoding::precomposedStringWithCanonicalMapping(component);
    }
    Path path;
    const qsizetype folderCount = isFolder ? components.size() : components.size() - 1;
    path.folders = folderPath(components, folderCount, &path.numbered);
    if (isFolder) {
        return path;
    }
    const QString parent =
        path.folders.isEmpty() ? QString() : path.folders.join(QLatin1Char('/')) + QLatin1Char('/');
    const QString& leaf = components.last();
    path.leaf = leaf;
    for (int number = 2;; ++number) {
        const auto holder = m_claimed.constFind(parent + path.leaf);
        if (holder == m_claimed.constEnd()) {
            m_claimed.insert(parent + path.leaf, Claim { entry });
            break;
        }
        if (holder->entry == entry) {
            break;
        }
        path.leaf = ZipNumberedName::fileName(leaf, number);
        path.numbered = true;
    }
    return path;
}
