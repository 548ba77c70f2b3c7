// Files at the 4 GiB boundary, deflated in chunks on every core. Slow (tens of
// seconds each): the files are sparse, stored at level 1, and extracted into
// sparse files again.
#include "zip/ZipTestSupport.h"

#include "support/TestEnvironment.h"

#include <QFile>

struct BoundaryCase {
    const char* name;
    qint64 size;
    int localVersion; // version needed in the local header
    bool localZip64;  // the local header carries the ZIP64 extra field
    QString password = {};
};

// A sparse file of size bytes ending in "tail", and the check of a copy of it.
static bool makeSparse(const QString& name, qint64 size)
{
    QFile file(name);
    return file.open(QIODevice::WriteOnly) && file.resize(size) && file.seek(size - 4) && file.write("tail", 4) == 4;
}

static bool isSparseCopy(const QString& name, qint64 size)
{
    QFile copy(name);
    return copy.open(QIODevice::ReadOnly) && copy.size() == size && copy.seek(size - 4) && copy.read(4) == "tail";
}

using Zip64Boundary = ZipTable<BoundaryCase>;

TEST_P(Zip64Boundary, RoundTripThroughUnzipAndBack)
{
    const qint64 size = GetParam().size;
    const QString source = path("big.bin");
    ASSERT_TRUE(makeSparse(source, size));
    const QString zip = path("big.zip");
    const QString pw = GetParam().password;
    const QStringList written = archive(zip, { source }, pw, 1);
    ASSERT_EQ(written.last(), "finished " + zip) << written.join('\n').toStdString();

    const QByteArray local = TestEnvironment::readFile(zip).left(30);
    EXPECT_EQ(quint8(local[4]), GetParam().localVersion);
    EXPECT_EQ(quint8(local[28]) > 9, GetParam().localZip64); // more than the 9 bytes of the timestamp field
    EXPECT_EQ(inspect(zip).value(0)["size"].toInteger(), size);
    EXPECT_EQ(inspect(zip).value(0)["made_by"].toInt() >> 8, 3) << "made by Unix";
    EXPECT_EQ(TestEnvironment::run("unzip", { "-t", "-P", pw, zip }).exitCode, 0);
    EXPECT_EQ(TestEnvironment::run("7z", { "t", "-p" + pw, zip }).exitCode, 0);
    EXPECT_EQ(peer({ "test", zip, pw }), 0);

    const QStringList read = extract(zip, path("dest"), pw);
    EXPECT_FALSE(read.join('\n').contains("error")) << read.join('\n').toStdString();
    EXPECT_TRUE(isSparseCopy(path("dest/big.bin"), size));
}

INSTANTIATE_TEST_SUITE_P(Slow, Zip64Boundary,
                         ::testing::Values(BoundaryCase { "FourGiBUsesZip64", Q_INT64_C(4294967296), 45, true },
                                           BoundaryCase { "OneByteLessDoesNot", Q_INT64_C(4294967295), 20, false },
                                           BoundaryCase { "EncryptedFourGiB", Q_INT64_C(4294967296), 45, true, "s3cret" }),
                         CaseName());

// A file past 4 GiB encrypted by 7-Zip with AES-256: ZIP64 sizes around the salt, the
// authentication code over every byte, the data extracted whole.
using SevenZipAesBoundary = ZipTable<BoundaryCase>;

TEST_P(SevenZipAesBoundary, ExtractsWholeAndAuthenticated)
{
    const qint64 size = GetParam().size;
    ASSERT_TRUE(makeSparse(folder("src") + "/big.bin", size));
    const QString zip = path("big.zip"), pw = GetParam().password;
    ASSERT_EQ(TestEnvironment::run("7z", { "a", "-tzip", "-bd", "-mx=1", "-mem=AES256", "-p" + pw, zip, "big.bin" }, path("src")).exitCode, 0);

    const QStringList read = extract(zip, path("dest"), pw);
    EXPECT_FALSE(read.join('\n').contains("error")) << read.join('\n').toStdString();
    EXPECT_TRUE(isSparseCopy(path("dest/big.bin"), size));
}

INSTANTIATE_TEST_SUITE_P(Slow, SevenZipAesBoundary,
                         ::testing::Values(BoundaryCase { "Aes256PastFourGiB", Q_INT64_C(4294967296) + 4096, 45, true, "s3cret" }),
                         CaseName());
