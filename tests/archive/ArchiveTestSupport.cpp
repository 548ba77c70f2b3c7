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
        "n = z.namelist()\n"
        "for i, e in enumerate(n):\n"
        "    p = e.rstrip('/').rpartition('/')[0] + '/'\n"
        "    if p in n and (n.index(p) > i or any(not x.startswith(p) for x in n[n.index(p) + 1:i])):\n"
        "        sys.exit('stored out of order: ' + e)\n"
        "print('\\n'.join(sorted(n)))\n");
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
    const auto make = [&]<class Job>(Job*) -> std::shared_ptr<RKArchiveBase> {
        return std::make_shared<Job>(items, profile, window);
    };
    const QString name = QStringLiteral("RKArchive") + jobClass;
    if (name == "RKArchiveSingleAnyTime") return make((RKArchiveSingleAnyTime*)nullptr);
    if (name == "RKArchiveSingleSameSource") return make((RKArchiveSingleSameSource*)nullptr);
    if (name == "RKArchiveSingleStaticFolder") return make((RKArchiveSingleStaticFolder*)nullptr);
    if (name == "RKArchiveMultiAnyTime") return make((RKArchiveMultiAnyTime*)nullptr);
    if (name == "RKArchiveMultiSameSource") return make((RKArchiveMultiSameSource*)nullptr);
    if (name == "RKArchiveMultiStaticFolder") return make((RKArchiveMultiStaticFolder*)nullptr);
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
