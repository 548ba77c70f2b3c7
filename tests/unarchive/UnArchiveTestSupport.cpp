#include "unarchive/UnArchiveTestSupport.h"

#include "support/TestEnvironment.h"
#include "platform/RKLeftovers.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <unistd.h>

namespace UnArchiveTestSupport {

void makeTree(const QString& root, const QStringList& entries, const QByteArray& content)
{
    for (const QString& entry : entries) {
        const QString path = root + "/" + entry;
        ASSERT_TRUE(entry.endsWith('/') ? QDir().mkpath(path) : TestEnvironment::writeFile(path, content))
            << path.toStdString();
    }
}

QStringList snapshot(const QString& root)
{
    QStringList lines;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo info(it.next());
        const QString relative = QDir(root).relativeFilePath(info.filePath());
        QByteArray target(4096, '\0');
        const ssize_t length = ::readlink(QFile::encodeName(info.filePath()).constData(), target.data(), size_t(target.size()));
        lines << (info.isSymLink() ? relative + "->" + QFile::decodeName(target.left(qMax<ssize_t>(length, 0)))
                  : info.isDir()   ? relative + "/"
                                   : relative + "=" + TestEnvironment::readFile(info.filePath()));
    }
    lines.sort();
    return lines;
}

RKUnArchiveProfileSetting profile(qint32 unArchiveMode, qint32 sameFileName)
{
    RKUnArchiveProfileSetting result = RKUnArchiveProfileSetting::DefaultSetting();
    result.unArchiveMode = unArchiveMode;
    result.sameFileName = sameFileName;
    result.sourceEncoding = 4;
    return result;
}

} // namespace UnArchiveTestSupport

void UnArchiveTest::SetUp()
{
    m_root = std::make_unique<QTemporaryDir>();
    ASSERT_TRUE(QDir().mkpath(in()) && QDir().mkpath(out()));
}

void UnArchiveTest::TearDown()
{
    const QString root = RKLeftovers::root();
    EXPECT_TRUE(RKLeftovers::processFolder().isEmpty() && (!QFileInfo::exists(root) || QDir(root).isEmpty()))
        << "a working folder is still registered";
    if (m_inputs) {
        EXPECT_EQ(UnArchiveTestSupport::snapshot(in()), *m_inputs) << "the inputs changed";
    }
    EXPECT_EQ(QDir(m_root->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              (QStringList{"in", "out"}))
        << "written outside the destination";
}

QString UnArchiveTest::in(const QString& relative) const
{
    return m_root->path() + "/in" + (relative.isEmpty() ? QString() : "/" + relative);
}

QString UnArchiveTest::out(const QString& relative) const
{
    return m_root->path() + "/out" + (relative.isEmpty() ? QString() : "/" + relative);
}

void UnArchiveTest::freezeInputs()
{
    m_inputs = UnArchiveTestSupport::snapshot(in());
}
