#include "unarchive/UnArchiveTestSupport.h"

#include "platform/RKAppInfo.h"
#include "support/TestEnvironment.h"
#include "unarchive/RKUnArchiveMultiAnyTime.h"
#include "unarchive/RKUnArchiveMultiSameSource.h"
#include "unarchive/RKUnArchiveMultiStaticFolder.h"
#include "unarchive/RKUnArchiveSingleAnyTime.h"
#include "unarchive/RKUnArchiveSingleSameSource.h"
#include "unarchive/RKUnArchiveSingleStaticFolder.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

namespace {

// The working folders live in a temporary directory of this process alone,
// so suites running side by side never remove each other's runs.
class PrivateTempDirectory : public ::testing::Environment
{
public:
    void SetUp() override
    {
        m_dir = std::make_unique<QTemporaryDir>();
        ASSERT_TRUE(m_dir->isValid());
        qputenv("TMPDIR", QFile::encodeName(m_dir->path()));
    }
    void TearDown() override { m_dir.reset(); }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};

[[maybe_unused]] ::testing::Environment* const privateTemp =
    ::testing::AddGlobalTestEnvironment(new PrivateTempDirectory);

} // namespace

namespace UnArchiveTestSupport {

void makeTree(const QString& root, const QStringList& entries, const QByteArray& content)
{
    for (const QString& entry : entries) {
        const QString path = root + QLatin1Char('/') + entry;
        if (entry.endsWith(QLatin1Char('/'))) {
            ASSERT_TRUE(QDir().mkpath(path)) << path.toStdString();
        } else {
            ASSERT_TRUE(TestEnvironment::writeFile(path, content)) << path.toStdString();
        }
    }
}

QStringList snapshot(const QString& root)
{
    QStringList lines;
    const QDir base(root);
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QFileInfo info(path);
        const QString relative = base.relativeFilePath(path);
        if (info.isSymLink()) {
            lines << relative + "->" + info.symLinkTarget();
        } else if (info.isDir()) {
            lines << relative + "/";
        } else {
            lines << relative + "=" + QString::fromUtf8(TestEnvironment::readFile(path));
        }
    }
    lines.sort();
    return lines;
}

void runTool(const QString& program, const QStringList& arguments, const QString& workingDirectory)
{
    const TestEnvironment::ProcessResult result =
        TestEnvironment::run(program, arguments, workingDirectory);
    ASSERT_EQ(result.exitCode, 0) << program.toStdString() << ": " << result.err.toStdString()
                                  << result.out.toStdString();
}

void writeRawNameArchive(const QString& archivePath, const QList<QByteArray>& rawNames)
{
    // The names travel as hex so no shell or code page touches them.
    QStringList hexNames;
    for (const QByteArray& name : rawNames) {
        hexNames << QString::fromLatin1(name.toHex());
    }
    const QString script = QStringLiteral(R"(
import sys, zipfile
class RawName(zipfile.ZipInfo):
    # Keep the bytes as given and never set the UTF-8 flag.
    def _encodeFilenameFlags(self):
        return self.filename.encode('cp437'), self.flag_bits & ~0x800
with zipfile.ZipFile(sys.argv[1], 'w') as archive:
    for index, hexName in enumerate(sys.argv[2:]):
        info = RawName(bytes.fromhex(hexName).decode('cp437'), date_time=(2020, 1, 2, 3, 4, 6))
        if info.filename.endswith('/'):
            info.external_attr = 0o40755 << 16 | 0x10
            archive.writestr(info, b'')
        else:
            info.external_attr = 0o644 << 16
            archive.writestr(info, str(index).encode())
)");
    runTool(QStringLiteral("python3"), QStringList{QStringLiteral("-c"), script, archivePath} + hexNames,
            QString());
}

RKUnArchiveProfileSetting profile(qint32 unArchiveMode, qint32 sameFileName)
{
    RKUnArchiveProfileSetting result = RKUnArchiveProfileSetting::DefaultSetting();
    result.profileName = QStringLiteral("test");
    result.unArchiveMode = unArchiveMode;
    result.sameFileName = sameFileName;
    result.sourceEncoding = 4;
    return result;
}

std::shared_ptr<RKUnArchiveBase> makeJob(const QString& jobClass, const QStringList& items,
                                         const RKUnArchiveProfileSetting& profile, QObject* window)
{
    if (jobClass == QLatin1String("SingleAnyTime")) {
        return std::make_shared<RKUnArchiveSingleAnyTime>(items, profile, window);
    }
    if (jobClass == QLatin1String("SingleSameSource")) {
        return std::make_shared<RKUnArchiveSingleSameSource>(items, profile, window);
    }
    if (jobClass == QLatin1String("SingleStaticFolder")) {
        return std::make_shared<RKUnArchiveSingleStaticFolder>(items, profile, window);
    }
    if (jobClass == QLatin1String("MultiAnyTime")) {
        return std::make_shared<RKUnArchiveMultiAnyTime>(items, profile, window);
    }
    if (jobClass == QLatin1String("MultiSameSource")) {
        return std::make_shared<RKUnArchiveMultiSameSource>(items, profile, window);
    }
    if (jobClass == QLatin1String("MultiStaticFolder")) {
        return std::make_shared<RKUnArchiveMultiStaticFolder>(items, profile, window);
    }
    ADD_FAILURE() << "unknown job class " << jobClass.toStdString();
    return nullptr;
}

int runJob(const std::shared_ptr<RKUnArchiveBase>& job)
{
    int finished = 0;
    QObject::connect(job.get(), &RKUnArchiveBase::finished, [&finished] { ++finished; });
    job->startProcess();
    EXPECT_TRUE(TestEnvironment::waitFor([&finished] { return finished > 0; }, 120000));
    // One more turn, so a second finished() would be seen.
    QCoreApplication::processEvents();
    return finished;
}

QString applicationTempFolder()
{
    return QDir::tempPath() + QLatin1Char('/') + RKAppInfo::bundleIdentifier();
}

} // namespace UnArchiveTestSupport

void UnArchiveTest::SetUp()
{
    m_root = std::make_unique<QTemporaryDir>();
    ASSERT_TRUE(m_root->isValid());
    ASSERT_TRUE(QDir().mkpath(in()));
    ASSERT_TRUE(QDir().mkpath(out()));
}

void UnArchiveTest::TearDown()
{
    const QString temp = UnArchiveTestSupport::applicationTempFolder();
    EXPECT_TRUE(!QFileInfo::exists(temp) || QDir(temp).isEmpty())
        << "left in the working folder: "
        << UnArchiveTestSupport::snapshot(temp).join(QLatin1Char(' ')).toStdString();
    if (m_frozen) {
        EXPECT_EQ(UnArchiveTestSupport::snapshot(in()), m_inputs) << "the inputs changed";
    }
    const QStringList top = QDir(m_root->path()).entryList(QDir::AllEntries | QDir::Hidden
                                                           | QDir::NoDotAndDotDot);
    EXPECT_EQ(top, (QStringList{QStringLiteral("in"), QStringLiteral("out")}))
        << "written outside the destination";
}

QString UnArchiveTest::in(const QString& relative) const
{
    const QString base = m_root->path() + QStringLiteral("/in");
    return relative.isEmpty() ? base : base + QLatin1Char('/') + relative;
}

QString UnArchiveTest::out(const QString& relative) const
{
    const QString base = m_root->path() + QStringLiteral("/out");
    return relative.isEmpty() ? base : base + QLatin1Char('/') + relative;
}

void UnArchiveTest::freezeInputs()
{
    m_inputs = UnArchiveTestSupport::snapshot(in());
    m_frozen = true;
}
