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

// Shown centred over its parent with the strength bar; every way of ending
// it confirms what was typed (the entry cannot be declined).
TEST(RKPasswordWindow, EveryWayOfEndingReturnsTheTypedText)
{
    const std::tuple<const char*, const char*, void (*)(RKPasswordWindow*)> ways[] = {
        {"OkButton", "s3cret", [](RKPasswordWindow* w) { w->btnOk()->click(); }},
        {"EmptyEntry", "", [](RKPasswordWindow* w) { w->btnOk()->click(); }},
        {"WindowManagerCloseConfirms", "typed", [](RKPasswordWindow* w) { w->close(); }},
        {"EscapeConfirms", "typed", [](RKPasswordWindow* w) { w->reject(); }},
    };
    QWidget parent;
    parent.setGeometry(200, 100, 800, 600);
    parent.show();
    for (const auto& [name, typed, end] : ways) {
        SCOPED_TRACE(name);
        QPoint shownAt;
        QSize shownSize;
        bool strengthShown = false;
        QTimer::singleShot(0, &parent, [&] {
            auto* window = qobject_cast<RKPasswordWindow*>(QApplication::activeModalWidget());
            ASSERT_NE(window, nullptr);
            shownAt = window->geometry().topLeft();
            shownSize = window->size();
            strengthShown = window->scPassword()->showStrength();
            window->scPassword()->setText(QString::fromUtf8(typed));
            end(window);
        });
        const QString password = RKPasswordWindow::runModal(&parent, profileWithID(QStringLiteral("7l")));
        EXPECT_EQ(password, QString::fromUtf8(typed));
        EXPECT_FALSE(password.isNull());
        EXPECT_TRUE(strengthShown);
        EXPECT_EQ(shownAt, QPoint(200 + (800 - shownSize.width()) / 2, 100 + (600 - shownSize.height()) / 2));
    }
}

// dispInit empties the entry and shows it in clear exactly when the profile's
// passwordShow is on; the check box then stores passwordShow of the first
// stored profile with the window's identifier at once, and commits also when
// none has it.
TEST(RKPasswordWindowShowPassword, ClickCommitsTheStoredProfile)
{
    RKSetting setting;
    setting.archiveProfiles = {profileWithID("a1l"), profileWithID("b2l"), profileWithID("b2l")};
    setting.commit();
    const auto storedFlags = [] {
        QList<bool> flags;
        for (const RKProfileSetting& profile : RKSetting::Setting().archiveProfiles) {
            flags.append(profile.passwordShow);
        }
        return flags;
    };
    const std::tuple<QString, bool, QList<bool>> clicks[] = {
        {"b2l", true, {false, true, false}}, {"b2l", false, {false, false, false}}, {"gone", true, {false, false, false}},
    };
    RKPasswordWindow window;
    for (const auto& [id, shows, flags] : clicks) {
        window.scPassword()->setText(QStringLiteral("left over"));
        window.dispInit(profileWithID(id, !shows));
        EXPECT_TRUE(window.scPassword()->text().isEmpty());
        EXPECT_EQ(window.scPassword()->showsText(), !shows);
        EXPECT_EQ(window.btnShowPassword()->isChecked(), !shows);
        window.btnShowPassword()->click();
        EXPECT_EQ(window.scPassword()->showsText(), shows);
        EXPECT_EQ(window.profile().passwordShow, shows);
        EXPECT_EQ(storedFlags(), flags) << id.toStdString() << " " << shows;
    }
}

} // namespace
