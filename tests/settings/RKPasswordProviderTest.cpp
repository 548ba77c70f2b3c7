#include "platform/RKComputerName.h"
#include "settings/RKPasswordPrompt.h"
#include "settings/RKPasswordProvider.h"

#include <QDateTime>
#include <QTimeZone>
#include <gtest/gtest.h>

namespace {

struct TemplateCase {
    const char* name;
    const char* text;
    int year;
    int month;
    int day;
    const char* host; // nullptr: the system has no name
    const char* expected;
};

class RKPasswordTemplateTable : public ::testing::TestWithParam<TemplateCase>
{
};

TEST_P(RKPasswordTemplateTable, Expands)
{
    const TemplateCase& row = GetParam();
    const QString host = row.host ? QString::fromUtf8(row.host) : QString();
    const QString result = RKPasswordProvider::expandTemplate(QString::fromUtf8(row.text), row.year,
                                                              row.month, row.day, host);
    EXPECT_EQ(result, QString::fromUtf8(row.expected));
    EXPECT_FALSE(result.isNull());
}

INSTANTIATE_TEST_SUITE_P(
    Placeholders, RKPasswordTemplateTable,
    ::testing::Values(
        TemplateCase{"FactoryTemplate", "{YYYY}{MM}{DD}", 2026, 3, 5, "mac", "20260305"},
        TemplateCase{"TwoDigitYearAndMonth", "{YY}-{MM}", 2026, 3, 5, "mac", "26-03"},
        TemplateCase{"TwoDigitYearHasNoLeadingZero", "{YY}-{MM}", 2007, 3, 5, "mac", "7-03"},
        TemplateCase{"CenturyYearGivesZero", "{YY}", 2000, 1, 1, "mac", "0"},
        TemplateCase{"FullYearBeforeTwoDigitYear", "{YYYY}{YY}", 2026, 3, 5, "mac", "202626"},
        TemplateCase{"LowercaseUntouched", "{yyyy}{mm}{dd}{host}", 2026, 3, 5, "mac", "{yyyy}{mm}{dd}{host}"},
        TemplateCase{"EveryOccurrence", "{DD}.{DD}/{MM}{MM}", 2026, 12, 31, "mac", "31.31/1212"},
        TemplateCase{"HostReplaced", "pw-{HOST}", 2026, 3, 5, "Taro's Mac", "pw-Taro's Mac"},
        TemplateCase{"MissingHostKept", "pw-{HOST}", 2026, 3, 5, nullptr, "pw-{HOST}"},
        TemplateCase{"HostIsNotExpandedAgain", "{HOST}", 2026, 3, 5, "{YYYY}", "{YYYY}"},
        TemplateCase{"BracesAroundPlaceholder", "{{YY}}", 2026, 3, 5, "mac", "{26}"},
        TemplateCase{"NoPlaceholders", "secret", 2026, 3, 5, "mac", "secret"},
        TemplateCase{"EmptyTemplate", "", 2026, 3, 5, "mac", ""}),
    [](const ::testing::TestParamInfo<TemplateCase>& info) { return std::string(info.param.name); });

TEST(RKPasswordProvider, NullTemplateGivesEmptyPassword)
{
    EXPECT_EQ(RKPasswordProvider::expandTemplate(QString(), 2026, 3, 5, QString()), QString(""));
    EXPECT_FALSE(RKPasswordProvider::expandTemplate(QString(), 2026, 3, 5, QString()).isNull());
}

TEST(RKPasswordProvider, CalendarOfTheLocaleBreaksTheDate)
{
    const qint64 noon = QDateTime(QDate(2026, 3, 5), QTime(12, 0)).toMSecsSinceEpoch();
    const auto gregorian = RKPasswordProvider::calendarDate(noon, "en_US");
    EXPECT_EQ(gregorian.year, 2026);
    EXPECT_EQ(gregorian.month, 3);
    EXPECT_EQ(gregorian.day, 5);
    // The Japanese calendar counts years of the era: 2026 is Reiwa 8.
    const auto japanese = RKPasswordProvider::calendarDate(noon, "ja_JP@calendar=japanese");
    EXPECT_EQ(japanese.year, 8);
    EXPECT_EQ(japanese.month, 3);
    EXPECT_EQ(japanese.day, 5);
}

class RecordingPrompt : public RKPasswordPrompt
{
public:
    QString answer = QStringLiteral("typed");
    int shown = 0;
    QString profileID;

