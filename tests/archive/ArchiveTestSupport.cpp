#include "ArchiveTestSupport.h"

#include "archive/RKArchiveBase.h"
#include "archive/RKArchiveMultiAnyTime.h"
#include "archive/RKArchiveMultiSameSource.h"
#include "archive/RKArchiveMultiStaticFolder.h"
#include "archive/RKArchiveSingleSameSource.h"
#include "archive/RKArchiveSingleStaticFolder.h"
#include "support/TestEnvironment.h"

#include <QDir>

namespace ArchiveTestSupport {

void makeTree(const QString& root, const QStringList& entries)
{
    for (const QString& entry : entries) {
        const QString path = root + QLatin1Char('/') + entry;
        if (entry.endsWith(QLatin1Char('/'))) {
            QDir().mkpath(path);
        } else {
            TestEnvironment::writeFile(path, entry.toUtf8());
        }
    }
}

QStringList zipEntries(const QString& archivePath, const QString& password)
{
    static const QString script = QStringLiteral(
        "import sys, zipfile\n"
        "z = zipfile.ZipFile(sys.argv[1])\n"
        "if sys.argv[2]: z.setpassword(sys.argv[2].encode())\n"
        "bad = z.testzip()\n"
        "if bad is not None: sys.exit('bad entry ' + bad)\n"
        "print('\\n'.join(sorted(z.namelist())))\n");
    const auto result = TestEnvironment::run(QStringLiteral("python3"),
                                             {QStringLiteral("-c"), script, archivePath, password});
    if (result.exitCode != 0) {
        return {QStringLiteral("unreadable: ") + QString::fromUtf8(result.err).trimmed()};
    }
    return QString::fromUtf8(result.out).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QStringList absolute(const QString& root, const QStringList& relative)
{
    QStringList paths;
    for (const QString& path : relative) {
        paths.append(root + QLatin1Char('/') + path);
    }
    return paths;
}

std::shared_ptr<RKArchiveBase> makeJob(const QString& jobClass, const QStringList& items,
                                       const RKProfileSetting& profile, QObject* window)
{
    if (jobClass == QLatin1String("SingleAnyTime")) {
        return std::make_shared<RKArchiveSingleAnyTime>(items, profile, window);
    }
    if (jobClass == QLatin1String("SingleSameSource")) {
        return std::make_shared<RKArchiveSingleSameSource>(items, profile, window);
    }
    if (jobClass == QLatin1String("SingleStaticFolder")) {
        return std::make_shared<RKArchiveSingleStaticFolder>(items, profile, window);
    }
    if (jobClass == QLatin1String("MultiAnyTime")) {
        return std::make_shared<RKArchiveMultiAnyTime>(items, profile, window);
    }
    if (jobClass == QLatin1String("MultiSameSource")) {
        return std::make_shared<RKArchiveMultiSameSource>(items, profile, window);
    }
    if (jobClass == QLatin1String("MultiStaticFolder")) {
        return std::make_shared<RKArchiveMultiStaticFolder>(items, profile, window);
    }
    return nullptr;
}

int runJob(const std::shared_ptr<RKArchiveBase>& job)
{
    int finished = 0;
    const QMetaObject::Connection connection =
        QObject::connect(job.get(), &RKArchiveBase::finished, [&finished] { ++finished; });
    job->startProcess();
    TestEnvironment::waitFor([&finished] { return finished > 0; });
    QObject::disconnect(connection);
    return finished;
}

} // namespace ArchiveTestSupport
