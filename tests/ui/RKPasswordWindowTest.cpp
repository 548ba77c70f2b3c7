#include "settings/RKSetting.h"
#include "ui/KSPasswordField.h"
#include "ui/RKPasswordWindow.h"

#include <QApplication>
#include <QCheckBox>
#include <QKeyEvent>
#include <QPushButton>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

RKProfileSetting profileWithID(const QString& id, bool passwordShow = false)
{
    RKProfileSetting profile = RKProfileSetting::DefaultSetting();
    profile.profileID = id;
    profile.passwordShow = passwordShow;
    return profile;
}

TEST(RKPasswordWindow, DispInitFollowsThePasswordShowFlagAndEmptiesTheEntry)
{
    RKPasswordWindow window;
    for (const bool show : {true, false}) {
        window.scPassword()->setText(QStringLiteral("left over"));
        window.dispInit(profileWithID(QStringLiteral("1l"), show));
        EXPECT_EQ(window.scPassword()->showsText(), show);
        EXPECT_EQ(window.btnShowPassword()->isChecked(), show);
        EXPECT_TRUE(window.scPassword()->text().isEmpty());
    }
}

// Ways to end the window; each confirms what was typed.
struct ConfirmCase {
    const char* name;
    QString typed;
    std::function<void(RKPasswordWindow*)> end;
};

class RKPasswordWindowConfirm : public ::testing::TestWithParam<ConfirmCase>
{
};

TEST(RKPasswordWindow, RepeatOfTheKeyHeldWhenItOpenedTypesNothing)
{
    RKPasswordWindow window;
    window.dispInit(RKProfileSetting::DefaultSetting());
    KSPasswordField* field = window.scPassword();
    const auto key = [field](QEvent::Type type, bool autoRepeat) {
        QKeyEvent event(type, Qt::Key_P, Qt::NoModifier, QStringLiteral("p"), autoRepeat);
        QCoreApplication::sendEvent(field, &event);
    };
    key(QEvent::KeyPress, true);
    key(QEvent::KeyRelease, true);
    key(QEvent::KeyPress, true);
    EXPECT_EQ(field->text(), QString());
    key(QEvent::KeyRelease, false); // the combination is let go
    key(QEvent::KeyPress, false);
    key(QEvent::KeyPress, true); // from now on a held key repeats as usual
    EXPECT_EQ(field->text(), QStringLiteral("pp"));
}

TEST_P(RKPasswordWindowConfirm, ReturnsTheTypedText)
{
    const ConfirmCase& row = GetParam();
    QWidget parent;
    parent.setGeometry(200, 100, 800, 600);
    parent.show();
    QPoint shownAt;
    QSize shownSize;
    bool strengthShown = false;
    QTimer::singleShot(0, &parent, [&] {
        auto* window = qobject_cast<RKPasswordWindow*>(QApplication::activeModalWidget());
        ASSERT_NE(window, nullptr);
        shownAt = window->pos();
        shownSize = window->size();
        strengthShown = window->scPassword()->showStrength();
        window->scPassword()->setText(row.typed);
        row.end(window);
    });
    const QString password = RKPasswordWindow::runModal(&parent, profileWithID(QStringLiteral("7l")));
    EXPECT_EQ(password, row.typed);
    EXPECT_FALSE(password.isNull());
    EXPECT_TRUE(strengthShown);
    EXPECT_EQ(shownAt, QPoint(200 + (800 - shownSize.width()) / 2, 100 + (600 - shownSize.height()) / 2));
}

INSTANTIATE_TEST_SUITE_P(
    Ways, RKPasswordWindowConfirm,
    ::testing::Values(
        ConfirmCase{"OkButton", "s3cret", [](RKPasswordWindow* w) { w->btnOk()->click(); }},
        ConfirmCase{"EmptyEntry", "", [](RKPasswordWindow* w) { w->btnOk()->click(); }},
        ConfirmCase{"WindowManagerCloseConfirms", "typed", [](RKPasswordWindow* w) { w->close(); }},
        ConfirmCase{"EscapeConfirms", "typed", [](RKPasswordWindow* w) { w->reject(); }}),
    [](const ::testing::TestParamInfo<ConfirmCase>& info) { return std::string(info.param.name); });

// The check box stores passwordShow in the stored settings at once.
class RKPasswordWindowShowPassword : public ::testing::Test
{
protected:
    void SetUp() override
    {
        RKSetting setting;
        setting.archiveProfiles = {profileWithID("a1l"), profileWithID("b2l"), profileWithID("b2l")};
        setting.commit();
    }

    static QList<bool> storedFlags()
    {
        QList<bool> flags;
        for (const RKProfileSetting& profile : RKSetting::Setting().archiveProfiles) {
            flags.append(profile.passwordShow);
        }
        return flags;
    }
};

TEST_F(RKPasswordWindowShowPassword, ClickCommitsTheFirstStoredProfileWithTheID)
{
    RKPasswordWindow window;
    window.dispInit(profileWithID(QStringLiteral("b2l")));
    window.btnShowPassword()->click();
    EXPECT_TRUE(window.scPassword()->showsText());
    EXPECT_TRUE(window.profile().passwordShow);
    EXPECT_EQ(storedFlags(), (QList<bool>{false, true, false}));

    window.btnShowPassword()->click();
    EXPECT_FALSE(window.scPassword()->showsText());
    EXPECT_EQ(storedFlags(), (QList<bool>{false, false, false}));
}

TEST_F(RKPasswordWindowShowPassword, UnknownProfileChangesNoStoredProfile)
{
    RKPasswordWindow window;
    window.dispInit(profileWithID(QStringLiteral("gone")));
    window.btnShowPassword()->click();
    EXPECT_TRUE(window.scPassword()->showsText());
    EXPECT_EQ(storedFlags(), (QList<bool>{false, false, false}));
}

} // namespace
