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

using Zip64Boundary = ZipTable<BoundaryCase>;

TEST_P(Zip64Boundary, RoundTripThroughUnzipAndBack)
{
    const qint64 size = GetParam().size;
    QFile source(path("big.bin"));
    ASSERT_TRUE(source.open(QIODevice::WriteOnly) && source.resize(size) && source.seek(size - 4));
    ASSERT_EQ(source.write("tail", 4), 4);
    source.close();
    const QString zip = path("big.zip");
    const QString pw = GetParam().password;
    const QStringList written = archive(zip, { source.fileName() }, pw, 1);
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
    QFile copy(path("dest/big.bin"));
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly) && copy.seek(size - 4));
    EXPECT_EQ(copy.size(), size);
    EXPECT_EQ(copy.read(4), QByteArray("tail"));
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
    QFile source(folder("src") + "/big.bin");
    ASSERT_TRUE(source.open(QIODevice::WriteOnly) && source.resize(size) && source.seek(size - 4));
    ASSERT_EQ(source.write("tail", 4), 4);
    source.close();
    const QString zip = path("big.zip"), pw = GetParam().password;
    ASSERT_EQ(TestEnvironment::run("7z", { "a", "-tzip", "-bd", "-mx=1", "-mem=AES256", "-p" + pw, zip, "big.bin" }, path("src")).exitCode, 0);

    const QStringList read = extract(zip, path("dest"), pw);
    EXPECT_FALSE(read.join('\n').contains("error")) << read.join('\n').toStdString();
    QFile copy(path("dest/big.bin"));
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly) && copy.seek(size - 4));
    EXPECT_EQ(copy.size(), size);
    EXPECT_EQ(copy.read(4), QByteArray("tail"));
}

INSTANTIATE_TEST_SUITE_P(Slow, SevenZipAesBoundary,
                         ::testing::Values(BoundaryCase { "Aes256PastFourGiB", Q_INT64_C(4294967296) + 4096, 45, true, "s3cret" }),
                         CaseName());
