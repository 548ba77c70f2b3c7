// The drop window: what a drag may bring, the pop-ups it shows, the
// preferences and the help page it opens.
#include "app/AppTestSupport.h"
#include "app/widgets/RKDroppableView.h"
#include "app/widgets/RKDroppableViewDelegate.h"
#include "app/widgets/RKHelpLauncher.h"
#include "app/widgets/RKLogoImageView.h"
#include "app/widgets/RKTopView.h"
#include "app/widgets/RKTopWindow.h"
#include "preferences/widgets/RKPreferenceWindow.h"
#include "settings/RKSetting.h"
#include "shortcut/SRCommon.h"
#include "shortcut/widgets/SRValidator.h"
#include "support/FakeXdgOpen.h"
#include "support/TestEnvironment.h"
#include "ui/RKProfilePopUpButton.h"
#include "ui/RKUnArchiveProfilePopUpButton.h"

#include <QAction>
#include <QApplication>
#include <QMenuBar>
#include <QMimeData>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QTimer>
#include <QUrl>
#include <gtest/gtest.h>

namespace {

// --- what a drag may bring --------------------------------------------------------

struct DragRow {
    const char* name;
    QStringList urls;
    QStringList expectedPaths; // empty: the drag is refused
};

struct RecordingDropDelegate : RKDroppableViewDelegate {
    void droppableViewItemDropped(RKDroppableView* view, const QStringList& paths) override
    {
        EXPECT_NE(view, nullptr);
        drops.append(paths);
    }
    QList<QStringList> drops;
};

class DraggedFileList : public ::testing::TestWithParam<DragRow> {};

TEST_P(DraggedFileList, OnlyAllLocalFilesAreTaken)
{
    const DragRow& row = GetParam();
    QMimeData data;
    if (row.urls.isEmpty()) {
        data.setText(QStringLiteral("/tmp/a.txt"));
    } else {
        data.setUrls(QUrl::fromStringList(row.urls));
    }
    RKDroppableView view;
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton,
                          Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &enter);
    EXPECT_EQ(enter.isAccepted(), !row.expectedPaths.isEmpty());
    if (enter.isAccepted()) {
        EXPECT_EQ(enter.dropAction(), Qt::CopyAction);
        EXPECT_TRUE(view.isHighlighted());
    }

    // The drop reaches the delegate once, with the paths in order, or not at all.
    RecordingDropDelegate delegate;
    view.setDelegate(&delegate);
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &drop);
    EXPECT_FALSE(view.isHighlighted());
    EXPECT_EQ(drop.isAccepted(), !row.expectedPaths.isEmpty());
    EXPECT_EQ(delegate.drops,
              row.expectedPaths.isEmpty() ? QList<QStringList>() : QList<QStringList>({row.expectedPaths}));
}

INSTANTIATE_TEST_SUITE_P(
    DropWindow, DraggedFileList,
    ::testing::Values(
        // In order; a folder without its trailing slash; escapes decoded.
        DragRow{"LocalFiles", {"file:///tmp/b.txt", "file:///tmp/dir/", "file:///tmp/%E8%B3%87%E6%96%99%20A.txt"},
                {"/tmp/b.txt", "/tmp/dir", "/tmp/資料 A.txt"}},
        DragRow{"RemoteRefused", {"https://example.com/a.txt"}, {}},
        DragRow{"MixedLocalAndRemoteRefused", {"file:///tmp/a.txt", "sftp://host/b.txt"}, {}},
        DragRow{"TextWithoutUrlsRefused", {}, {}}),
    [](const auto& info) { return std::string(info.param.name); });

// --- the window and its pop-ups --------------------------------------------------------

class DropWindowTest : public ::testing::Test
{
protected:
    void SetUp() override { RKSetting::RestoreDefault(); }
    ScriptedServices services;
};

TEST_F(DropWindowTest, ShowsTheProfilesLastUsedFromIt)
{
    RKSetting setting = RKSetting::Setting();
    setting.activeArchiveProfileID = setting.archiveProfiles[3].profileID;
    setting.activeUnArchiveProfileID = setting.unArchiveProfiles[1].profileID;
    setting.commit();

    TestAppDelegate app;
    RKTopView* view = app.window()->topView();
    EXPECT_EQ(view->profilePopUp()->currentIndex(), 3);
    EXPECT_EQ(view->unArchiveProfilePopUp()->currentIndex(), 1);
    EXPECT_FALSE(view->logoImageView()->pixmap().isNull()) << "AppIconFULL is built in";
}

