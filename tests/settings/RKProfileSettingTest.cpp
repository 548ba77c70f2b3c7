#include "settings/RKProfileSetting.h"
#include "settings/RKUnArchiveProfileSetting.h"

#include "platform/RKKeyedArchiver.h"
#include "platform/RKKeyedUnarchiver.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonObject>
#include <QSet>

namespace {

// The keyed form as written, one "key:form=value" per key in order: names,
// order, value forms and values are the persisted interface.
template <typename Record>
QString written(const Record& record)
{
    RKKeyedArchiver coder(QStringLiteral("Record"));
    record.encodeWithCoder(coder);
    QStringList entries;
    for (const QJsonValue& entry : coder.toJson().value(QStringLiteral("$keys")).toArray()) {
        const QString form = entry[1].toObject().keys().constFirst();
        QString text = entry[1][form].toVariant().toString();
        if (form == "array") {
            QStringList items;
            for (const QJsonValue& item : entry[1][form].toArray()) {
                items.append('"' + item["string"].toString() + '"');
            }
            text = '[' + items.join(',') + ']';
        }
        entries.append(entry[0].toString() + ':' + form + '=' + text);
    }
    return entries.join(' ');
}

template <typename Record>
Record roundTrip(const Record& record)
{
    RKKeyedArchiver coder(QStringLiteral("Record"));
    record.encodeWithCoder(coder);
    return Record::initWithCoder(RKKeyedUnarchiver::unarchive(coder.archivedData()));
}

// Records are values whose addresses repeat; identifiers must not. (Their
// form is checked with the factory profiles.)
TEST(RKProfileSetting, DefaultSettingHasAFreshIdentifier)
{
    QSet<QString> seen;
    for (int i = 0; i < 2000; ++i) {
        seen.insert(RKProfileSetting::DefaultSetting().profileID);
        seen.insert(RKUnArchiveProfileSetting::DefaultSetting().profileID);
    }
    EXPECT_EQ(seen.size(), 4000);
}

// Every field differs from its zero and default value (codes outside their
// tables included), so a field that is not written, read or copied shows;
// the numbers exceed what a JSON number keeps. Encoding values from
// 0x80000000 up travel as negative 32-bit numbers and come back with the
// upper 32 bits set; only the low 32 bits carry meaning.
TEST(RKProfileSetting, EveryFieldRoundTripsAndIsCopied)
{
    RKProfileSetting a;
    a.profileID = "4294967295l", a.profileName = "写真（週次）", a.destEncoding = 0x94000100;
    a.archiveMode = 7, a.archiveLevel = 9, a.password = "{YYYY}-{HOST}", a.passMode = 2, a.passwordShow = true, a.sameFileName = 2;
    a.exclusionFiles = {"*.tmp", ""}, a.exclusionFolders = {"node_modules"}, a.saveLocation = -1;
    a.saveStaticFolderPath = "/srv/アーカイブ", a.profileShotcutCode = ~1ull, a.profileShotcutFlags = (1ll << 60) + 1;
    RKUnArchiveProfileSetting u;
    u.profileID = "0l", u.profileName = "展開", u.sourceEncoding = 0x9C000100, u.unArchiveMode = 5, u.sameFileName = 1;
    u.saveLocation = 2, u.saveStaticFolderPath = "/tmp/out", u.exclusionFiles = {"Thumbs.db"};
    u.exclusionFolders = {"__MACOSX", ".git"}, u.profileShotcutCode = 122, u.profileShotcutFlags = -(1ll << 62) - 3;
    EXPECT_EQ(written(roundTrip(a)), written(a));
    EXPECT_EQ(written(roundTrip(u)), written(u));
    EXPECT_EQ(roundTrip(a).destEncoding, 0xFFFFFFFF94000100);
    EXPECT_EQ(roundTrip(u).sourceEncoding, 0xFFFFFFFF9C000100);
    a.destEncoding = 0x100000008; // the upper bits of a small value are not kept
    EXPECT_EQ(roundTrip(a).destEncoding, 8u);

    // The copy keeps the identifier and has lists of its own.
    const QString before = written(a);
    RKProfileSetting copy = a.copy();
    EXPECT_EQ(written(copy), before);
    copy.exclusionFiles.append("*.bak");
    copy.exclusionFolders.clear();
    EXPECT_EQ(written(a), before);
}

// Decoding applies no defaults: absent keys leave null strings, zeros, false
// and empty lists.
TEST(RKProfileSetting, MissingKeysLeaveZeroValues)
{
    RKKeyedArchiver coder(QStringLiteral("Record"));
    coder.encodeObject(QStringLiteral("profileID"), QStringLiteral("99l"));
    const RKKeyedUnarchiver decoder = RKKeyedUnarchiver::unarchive(coder.archivedData());
    EXPECT_EQ(written(RKProfileSetting::initWithCoder(decoder)),
              "profileID:string=99l profileName:null=true destEncoding:i32=0 password:null=true "
              "archiveMode:i32=0 archiveLevel:i32=0 exclusionFiles:array=[] exclusionFolders:array=[] "
              "saveLocation:i32=0 saveStaticFolderPath:null=true passMode:i32=0 sameFileName:i32=0 "
              "profileShotcutCode:u64=0 profileShotcutFlags:i64=0 passwordShow:bool=false");
    EXPECT_EQ(written(RKUnArchiveProfileSetting::initWithCoder(decoder)),
              "profileID:string=99l profileName:null=true sourceEncoding:i32=0 unArchiveMode:i32=0 "
              "saveLocation:i32=0 saveStaticFolderPath:null=true sameFileName:i32=0 exclusionFiles:array=[] "
              "exclusionFolders:array=[] profileShotcutCode:u64=0 profileShotcutFlags:i64=0");
}

} // namespace