    QString showPasswordDialog(QObject*, const RKProfileSetting& profile) override
    {
        ++shown;
        profileID = profile.profileID;
        return answer;
    }
    QString askUnArchivePassword(QObject*) override { return QString(); }
};

class RKPasswordProviderModes : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_previous = RKPasswordPrompt::current();
        RKPasswordPrompt::setCurrent(&prompt);
        profile.profileID = QStringLiteral("42l");
        profile.password = QStringLiteral("x{HOST}");
    }
    void TearDown() override { RKPasswordPrompt::setCurrent(m_previous); }

    RecordingPrompt prompt;
    RKProfileSetting profile;

private:
    RKPasswordPrompt* m_previous = nullptr;
};

TEST_F(RKPasswordProviderModes, NoneGivesNoPasswordEvenWithText)
{
    profile.passMode = RKProfileSetting::PassModeNone;
    EXPECT_TRUE(RKPasswordProvider::Password(nullptr, profile).isNull());
    profile.passMode = 3;
    EXPECT_TRUE(RKPasswordProvider::Password(nullptr, profile).isNull());
    EXPECT_EQ(prompt.shown, 0);
}

TEST_F(RKPasswordProviderModes, AnytimeAsksThePromptForTheProfile)
{
    profile.passMode = RKProfileSetting::PassModeAnytime;
    EXPECT_EQ(RKPasswordProvider::Password(nullptr, profile), QStringLiteral("typed"));
    EXPECT_EQ(prompt.shown, 1);
    EXPECT_EQ(prompt.profileID, QStringLiteral("42l"));
}

TEST_F(RKPasswordProviderModes, AnytimeWithoutPromptGivesEmptyNotNone)
{
    RKPasswordPrompt::setCurrent(nullptr);
    profile.passMode = RKProfileSetting::PassModeAnytime;
    const QString password = RKPasswordProvider::Password(nullptr, profile);
    EXPECT_TRUE(password.isEmpty());
    EXPECT_FALSE(password.isNull());
}

TEST_F(RKPasswordProviderModes, StaticExpandsTheTemplateWithTheComputerName)
{
    profile.passMode = RKProfileSetting::PassModeStatic;
    const QString host = RKComputerName::computerName();
    const QString expected = QStringLiteral("x") + (host.isEmpty() ? QStringLiteral("{HOST}") : host);
    EXPECT_EQ(RKPasswordProvider::Password(nullptr, profile), expected);
    EXPECT_EQ(prompt.shown, 0);
}

struct MachineInfoCase {
    const char* name;
    const char* machineInfo; // nullptr: no file
    const char* hostName;
    const char* expected;    // nullptr: no name
};

class RKComputerNameTable : public ::testing::TestWithParam<MachineInfoCase>
{
};

TEST_P(RKComputerNameTable, PrefersThePrettyName)
{
    const MachineInfoCase& row = GetParam();
    const QByteArray info = row.machineInfo ? QByteArray(row.machineInfo) : QByteArray();
    const QString name = RKComputerName::computerName(info, QString::fromUtf8(row.hostName));
    if (row.expected) {
        EXPECT_EQ(name, QString::fromUtf8(row.expected));
    } else {
        EXPECT_TRUE(name.isNull());
    }
}

INSTANTIATE_TEST_SUITE_P(
    Sources, RKComputerNameTable,
    ::testing::Values(
        MachineInfoCase{"NoFileGivesHostName", nullptr, "box", "box"},
        MachineInfoCase{"DoubleQuoted", "CHASSIS=laptop\nPRETTY_HOSTNAME=\"Taro's Laptop\"\n", "box", "Taro's Laptop"},
        MachineInfoCase{"EscapedQuote", "PRETTY_HOSTNAME=\"say \\\"hi\\\"\"", "box", "say \"hi\""},
        MachineInfoCase{"Utf8Name", "PRETTY_HOSTNAME=\"\xE5\xA4\xAA\xE9\x83\x8E\xE3\x81\xAEMac\"", "box", "\xE5\xA4\xAA\xE9\x83\x8E\xE3\x81\xAEMac"},
        MachineInfoCase{"EmptyPrettyNameFallsBack", "PRETTY_HOSTNAME=\"\"\n", "box", "box"},
        MachineInfoCase{"OtherKeyIgnored", "NOT_PRETTY_HOSTNAME=x\nICON_NAME=computer", "box", "box"},
        MachineInfoCase{"NoNameAtAll", "", "", nullptr}),
    [](const ::testing::TestParamInfo<MachineInfoCase>& info) { return std::string(info.param.name); });

} // namespace
