#include "settings/RKProfileSetting.h"
#include "settings/RKUnArchiveProfileSetting.h"

#include "platform/RKKeyedArchiver.h"
#include "platform/RKKeyedUnarchiver.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>

namespace {

template <typename Record>
Record roundTrip(const Record& record, const QString& className)
{
    RKKeyedArchiver coder(className);
    record.encodeWithCoder(coder);
    return Record::initWithCoder(RKKeyedUnarchiver::unarchive(coder.archivedData()));
}

RKProfileSetting roundTrip(const RKProfileSetting& r) { return roundTrip(r, QStringLiteral("RKProfileSetting")); }
RKUnArchiveProfileSetting roundTrip(const RKUnArchiveProfileSetting& r)
{
    return roundTrip(r, QStringLiteral("RKUnArchiveProfileSetting"));
}

// Every field differs from its zero and its default value (codes outside
// their tables included), so a field that is not written or not read shows.
RKProfileSetting unusualArchiveProfile()
{
    RKProfileSetting r;
    r.profileID = QStringLiteral("4294967295l");
    r.profileName = QStringLiteral("写真（週次）");
    r.destEncoding = 21;
    r.archiveMode = 7;
    r.archiveLevel = 9;
    r.password = QStringLiteral("{YYYY}-{HOST}");
    r.passMode = 2;
    r.passwordShow = true;
    r.sameFileName = 2;
    r.exclusionFiles = {QStringLiteral("*.tmp"), QStringLiteral("")};
    r.exclusionFolders = {QStringLiteral("node_modules")};
    r.saveLocation = -1;
    r.saveStaticFolderPath = QStringLiteral("/srv/アーカイブ");
    r.profileShotcutCode = 35;
    r.profileShotcutFlags = 0x1A0000;
    return r;
}

void expectSameFields(const RKProfileSetting& a, const RKProfileSetting& b)
{
    EXPECT_EQ(a.profileID, b.profileID);
    EXPECT_EQ(a.profileName, b.profileName);
    EXPECT_EQ(a.destEncoding, b.destEncoding);
    EXPECT_EQ(a.archiveMode, b.archiveMode);
    EXPECT_EQ(a.archiveLevel, b.archiveLevel);
    EXPECT_EQ(a.password, b.password);
    EXPECT_EQ(a.passMode, b.passMode);
    EXPECT_EQ(a.passwordShow, b.passwordShow);
    EXPECT_EQ(a.sameFileName, b.sameFileName);
    EXPECT_EQ(a.exclusionFiles, b.exclusionFiles);
    EXPECT_EQ(a.exclusionFolders, b.exclusionFolders);
    EXPECT_EQ(a.saveLocation, b.saveLocation);
    EXPECT_EQ(a.saveStaticFolderPath, b.saveStaticFolderPath);
    EXPECT_EQ(a.profileShotcutCode, b.profileShotcutCode);
    EXPECT_EQ(a.profileShotcutFlags, b.profileShotcutFlags);
}

TEST(RKProfileSetting, DefaultSettingsHoldTheDocumentedValues)
{
    const QRegularExpression idForm(QStringLiteral("^[0-9]{1,10}l$"));
    const RKProfileSetting a = RKProfileSetting::DefaultSetting();
    EXPECT_TRUE(idForm.match(a.profileID).hasMatch());
    EXPECT_TRUE(a.profileName.isEmpty() && !a.profileName.isNull());
    EXPECT_EQ(a.destEncoding, 4u);
    EXPECT_EQ(a.archiveMode, 0);
    EXPECT_EQ(a.archiveLevel, 4);
    EXPECT_TRUE(a.password.isEmpty() && !a.password.isNull());
    EXPECT_EQ(a.passMode, 0);
    EXPECT_FALSE(a.passwordShow);
    EXPECT_EQ(a.sameFileName, 0);
    EXPECT_TRUE(a.exclusionFiles.isEmpty() && a.exclusionFolders.isEmpty());
    EXPECT_EQ(a.saveLocation, 0);
    EXPECT_EQ(a.saveStaticFolderPath, QDir::homePath());
    EXPECT_EQ(a.profileShotcutCode, 18446744073709551615ull);
    EXPECT_EQ(a.profileShotcutFlags, 0);

    const RKUnArchiveProfileSetting u = RKUnArchiveProfileSetting::DefaultSetting();
    EXPECT_TRUE(idForm.match(u.profileID).hasMatch());
    EXPECT_TRUE(u.profileName.isEmpty() && !u.profileName.isNull());
    EXPECT_EQ(u.sourceEncoding, 4u);
    EXPECT_EQ(u.unArchiveMode, 1);
    EXPECT_EQ(u.sameFileName, 0);
    EXPECT_EQ(u.saveLocation, 0);
    EXPECT_EQ(u.saveStaticFolderPath, QDir::homePath());
    EXPECT_TRUE(u.exclusionFiles.isEmpty() && u.exclusionFolders.isEmpty());
    EXPECT_EQ(u.profileShotcutCode, ~quint64(0));
    EXPECT_EQ(u.profileShotcutFlags, 0);
}

// Records are values whose addresses repeat; identifiers must not.
TEST(RKProfileSetting, FreshIdentifiersNeverRepeatAcrossBothKinds)
{
    QSet<QString> seen;
    for (int i = 0; i < 2000; ++i) {
        seen.insert(RKProfileSetting::DefaultSetting().profileID);
        seen.insert(RKUnArchiveProfileSetting::DefaultSetting().profileID);
    }
    EXPECT_EQ(seen.size(), 4000);
}

TEST(RKProfileSetting, CopyKeepsEveryFieldAndOwnsItsLists)
{
    const RKProfileSetting source = unusualArchiveProfile();
    RKProfileSetting copy = source.copy();
    expectSameFields(copy, source);
    copy.exclusionFiles.append(QStringLiteral("*.bak"));
    copy.exclusionFolders.clear();
    EXPECT_EQ(source.exclusionFiles.size(), 2);
    EXPECT_EQ(source.exclusionFolders.size(), 1);
}

TEST(RKProfileSetting, EveryFieldOfBothRecordsRoundTrips)
{
    const RKProfileSetting archive = unusualArchiveProfile();
    expectSameFields(roundTrip(archive), archive);

    RKUnArchiveProfileSetting u;
    u.profileID = QStringLiteral("0l");
    u.profileName = QStringLiteral("展開");
    u.sourceEncoding = 3;
    u.unArchiveMode = 5;
    u.sameFileName = 1;
    u.saveLocation = 2;
    u.saveStaticFolderPath = QStringLiteral("/tmp/out");
    u.exclusionFiles = {QStringLiteral("Thumbs.db")};
    u.exclusionFolders = {QStringLiteral("__MACOSX"), QStringLiteral(".git")};
    u.profileShotcutCode = 122;
    u.profileShotcutFlags = -1;
    const RKUnArchiveProfileSetting back = roundTrip(u);
    EXPECT_EQ(back.profileID, u.profileID);
    EXPECT_EQ(back.profileName, u.profileName);
    EXPECT_EQ(back.sourceEncoding, u.sourceEncoding);
    EXPECT_EQ(back.unArchiveMode, u.unArchiveMode);
    EXPECT_EQ(back.sameFileName, u.sameFileName);
    EXPECT_EQ(back.saveLocation, u.saveLocation);
    EXPECT_EQ(back.saveStaticFolderPath, u.saveStaticFolderPath);
    EXPECT_EQ(back.exclusionFiles, u.exclusionFiles);
    EXPECT_EQ(back.exclusionFolders, u.exclusionFolders);
    EXPECT_EQ(back.profileShotcutCode, u.profileShotcutCode);
    EXPECT_EQ(back.profileShotcutFlags, u.profileShotcutFlags);
}

struct EncodingRow {
    const char* name;
    quint64 stored;
    quint64 readBack;
};

class EncodingValue : public ::testing::TestWithParam<EncodingRow> {};

// Values from 0x80000000 up travel as negative 32-bit numbers and come back
// with the upper 32 bits set; only the low 32 bits carry meaning.
TEST_P(EncodingValue, KeepsItsLow32BitsThroughBothRecords)
{
    const EncodingRow& row = GetParam();
    RKProfileSetting archive = RKProfileSetting::DefaultSetting();
    archive.destEncoding = row.stored;
    RKUnArchiveProfileSetting unarchive = RKUnArchiveProfileSetting::DefaultSetting();
    unarchive.sourceEncoding = row.stored;
    EXPECT_EQ(roundTrip(archive).destEncoding, row.readBack);
    EXPECT_EQ(roundTrip(unarchive).sourceEncoding, row.readBack);
}

const EncodingRow kEncodings[] = {
    {"ShiftJis", 8, 8},
    {"Utf16BE", 0x90000100, 0xFFFFFFFF90000100},
    {"Utf16LE", 0x94000100, 0xFFFFFFFF94000100},
    {"Utf32LE", 0x9C000100, 0xFFFFFFFF9C000100},
    {"Utf32LEAlreadyWidened", 0xFFFFFFFF9C000100, 0xFFFFFFFF9C000100},
    {"UpperBitsOfSmallValueDropped", 0x0000000100000004, 4},
};

INSTANTIATE_TEST_SUITE_P(RKProfileSetting, EncodingValue, ::testing::ValuesIn(kEncodings),
                         [](const auto& info) { return std::string(info.param.name); });

// (key, form) pairs as written: names, order and value forms are the
// persisted interface.
QStringList writtenKeys(const RKKeyedArchiver& coder)
{
    QStringList keys;
    for (const QJsonValue& entry : coder.toJson().value(QStringLiteral("$keys")).toArray()) {
        keys.append(entry.toArray().at(0).toString() + QLatin1Char(':')
                    + entry.toArray().at(1).toObject().keys().constFirst());
    }
    return keys;
}

TEST(RKProfileSetting, WritesItsKeysInTheDocumentedOrderAndForms)
{
    RKKeyedArchiver archive(QStringLiteral("RKProfileSetting"));
    RKProfileSetting::DefaultSetting().encodeWithCoder(archive);
    EXPECT_EQ(writtenKeys(archive).join(QLatin1Char(' ')),
              QStringLiteral("profileID:string profileName:string destEncoding:i32 password:string "
                             "archiveMode:i32 archiveLevel:i32 exclusionFiles:array exclusionFolders:array "
                             "saveLocation:i32 saveStaticFolderPath:string passMode:i32 sameFileName:i32 "
                             "profileShotcutCode:u64 profileShotcutFlags:i64 passwordShow:bool"));

    RKKeyedArchiver unarchive(QStringLiteral("RKUnArchiveProfileSetting"));
    RKUnArchiveProfileSetting::DefaultSetting().encodeWithCoder(unarchive);
    EXPECT_EQ(writtenKeys(unarchive).join(QLatin1Char(' ')),
              QStringLiteral("profileID:string profileName:string sourceEncoding:i32 unArchiveMode:i32 "
                             "saveLocation:i32 saveStaticFolderPath:string sameFileName:i32 "
                             "exclusionFiles:array exclusionFolders:array profileShotcutCode:u64 "
                             "profileShotcutFlags:i64"));
}

TEST(RKProfileSetting, MissingKeysLeaveZeroValues)
{
    RKKeyedArchiver coder(QStringLiteral("RKProfileSetting"));
    coder.encodeObject(QStringLiteral("profileID"), QStringLiteral("99l"));
    const RKProfileSetting a = RKProfileSetting::initWithCoder(RKKeyedUnarchiver::unarchive(coder.archivedData()));
    EXPECT_EQ(a.profileID, QStringLiteral("99l"));
    EXPECT_TRUE(a.profileName.isNull() && a.password.isNull() && a.saveStaticFolderPath.isNull());
    EXPECT_EQ(a.destEncoding, 0u);
    EXPECT_EQ(a.archiveLevel, 0);
    EXPECT_FALSE(a.passwordShow);
    EXPECT_TRUE(a.exclusionFiles.isEmpty() && a.exclusionFolders.isEmpty());
    EXPECT_EQ(a.profileShotcutCode, 0u);

    const RKUnArchiveProfileSetting u =
        RKUnArchiveProfileSetting::initWithCoder(RKKeyedUnarchiver::unarchive(coder.archivedData()));
    EXPECT_EQ(u.sourceEncoding, 0u);
    EXPECT_EQ(u.unArchiveMode, 0);
    EXPECT_TRUE(u.exclusionFolders.isEmpty());
    EXPECT_EQ(u.profileShotcutCode, 0u);
}

} // namespace
