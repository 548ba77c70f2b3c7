#include "platform/RKComputerName.h"
#include "settings/RKPasswordPrompt.h"
#include "settings/RKPasswordProvider.h"

#include <QDateTime>
#include <gtest/gtest.h>

namespace {

struct TemplateCase {
    const char* name;
    const char* text; // nullptr: a profile read back without its password key
    int year, month, day;
    const char* host; // nullptr: the system has no name
    const char* expected;
};

class RKPasswordTemplate : public ::testing::TestWithParam<TemplateCase> {};

TEST_P(RKPasswordTemplate, Expands)
{
    const TemplateCase& row = GetParam();
    const QString result = RKPasswordProvider::expandTemplate(row.text ? QString::fromUtf8(row.text) : QString(),
                                                              row.year, row.month, row.day,
                                                              row.host ? QString::fromUtf8(row.host) : QString());
    EXPECT_EQ(result, QString::fromUtf8(row.expected));
    EXPECT_FALSE(result.isNull());
}

INSTANTIATE_TEST_SUITE_P(
    Placeholders, RKPasswordTemplate,
    ::testing::Values(
        TemplateCase{"FactoryTemplate", "{YYYY}{MM}{DD}", 2026, 3, 5, "mac", "20260305"},
        TemplateCase{"TwoDigitYearAndMonth", "{YY}-{MM}", 2026, 3, 5, "mac", "26-03"},
        TemplateCase{"TwoDigitYearHasNoLeadingZero", "{YY}-{MM}", 2007, 3, 5, "mac", "7-03"},
        TemplateCase{"FullYearBeforeTwoDigitYear", "{YYYY}{YY}", 2026, 3, 5, "mac", "202626"},
        TemplateCase{"LowercaseUntouched", "{yyyy}{mm}{dd}{host}", 2026, 3, 5, "mac", "{yyyy}{mm}{dd}{host}"},
        TemplateCase{"EveryOccurrence", "{DD}.{DD}/{MM}{MM}", 2026, 12, 31, "mac", "31.31/1212"},
        TemplateCase{"HostReplacedNotExpandedAgain", "pw-{HOST}", 2026, 3, 5, "{YYYY}", "pw-{YYYY}"},
        TemplateCase{"MissingHostKept", "pw-{HOST}", 2026, 3, 5, nullptr, "pw-{HOST}"},
        TemplateCase{"EmptyTemplate", "", 2026, 3, 5, "mac", ""},
        TemplateCase{"NullTemplateIsEmpty", nullptr, 2026, 3, 5, "mac", ""}),
    [](const ::testing::TestParamInfo<TemplateCase>& info) { return std::string(info.param.name); });

// The date is broken up by the calendar of the locale: 2026 is Reiwa 8.
TEST(RKPasswordProvider, CalendarOfTheLocaleBreaksTheDate)
{
    const qint64 noon = QDateTime(QDate(2026, 3, 5), QTime(12, 0)).toMSecsSinceEpoch();
    const auto gregorian = RKPasswordProvider::calendarDate(noon, "en_US");
    const auto japanese = RKPasswordProvider::calendarDate(noon, "ja_JP@calendar=japanese");
    EXPECT_EQ(std::tie(gregorian.year, gregorian.month, gregorian.day), std::make_tuple(2026, 3, 5));
    EXPECT_EQ(std::tie(japanese.year, japanese.month, japanese.day), std::make_tuple(8, 3, 5));
}

class RecordingPrompt : public RKPasswordPrompt
{
public:
    QStringList asked; // profile identifiers
    QString showPasswordDialog(QObject*, const RKProfileSetting& profile) override
    {
        asked.append(profile.profileID);
        return QStringLiteral("typed");
    }
    QString askUnArchivePassword(QObject*, const QString&, int) override { return QString(); }
};

// passMode 0 (and a value outside the table) gives no password even with a
// template; 1 asks the prompt (an empty text when none is installed); 2
// expands the template with the computer's name.
TEST(RKPasswordProvider, PassModeDecidesWhereThePasswordComesFrom)
{
    RecordingPrompt prompt;
    RKPasswordPrompt::setCurrent(&prompt);
    RKProfileSetting profile;
    profile.profileID = QStringLiteral("42l");
    profile.password = QStringLiteral("x{HOST}");
    const QString host = RKComputerName::computerName();
    const std::pair<qint32, QString> rows[] = {{0, QString()}, {3, QString()}, {1, "typed"},
                                               {2, "x" + (host.isEmpty() ? QStringLiteral("{HOST}") : host)}};
    for (const auto& [passMode, expected] : rows) {
        profile.passMode = passMode;
        const QString password = RKPasswordProvider::Password(nullptr, profile);
        EXPECT_EQ(password, expected) << passMode;
        EXPECT_EQ(password.isNull(), expected.isNull()) << passMode;
    }
    EXPECT_EQ(prompt.asked, QStringList{"42l"});
    RKPasswordPrompt::setCurrent(nullptr);
    profile.passMode = 1;
    EXPECT_EQ(RKPasswordProvider::Password(nullptr, profile), QString(""));
    EXPECT_FALSE(RKPasswordProvider::Password(nullptr, profile).isNull());
}

TEST(RKComputerName, PrefersThePrettyNameOfMachineInfo)
{
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"", "box", "box"},
        {"CHASSIS=laptop\nPRETTY_HOSTNAME=\"Taro's \\\"Mac\\\"\"\n", "box", "Taro's \"Mac\""},
        {"PRETTY_HOSTNAME=\"\"\nNOT_PRETTY_HOSTNAME=x", "box", "box"},
        {"", "", nullptr},
    };
    for (const auto& [machineInfo, hostName, expected] : rows) {
        const QString name = RKComputerName::computerName(machineInfo, hostName);
        EXPECT_EQ(name, expected ? QString::fromUtf8(expected) : QString()) << machineInfo;
        EXPECT_EQ(name.isNull(), expected == nullptr) << machineInfo;
    }
}

} // namespace
