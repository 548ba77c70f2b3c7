// Files at the 4 GiB boundary. Slow (tens of seconds each): the files are
// sparse, stored at level 1, and extracted into sparse files again.
#include "zip/ZipTestSupport.h"

#include "support/TestEnvironment.h"

#include <QFile>
#include <QJsonObject>

using TestEnvironment::run;

namespace {

constexpr qint64 kFourGiB = Q_INT64_C(4294967296);

bool makeSparse(const QString& path, qint64 size)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.resize(size) && file.seek(size - 4)
        && file.write("tail", 4) == 4;
}

int le16(const QByteArray& bytes, int offset)
{
    return int(quint8(bytes[offset])) | int(quint8(bytes[offset + 1])) << 8;
}

} // namespace

struct BoundaryCase {
    const char* name;
    qint64 size;
    int localVersion;  // version needed in the local header
    bool localZip64;   // local header carries the ZIP64 extra field
};

class Zip64Boundary : public ZipTest, public ::testing::WithParamInterface<BoundaryCase>
{
};

TEST_P(Zip64Boundary, RoundTripThroughUnzipAndBack)
{
    const BoundaryCase& param = GetParam();
    const QString source = path(QStringLiteral("big.bin"));
    ASSERT_TRUE(makeSparse(source, param.size));
    const QString zip = path(QStringLiteral("big.zip"));
    const QStringList written = archive(zip, { source }, QString(), 1, 4);
    ASSERT_EQ(written.last(), QStringLiteral("finished ") + zip) << written.join(QLatin1Char('\n')).toStdString();

    QFile archiveFile(zip);
    ASSERT_TRUE(archiveFile.open(QIODevice::ReadOnly));
    const QByteArray local = archiveFile.read(30);
    EXPECT_EQ(le16(local, 4), param.localVersion);
    EXPECT_EQ(le16(local, 28) > 0, param.localZip64);
    const QList<QJsonObject> entries = inspect(zip);
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(entries[0].value(QStringLiteral("size")).toInteger(), param.size);

    EXPECT_EQ(run(QStringLiteral("unzip"), { QStringLiteral("-t"), zip }).exitCode, 0);

    const QString dest = path(QStringLiteral("dest"));
    const QStringList read = extract(zip, dest);
    EXPECT_FALSE(read.join(QLatin1Char('\n')).contains(QStringLiteral("error")))
        << read.join(QLatin1Char('\n')).toStdString();
    QFile copy(dest + QStringLiteral("/big.bin"));
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.size(), param.size);
    ASSERT_TRUE(copy.seek(param.size - 4));
    EXPECT_EQ(copy.read(4), QByteArray("tail"));
}

INSTANTIATE_TEST_SUITE_P(
    Slow, Zip64Boundary,
    ::testing::Values(BoundaryCase { "FourGiBUsesZip64", kFourGiB, 45, true },
                      BoundaryCase { "OneByteLessDoesNot", kFourGiB - 1, 20, false }),
    [](const auto& info) { return std::string(info.param.name); });
