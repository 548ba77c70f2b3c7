#include "unarchive/UnArchiveTestSupport.h"

#include "support/TestEnvironment.h"
#include "unarchive/RKUnArchiveMultiAnyTime.h"
#include "unarchive/RKUnArchiveMultiSameSource.h"
#include "unarchive/RKUnArchiveMultiStaticFolder.h"
#include "unarchive/RKUnArchiveSingleAnyTime.h"
#include "unarchive/RKUnArchiveSingleSameSource.h"
#include "unarchive/RKUnArchiveSingleStaticFolder.h"
#include "unarchive/widgets/RKUnArchiveProgressWindow.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <functional>
#include <map>

namespace {

// Working folders go to a temporary directory of this process alone, so
// suites running side by side never remove each other's runs.
class PrivateTempDirectory : public ::testing::Environment
{
public:
    void SetUp() override
    {
        m_dir = std::make_unique<QTemporaryDir>();
        qputenv("TMPDIR", QFile::encodeName(m_dir->path()));
    }
    void TearDown() override { m_dir.reset(); }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};

[[maybe_unused]] ::testing::Environment* const privateTemp =
    ::testing::AddGlobalTestEnvironment(new PrivateTempDirectory);

template <typename Job>
std::shared_ptr<RKUnArchiveBase> make(const QStringList& items, const RKUnArchiveProfileSetting& p)
{
    return std::make_shared<Job>(items, p, nullptr);
}

} // namespace

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
        lines << (info.isSymLink() ? relative + "->" + info.symLinkTarget()
                  : info.isDir()   ? relative + "/"
                                   : relative + "=" + TestEnvironment::readFile(info.filePath()));
    }
    lines.sort();
    return lines;
}

void runTool(const QString& program, const QStringList& arguments, const QString& workingDirectory)
{
    const auto result = TestEnvironment::run(program, arguments, workingDirectory);
    ASSERT_EQ(result.exitCode, 0) << program.toStdString() << ": " << result.err.toStdString();
}

void writeRawNameArchive(const QString& archivePath, const QList<QByteArray>& rawNames)
{
    QStringList hexNames; // as hex, so no shell or code page touches the bytes
    for (const QByteArray& name : rawNames) {
        hexNames << QString::fromLatin1(name.toHex());
    }
    const QString script = R"(
import sys, zipfile
class RawName(zipfile.ZipInfo):
    def _encodeFilenameFlags(self):
        return self.filename.encode('cp437'), self.flag_bits & ~0x800
with zipfile.ZipFile(sys.argv[1], 'w') as archive:
    for index, name in enumerate(sys.argv[2:]):
        info = RawName(bytes.fromhex(name).decode('cp437'), (2020, 1, 2, 3, 4, 6))
        folder = info.filename.endswith('/')
        info.external_attr = (0o40755 << 16 | 0x10) if folder else 0o644 << 16
        archive.writestr(info, '' if folder else str(index))
)";
    runTool("python3", QStringList{"-c", script, archivePath} + hexNames, QString());
}

RKUnArchiveProfileSetting profile(qint32 unArchiveMode, qint32 sameFileName)
{
    RKUnArchiveProfileSetting result = RKUnArchiveProfileSetting::DefaultSetting();
    result.unArchiveMode = unArchiveMode;
    result.sameFileName = sameFileName;
    result.sourceEncoding = 4;
    return result;
}

int runJob(const QString& jobClass, const QStringList& items, const RKUnArchiveProfileSetting& profile)
{
    using Factory = std::function<std::shared_ptr<RKUnArchiveBase>(const QStringList&,
                                                                   const RKUnArchiveProfileSetting&)>;
    static const std::map<QString, Factory> factories{
        {"SingleAnyTime", make<RKUnArchiveSingleAnyTime>},
        {"SingleSameSource", make<RKUnArchiveSingleSameSource>},
        {"SingleStaticFolder", make<RKUnArchiveSingleStaticFolder>},
        {"MultiAnyTime", make<RKUnArchiveMultiAnyTime>},
        {"MultiSameSource", make<RKUnArchiveMultiSameSource>},
        {"MultiStaticFolder", make<RKUnArchiveMultiStaticFolder>}};
    const std::shared_ptr<RKUnArchiveBase> job = factories.at(jobClass)(items, profile);
    int finished = 0;
    QObject::connect(job.get(), &RKUnArchiveBase::finished, [&finished] { ++finished; });
    job->startProcess();
    EXPECT_TRUE(TestEnvironment::waitFor([&finished] { return finished > 0; }, 120000));
    QCoreApplication::processEvents(); // a second finished() would show now
    return finished;
}

} // namespace UnArchiveTestSupport

void UnArchiveTest::SetUp()
{
    m_root = std::make_unique<QTemporaryDir>();
    ASSERT_TRUE(QDir().mkpath(in()) && QDir().mkpath(out()));
}

void UnArchiveTest::TearDown()
{
    const QString temp = RKUnArchiveProgressWindow::applicationTempFolder();
    EXPECT_TRUE(!QFileInfo::exists(temp) || QDir(temp).isEmpty()) << "a working folder is left";
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
