// The drop window: what a drag may bring, the pop-ups it shows, the logo and
// the help page it opens.
#include "app/AppTestSupport.h"
#include "app/RKHelpPage.h"
#include "app/widgets/RKDroppableView.h"
#include "app/widgets/RKDroppableViewDelegate.h"
#include "app/widgets/RKLogoImageView.h"
#include "app/widgets/RKTopView.h"
#include "app/widgets/RKTopWindow.h"
#include "settings/RKSetting.h"
#include "support/TestEnvironment.h"
#include "ui/RKProfilePopUpButton.h"
#include "ui/RKUnArchiveProfilePopUpButton.h"

#include <QAction>
#include <QDesktopServices>
#include <QDir>
#include <QMimeData>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>
#include <gtest/gtest.h>

namespace {

// --- what a drag may bring --------------------------------------------------------

struct DragRow {
    const char* name;
    QStringList urls;
    QStringList expectedPaths; // empty: the drag is refused
};

class DraggedFileList : public ::testing::TestWithParam<DragRow>
{
};

TEST_P(DraggedFileList, OnlyAllLocalFilesAreTaken)
{
    const DragRow& row = GetParam();
    QMimeData data;
    QList<QUrl> urls;
    for (const QString& url : row.urls) {
        urls.append(QUrl(url));
    }
    if (!urls.isEmpty()) {
        data.setUrls(urls);
    } else {
        data.setText(QStringLiteral("/tmp/a.txt"));
    }
    EXPECT_EQ(RKDroppableView::filelistInDraggingInfo(&data), row.expectedPaths);

    // Entering the view answers the same question.
    RKDroppableView view;
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton,
                          Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &enter);
    EXPECT_EQ(enter.isAccepted(), !row.expectedPaths.isEmpty());
    if (enter.isAccepted()) {
        EXPECT_EQ(enter.dropAction(), Qt::CopyAction);
        EXPECT_TRUE(view.isHighlighted());
    }
}

INSTANTIATE_TEST_SUITE_P(
    DropWindow, DraggedFileList,
    ::testing::Values(
        DragRow{"FilesInOrder", {"file:///tmp/b.txt", "file:///tmp/a.txt"}, {"/tmp/b.txt", "/tmp/a.txt"}},
        DragRow{"FolderTrailingSlashRemoved", {"file:///tmp/dir/"}, {"/tmp/dir"}},
        DragRow{"JapaneseAndSpaces", {"file:///tmp/%E8%B3%87%E6%96%99%20A.txt"},
                {QString::fromUtf16(u"/tmp/資料 A.txt")}},
        DragRow{"RemoteRefused", {"https://example.com/a.txt"}, {}},
        DragRow{"MixedLocalAndRemoteRefused", {"file:///tmp/a.txt", "sftp://host/b.txt"}, {}},
        DragRow{"TextWithoutUrlsRefused", {}, {}}),
    [](const auto& info) { return std::string(info.param.name); });

class RecordingDropDelegate : public RKDroppableViewDelegate
{
public:
    void droppableViewItemDropped(RKDroppableView* view, const QStringList& paths) override
    {
        views.append(view);
        drops.append(paths);
    }
    QList<RKDroppableView*> views;
    QList<QStringList> drops;
};

TEST(DroppableView, DropHandsThePathsToTheDelegateOnce)
{
    RKDroppableView view;
    RecordingDropDelegate delegate;
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QStringLiteral("/tmp/x")),
                  QUrl::fromLocalFile(QStringLiteral("/tmp/y.zip"))});

    // Without a delegate a drop is still accepted and goes nowhere.
    QDropEvent lost(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &lost);

    view.setDelegate(&delegate);
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &enter);
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &drop);
    EXPECT_TRUE(drop.isAccepted());
    EXPECT_FALSE(view.isHighlighted());
    ASSERT_EQ(delegate.drops.size(), 1);
    EXPECT_EQ(delegate.views[0], &view);
    EXPECT_EQ(delegate.drops[0], QStringList({"/tmp/x", "/tmp/y.zip"}));

    QMimeData remote;
    remote.setUrls({QUrl(QStringLiteral("http://example.com/x"))});
    QDropEvent refused(QPointF(5, 5), Qt::CopyAction, &remote, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&view, &refused);
    EXPECT_EQ(delegate.drops.size(), 1);
}

// --- the window and its pop-ups --------------------------------------------------------

class DropWindowTest : public ::testing::Test
{
protected:
    void SetUp() override { RKSetting::RestoreDefault(); }

    ScriptedServices services;
};

TEST_F(DropWindowTest, ShowsTitleOutletsAndTheProfilesLastUsed)
{
    RKSetting setting = RKSetting::Setting();
    setting.activeArchiveProfileID = setting.archiveProfiles[3].profileID;
    setting.activeUnArchiveProfileID = setting.unArchiveProfiles[1].profileID;
    setting.commit();

    TestAppDelegate app;
    RKTopWindow* window = app.window();
    EXPECT_EQ(window->windowTitle(), QStringLiteral("MOKUZA-FULL"));
    EXPECT_EQ(app.mainWindow(), window);
    RKTopView* view = window->topView();
    EXPECT_EQ(window->findChild<RKProfilePopUpButton*>(QStringLiteral("profilePopUp")),
              view->profilePopUp());
    EXPECT_EQ(window->findChild<RKUnArchiveProfilePopUpButton*>(
                  QStringLiteral("unArchiveProfilePopUp")),
              view->unArchiveProfilePopUp());
    EXPECT_EQ(window->findChild<RKDroppableView*>(QStringLiteral("zipDropPanel")),
              view->zipDropPanel());
    EXPECT_EQ(view->zipDropPanel()->delegate(), view);
    EXPECT_NE(window->findChild<QAction*>(QStringLiteral("doPrefernces")), nullptr);
    EXPECT_NE(window->findChild<QAction*>(QStringLiteral("doHelp")), nullptr);

    EXPECT_EQ(view->profilePopUp()->count(), 5);
    EXPECT_EQ(view->profilePopUp()->currentIndex(), 3);
    EXPECT_EQ(view->unArchiveProfilePopUp()->currentIndex(), 1);
    EXPECT_FALSE(view->logoImageView()->pixmap().isNull()) << "AppIconFULL is built in";
}