// The Preferences command runs the preferences window modally over the drop
// window, made once and then reused; the drop window's pop-ups then show the
// lists as they were left, keeping the profile each showed.
TEST_F(DropWindowTest, PreferencesCommandRunsTheWindowThenTheListsAreShownAnew)
{
    TestAppDelegate app;
    app.window()->show();
    RKTopView* view = app.window()->topView();
    view->profilePopUp()->setCurrentIndex(2);
    QList<RKPreferenceWindow*> shown;
    const auto copyFirstProfileAndClose = [&] {
        auto* preferences = qobject_cast<RKPreferenceWindow*>(QApplication::activeModalWidget());
        ASSERT_NE(preferences, nullptr);
        shown.append(preferences);
        EXPECT_EQ(preferences->parentWidget(), app.window());
        EXPECT_EQ(preferences->modalParentWindow(), app.window());
        auto* table = preferences->findChild<QTableWidget*>(QStringLiteral("zipProfileTableView"));
        table->selectRow(0);
        preferences->findChild<QPushButton*>(QStringLiteral("zipProfileCopyButton"))->click();
        preferences->findChild<QPushButton*>(QStringLiteral("btnDone"))->click();
    };
    for (const int profiles : {6, 7}) {
        QTimer::singleShot(0, app.window(), copyFirstProfileAndClose);
        app.window()->findChild<QAction*>(QStringLiteral("doPrefernces"))->trigger();
        EXPECT_EQ(view->profilePopUp()->count(), profiles);
        EXPECT_EQ(view->profilePopUp()->currentIndex(), 2);
    }
    ASSERT_EQ(shown.size(), 2);
    EXPECT_EQ(shown[0], shown[1]);
    EXPECT_EQ(app.preferenceWindow(), shown[0]);
}

// The drop window's menu is the main menu that shortcut recorders check: its
// keys cannot become a profile's or the password combination.
TEST_F(DropWindowTest, MenuKeysAreTakenForRecorders)
{
    TestAppDelegate app;
    ASSERT_EQ(SRValidator::mainMenu(), app.window()->menuBar());
    SRValidator validator;
    // Control with the keys of ",", Q and F1.
    const std::tuple<qint64, quint32, const char16_t*> rows[] = {
        {43, SRCarbonControlFlag, u"環境設定…"}, {12, SRCarbonControlFlag, u"終了"}, {122, 0, u"MOKUZA-FULL ヘルプ"}};
    for (const auto& [keyCode, flags, title] : rows) {
        SRValidationError error;
        EXPECT_TRUE(validator.isKeyCodeAndFlagsTakenInMenu(keyCode, flags, SRValidator::mainMenu(), &error));
        EXPECT_TRUE(error.localizedRecoverySuggestion.contains(QString::fromUtf16(title)))
            << error.localizedRecoverySuggestion.toStdString();
    }
}

// --- logo and help ----------------------------------------------------------------------

TEST_F(DropWindowTest, LogoClickAndHelpCommandOpenTheShippedHelpPage)
{
    FakeXdgOpen xdgOpen; // a browser that takes the page
    {
        TestAppDelegate app;
        RKLogoImageView* logo = app.window()->topView()->logoImageView();
        QTest::mouseClick(logo, Qt::RightButton);
        QTest::mouseClick(logo, Qt::LeftButton);
        app.doHelp();
        ASSERT_TRUE(TestEnvironment::waitFor([&] { return xdgOpen.targets().size() >= 2; }));
        TestEnvironment::waitFor([] { return false; }, 300); // xdg-open's answers have come
        EXPECT_EQ(RKHelpLauncher::helpWindow(), nullptr) << "the browser took the page";
    }
    ASSERT_EQ(xdgOpen.targets().size(), 2) << "only the left button clicks";
    for (const QString& target : xdgOpen.targets()) {
        const QUrl url(target);
        ASSERT_TRUE(url.isLocalFile());
        EXPECT_TRUE(url.toLocalFile().endsWith(QStringLiteral("/help/index.html")));
        const QByteArray page = TestEnvironment::readFile(url.toLocalFile());
        EXPECT_TRUE(page.contains("lang=\"ja\""));
        EXPECT_TRUE(QString::fromUtf8(page).contains(QString::fromUtf16(u"プロファイル")));
    }
}

} // namespace
