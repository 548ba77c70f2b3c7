#include "platform/RKKeyedArchiver.h"
#include "platform/RKKeyedUnarchiver.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

RKKeyedUnarchiver reread(const RKKeyedArchiver& coder)
{
    return RKKeyedUnarchiver::unarchive(coder.archivedData());
}

TEST(RKKeyedArchiver, EveryValueFormRoundTripsAtItsLimits)
{
    RKKeyedArchiver child(QStringLiteral("Child"));
    child.encodeInt32(QStringLiteral("n"), 7);

    RKKeyedArchiver coder(QStringLiteral("Root"));
    coder.encodeObject(QStringLiteral("text"), QStringLiteral("日本語 \"quoted\" \\ end"));
    coder.encodeObject(QStringLiteral("empty"), QStringLiteral(""));
    coder.encodeObject(QStringLiteral("null"), QString());
    coder.encodeInt32(QStringLiteral("i32min"), std::numeric_limits<qint32>::min());
    coder.encodeInt32(QStringLiteral("i32max"), std::numeric_limits<qint32>::max());
    coder.encodeInt64(QStringLiteral("i64min"), std::numeric_limits<qint64>::min());
    // Beyond the 53 bits a JSON number keeps exactly.
    coder.encodeInt64(QStringLiteral("i64odd"), (qint64(1) << 60) + 1);
    coder.encodeUInt64(QStringLiteral("u64max"), std::numeric_limits<quint64>::max());
    coder.encodeBool(QStringLiteral("yes"), true);
    coder.encodeStringArray(QStringLiteral("list"), {QStringLiteral("a"), QString(), QStringLiteral("")});
    coder.encodeObjectArray(QStringLiteral("children"), {child, child});

    const RKKeyedUnarchiver root = reread(coder);
    ASSERT_FALSE(root.failed());
    EXPECT_EQ(root.className(), QStringLiteral("Root"));
    EXPECT_EQ(root.decodeObject(QStringLiteral("text")), QStringLiteral("日本語 \"quoted\" \\ end"));
    EXPECT_FALSE(root.decodeObject(QStringLiteral("empty")).isNull());
    EXPECT_TRUE(root.decodeObject(QStringLiteral("empty")).isEmpty());
    EXPECT_TRUE(root.decodeObject(QStringLiteral("null")).isNull());
    EXPECT_EQ(root.decodeInt32(QStringLiteral("i32min")), std::numeric_limits<qint32>::min());
    EXPECT_EQ(root.decodeInt32(QStringLiteral("i32max")), std::numeric_limits<qint32>::max());
    EXPECT_EQ(root.decodeInt64(QStringLiteral("i64min")), std::numeric_limits<qint64>::min());
    EXPECT_EQ(root.decodeInt64(QStringLiteral("i64odd")), (qint64(1) << 60) + 1);
    EXPECT_EQ(root.decodeUInt64(QStringLiteral("u64max")), std::numeric_limits<quint64>::max());
    EXPECT_TRUE(root.decodeBool(QStringLiteral("yes")));
    const QStringList list = root.decodeStringArray(QStringLiteral("list"));
    ASSERT_EQ(list.size(), 3);
    EXPECT_TRUE(list.at(1).isNull());
    EXPECT_FALSE(list.at(2).isNull());
    const QList<RKKeyedUnarchiver> children = root.decodeObjectArray(QStringLiteral("children"));
    ASSERT_EQ(children.size(), 2);
    EXPECT_EQ(children.at(1).className(), QStringLiteral("Child"));
    EXPECT_EQ(children.at(1).decodeInt32(QStringLiteral("n")), 7);
    EXPECT_FALSE(root.failed());
}

struct WrongFormRow {
    const char* name;
    const char* document;
    std::function<void(const RKKeyedUnarchiver&)> read;
};

class WrongForm : public ::testing::TestWithParam<WrongFormRow> {};

// A value in another form than the one asked for marks the whole document as
// failed, including the objects decoded from it before.
TEST_P(WrongForm, FailsTheWholeDocument)
{
    const WrongFormRow& row = GetParam();
    const RKKeyedUnarchiver root = RKKeyedUnarchiver::unarchive(QByteArray(row.document));
    ASSERT_FALSE(root.failed());
    const QList<RKKeyedUnarchiver> children = root.decodeObjectArray(QStringLiteral("children"));
    row.read(root);
    EXPECT_TRUE(root.failed());
    for (const RKKeyedUnarchiver& child : children) {
        EXPECT_TRUE(child.failed());
    }
}

#define DOC(keys)                                                                                  \
    "{\"$archiver\":\"RKKeyedArchiver\",\"$version\":1,\"$top\":{\"$class\":\"Root\",\"$keys\":[" \
    "[\"children\",{\"array\":[{\"object\":{\"$class\":\"C\",\"$keys\":[]}}]}]," keys "]}}"

const WrongFormRow kWrongForms[] = {
    {"I64ReadAsI32", DOC("[\"k\",{\"i64\":\"5\"}]"),
     [](const RKKeyedUnarchiver& r) { r.decodeInt32(QStringLiteral("k")); }},
    {"I32OutOfRange", DOC("[\"k\",{\"i32\":4294967296}]"),
     [](const RKKeyedUnarchiver& r) { r.decodeInt32(QStringLiteral("k")); }},
    {"U64NotDigits", DOC("[\"k\",{\"u64\":\"-1\"}]"),
     [](const RKKeyedUnarchiver& r) { r.decodeUInt64(QStringLiteral("k")); }},
    {"StringReadAsBool", DOC("[\"k\",{\"string\":\"true\"}]"),
     [](const RKKeyedUnarchiver& r) { r.decodeBool(QStringLiteral("k")); }},
    {"NumberReadAsString", DOC("[\"k\",{\"i32\":3}]"),
     [](const RKKeyedUnarchiver& r) { r.decodeObject(QStringLiteral("k")); }},
    {"NumberInsideStringList", DOC("[\"k\",{\"array\":[{\"i32\":3}]}]"),
     [](const RKKeyedUnarchiver& r) { r.decodeStringArray(QStringLiteral("k")); }},
};

#undef DOC

INSTANTIATE_TEST_SUITE_P(RKKeyedUnarchiver, WrongForm, ::testing::ValuesIn(kWrongForms),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