struct ReloadRow {
    const char* name;
    int shownBefore;  // -1: nothing shown
    int removeAt;     // stored profile removed before the reload, -1: none
    int expectedIndex;
};

class ReloadPopUps : public DropWindowTest, public ::testing::WithParamInterface<ReloadRow>
{
};

// The pop-ups stand for the stored profile at their index, read when asked:
// after the lists changed, the reload keeps the profile now at the shown index
// and falls back to the first when that index is gone.
TEST_P(ReloadPopUps, KeepsTheStoredProfileAtTheShownIndex)
{
    const ReloadRow& row = GetParam();
    TestAppDelegate app;
    RKTopView* view = app.window()->topView();
    view->profilePopUp()->setCurrentIndex(row.shownBefore);
    view->unArchiveProfilePopUp()->setCurrentIndex(row.shownBefore < 0 ? -1 : 1);

    RKSetting setting = RKSetting::Setting();
    if (row.removeAt >= 0) {
        setting.archiveProfiles.removeAt(row.removeAt);
        setting.unArchiveProfiles.removeAt(1);
    }
    setting.commit();

    view->reloadProfilePopUps();
    EXPECT_EQ(view->profilePopUp()->count(), setting.archiveProfiles.size());
    EXPECT_EQ(view->profilePopUp()->currentIndex(), row.expectedIndex);
    EXPECT_EQ(view->unArchiveProfilePopUp()->count(), setting.unArchiveProfiles.size());
    EXPECT_EQ(view->unArchiveProfilePopUp()->currentIndex(),
              row.shownBefore < 0 || row.removeAt >= 0 ? 0 : 1);
}

INSTANTIATE_TEST_SUITE_P(
    DropWindow, ReloadPopUps,
    ::testing::Values(ReloadRow{"UnchangedListKeepsSelection", 2, -1, 2},
                      ReloadRow{"NothingShownSelectsFirst", -1, -1, 0},
                      ReloadRow{"EarlierProfileRemovedKeepsIndex", 3, 0, 3},
                      ReloadRow{"ShownIndexGoneSelectsFirst", 4, 2, 0}),
    [](const auto& info) { return std::string(info.param.name); });

// --- logo and help ----------------------------------------------------------------------

class UrlCatcher : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> opened;

public slots:
    void open(const QUrl& url) { opened.append(url); }
};

TEST_F(DropWindowTest, LogoClickAndHelpCommandOpenTheShippedHelpPage)
{
    UrlCatcher catcher;
    QDesktopServices::setUrlHandler(QStringLiteral("file"), &catcher, "open");
    {
        TestAppDelegate app;
        RKLogoImageView* logo = app.window()->topView()->logoImageView();
        QTest::mouseClick(logo, Qt::RightButton);
        EXPECT_TRUE(catcher.opened.isEmpty()) << "only the left button clicks";
        QTest::mouseClick(logo, Qt::LeftButton);
        app.doHelp();
    }
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));

    ASSERT_EQ(catcher.opened.size(), 2);
    for (const QUrl& url : catcher.opened) {
        ASSERT_TRUE(url.isLocalFile());
        EXPECT_TRUE(url.toLocalFile().endsWith(QStringLiteral("/help/index.html")));
        const QByteArray page = TestEnvironment::readFile(url.toLocalFile());
        EXPECT_TRUE(page.contains("lang=\"ja\""));
        EXPECT_TRUE(QString::fromUtf8(page).contains(QString::fromUtf16(u"プロファイル")));
    }
}

struct HelpLayoutRow {
    const char* name;
    const char* binDir;     // where the executable is, relative to the root
    const char* pageAt;     // where the page is, "" for nowhere
    const char* expected;   // what is found, "" for nothing
};

class HelpPageLayout : public ::testing::TestWithParam<HelpLayoutRow>
{
};

TEST_P(HelpPageLayout, FoundBesideTheBuildOrUnderShare)
{
    const HelpLayoutRow& row = GetParam();
    QTemporaryDir root;
    ASSERT_TRUE(root.isValid());
    const QString binDir = root.filePath(QString::fromLatin1(row.binDir));
    ASSERT_TRUE(QDir().mkpath(binDir));
    if (*row.pageAt) {
        ASSERT_TRUE(TestEnvironment::writeFile(root.filePath(QString::fromLatin1(row.pageAt)),
                                               "<html lang=\"ja\"></html>"));
    }
    const QString found = RKHelpPage::helpFilePath(binDir);
    EXPECT_EQ(found, *row.expected ? root.filePath(QString::fromLatin1(row.expected)) : QString());
}

INSTANTIATE_TEST_SUITE_P(
    DropWindow, HelpPageLayout,
    ::testing::Values(
        HelpLayoutRow{"BuildTree", "build", "build/help/index.html", "build/help/index.html"},
        HelpLayoutRow{"Installed", "usr/bin", "usr/share/mokuza-full/help/index.html",
                      "usr/share/mokuza-full/help/index.html"},
        HelpLayoutRow{"Missing", "usr/bin", "", ""}),
    [](const auto& info) { return std::string(info.param.name); });

} // namespace

#include "RKDropWindowTest.moc"
