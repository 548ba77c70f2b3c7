#include "results/widgets/RKCopyableTableCellView.h"
#include "results/widgets/RKProcessResultWindow.h"
#include "platform/RKFileManager.h"
#include "support/FakeFileManager.h"
#include "support/FakeXdgOpen.h"
#include "support/PrivateSessionBus.h"
#include "support/TestEnvironment.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QDir>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <gtest/gtest.h>

#include <cerrno>

namespace {

RKProcessResultInfo result(const QString& title, const QString& password, bool showPassword,
                           const QList<RQError>& errors = {})
{
    RKProcessResultInfo info;
    info.title = title;
    info.destPath.stringValue = QStringLiteral("/out/") + title;
    info.password.stringValue = password;
    info.password.showPassword = showPassword;
    info.errors.items = errors;
    return info;
}

class RKProcessResultWindowTest : public ::testing::Test
{
protected:
    // Shows the results, waits for the queued expansion of every row with
    // children and returns the rows in display order as the user sees them:
    // indented by depth, label, value and whether the copy button shows.
    std::vector<std::string> display(const QList<RKProcessResultInfo>& results)
    {
        window.doDisplay(results);
        std::vector<std::string> rows;
        EXPECT_TRUE(TestEnvironment::waitFor([&] {
            rows.clear();
            bool expanded = true;
            for (int i = 0; i < window.outlineView()->topLevelItemCount(); ++i) {
                walk(window.outlineView()->topLevelItem(i), 0, rows, expanded);
            }
            return expanded;
        }));
        return rows;
    }

    void walk(QTreeWidgetItem* item, int depth, std::vector<std::string>& rows, bool& expanded)
    {
        RKCopyableTableCellView* cell = window.valueCell(item);
        rows.push_back((QString(2 * depth, ' ') + item->text(0) + " = " + cell->textField()->text()
                        + (cell->btnCopy()->isHidden() ? "" : " [copy]")).toStdString());
        expanded = expanded && (item->childCount() == 0 || item->isExpanded());
        for (int i = 0; i < item->childCount(); ++i) {
            walk(item->child(i), depth + 1, rows, expanded);
        }
    }

    RKProcessResultWindow window;
};

// Two archives, the second with one error; no password row without a
// password, so the errors row follows the destination directly. A third,
// cancelled, says so; an error the system gave a reason for shows it.
TEST_F(RKProcessResultWindowTest, TwoArchivesTheSecondWithOneErrorAndACancelledOne)
{
    const RQError error = RQError::initWithErrorCode(2, QStringLiteral("/src/b/broken.txt"));
    const std::vector<std::string> expected{
        "a.zip = 処理が完了しました。", "  保存先 = /out/a.zip [copy]", "  エラー(0) = ",
        "b.zip = 処理が完了しましたが、エラーがあります。", "  保存先 = /out/b.zip [copy]", "  エラー(1) = ",
        "    /src/b/broken.txt = " + error.localizedDescription().toStdString() + " [copy]",
        "c.zip = 処理がキャンセルされました。", "  保存先 = /out/c.zip [copy]", "  エラー(1) = ",
        "    /src/c = 項目を読み込めませんでした。（許可がありません） [copy]",
    };
    RKProcessResultInfo cancelled = result("c.zip", QString(), false, {RQError::initWithErrorCode(8, "/src/c", EACCES)});
    cancelled.cancelled = true;
    EXPECT_EQ(display({result("a.zip", QString(), false), result("b.zip", QString(), false, {error}), cancelled}),
              expected);

    // A double-click on a row does nothing: it stays expanded.
    window.show();
    QTreeWidget* tree = window.outlineView();
    const QPoint row = tree->visualItemRect(tree->topLevelItem(1)).topLeft() + QPoint(80, 5);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, row);
    QTest::mouseDClick(tree->viewport(), Qt::LeftButton, {}, row);
    EXPECT_TRUE(tree->topLevelItem(1)->isExpanded());
}

// The password row stands between the destination and the errors (a filled
// checksum after it); masked, it shows one "*" per UTF-16 unit, and its copy
// button copies the password in clear. A password asked for and left empty
// gives an archive without encryption, and the row says so in words.
TEST_F(RKProcessResultWindowTest, PasswordRowsMaskedOrClear)
{
    RKProcessResultInfo withCrc = result("c.zip", QStringLiteral("\U0001F511"), false);
    withCrc.verify.crc = QStringLiteral("1A2B3C");
    const std::vector<std::string> expected{
        "a.zip = 処理が完了しました。", "  保存先 = /out/a.zip [copy]", "  パスワード = ******** [copy]", "  エラー(0) = ",
        "b.zip = 処理が完了しました。", "  保存先 = /out/b.zip [copy]", "  パスワード = pw [copy]", "  エラー(0) = ",
        "c.zip = 処理が完了しました。", "  保存先 = /out/c.zip [copy]", "  パスワード = ** [copy]",
        "  CRC = 1A2B3C [copy]", "  エラー(0) = ",
        "d.zip = 処理が完了しました。", "  保存先 = /out/d.zip [copy]",
        "  パスワード = なし（パスワードが空のため、暗号化されていません）", "  エラー(0) = ",
    };
    EXPECT_EQ(display({result("a.zip", QStringLiteral("pa55word"), false),
                       result("b.zip", QStringLiteral("pw"), true), withCrc, result("d.zip", QStringLiteral(""), false)}),
              expected);

    const QTreeWidgetItem* first = window.outlineView()->topLevelItem(0);
    window.valueCell(first->child(1))->btnCopy()->click();
    EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("pa55word"));
    // An errors row with no errors has nothing to expand.
    EXPECT_EQ(first->child(2)->childIndicatorPolicy(), QTreeWidgetItem::DontShowIndicatorWhenChildless);
}

// A long message breaks into lines inside its column, clear of the buttons;
// the tooltip and the clipboard keep it whole.
TEST_F(RKProcessResultWindowTest, LongErrorWrapsInsideItsColumn)
{
    const RQError error = RQError::initWithUnArchiverErrorCode(2, QStringLiteral("/in/broken.zip"));
    display({result("broken.zip", QString(), false, {error, error})});
    window.show();
    window.resize(420, 300);
    QTreeWidget* tree = window.outlineView();
    QTreeWidgetItem* errors = tree->topLevelItem(0)->child(1);
    QTreeWidgetItem* row = errors->child(0);
    RKCopyableTableCellView* cell = window.valueCell(row);
    QLabel* text = cell->textField();
    ASSERT_TRUE(TestEnvironment::waitFor([&] { return tree->visualItemRect(row).height() > 2 * text->fontMetrics().height(); }))
        << "two lines or more";
    QApplication::processEvents();
    // Every cell lies on its own row: none drawn empty, none over another.
    for (QTreeWidgetItem* each : {errors, row, errors->child(1)}) {
        const QRect rowRect = tree->visualItemRect(each);
        const QRect cellRect = window.valueCell(each)->geometry();
        EXPECT_EQ(std::pair(cellRect.top(), cellRect.height()), std::pair(rowRect.top(), rowRect.height()));
    }
    EXPECT_EQ(tree->visualItemRect(row).height(), std::max(cell->btnCopy()->sizeHint().height() + 2, cell->heightForWidth(cell->width())))
        << "as tall as the text needs, no taller";
    EXPECT_LE(cell->geometry().right(), tree->viewport()->width());
    EXPECT_LE(text->geometry().right(), cell->btnCopy()->geometry().left());
    EXPECT_GE(text->height(), text->heightForWidth(text->width())) << "no line cut off";
    EXPECT_EQ(text->toolTip(), error.localizedDescription());
    cell->btnCopy()->click();
    EXPECT_EQ(QApplication::clipboard()->text(), error.localizedDescription());
}

struct ShowFolderRow {
    const char* name;
    bool folder;      // an extraction's destination, else an archive
    bool fileManager; // one answers on the bus
};

class ShowFolder : public RKProcessResultWindowTest, public ::testing::WithParamInterface<ShowFolderRow> {};

// The destination row's 「フォルダを開く」 asks the file manager to show the
// archive or extracted folder selected (the same call for either); with no
// file manager on the bus the folder goes to xdg-open. A destination that is
// gone cannot be shown.
TEST_P(ShowFolder, ShowsTheDestinationInTheFileManagerElseOpensTheFolder)
{
    const ShowFolderRow& row = GetParam();
    QTemporaryDir dir;
    const QString destination = dir.filePath(row.folder ? "展開 先" : "資料 a.zip");
    ASSERT_TRUE(row.folder ? QDir().mkpath(destination) : TestEnvironment::writeFile(destination, "zip"));
    PrivateSessionBus bus;
    ASSERT_TRUE(bus.connect("client") && bus.connect("service"));
    FakeFileManager service;
    if (row.fileManager) {
        ASSERT_TRUE(service.serveOn("service"));
    }
    RKFileManager fileManager("client");
    RKFileManager::setCurrent(&fileManager);
    FakeXdgOpen xdgOpen;

    RKProcessResultInfo info = result("a.zip", QString(), false);
    info.destPath.stringValue = destination;
    RKProcessResultInfo gone = result("gone.zip", QString(), false);
    display({info, gone});
    RKCopyableTableCellView* cell = window.valueCell(window.outlineView()->topLevelItem(0)->child(0));
    EXPECT_FALSE(window.valueCell(window.outlineView()->topLevelItem(0))->btnShowFolder()->isVisibleTo(&window));
    EXPECT_FALSE(window.valueCell(window.outlineView()->topLevelItem(1)->child(0))->btnShowFolder()->isEnabled());
    ASSERT_TRUE(cell->btnShowFolder()->isVisibleTo(&window));
    EXPECT_EQ(cell->btnShowFolder()->text(), "フォルダを開く");
    cell->btnShowFolder()->click();

    if (row.fileManager) {
        ASSERT_TRUE(TestEnvironment::waitFor([&] { return !service.calls.isEmpty(); }));
        EXPECT_EQ(service.calls[0].uris, QStringList{QUrl::fromLocalFile(destination).toString(QUrl::FullyEncoded)});
        EXPECT_TRUE(xdgOpen.targets().isEmpty());
    } else {
        ASSERT_TRUE(TestEnvironment::waitFor([&] { return !xdgOpen.targets().isEmpty(); }));
        EXPECT_EQ(xdgOpen.targets(), QStringList{row.folder ? destination : dir.path()});
    }
    RKFileManager::setCurrent(nullptr);
}

INSTANTIATE_TEST_SUITE_P(Results, ShowFolder,
                         ::testing::Values(ShowFolderRow{"ArchiveInTheFileManager", false, true},
                                           ShowFolderRow{"ArchiveFolderByXdgOpen", false, false},
                                           ShowFolderRow{"ExtractedFolderByXdgOpen", true, false}),
                         [](const auto& info) { return std::string(info.param.name); });

// Every way of closing ends the modal loop with code 0; the window was shown
// centred over its parent, at its size of 755 by 300.
TEST(RKProcessResultWindowClose, EveryWayEndsTheModalLoopWithZero)
{
    const std::pair<const char*, void (*)(RKProcessResultWindow*)> ways[] = {
        {"CloseButton", [](RKProcessResultWindow* w) { w->findChild<QPushButton*>("btnClose")->click(); }},
        {"WindowManager", [](RKProcessResultWindow* w) { w->QDialog::close(); }},
        {"Escape", [](RKProcessResultWindow* w) { w->reject(); }},
    };
    QWidget parent;
    parent.setGeometry(100, 120, 900, 700);
    parent.show();
    for (const auto& [name, close] : ways) {
        SCOPED_TRACE(name);
        RKProcessResultWindow window;
        QPoint shownAt;
        int finishedWith = -99;
        QObject::connect(&window, &QDialog::finished, [&](int code) { finishedWith = code; });
        QTimer::singleShot(0, &window, [&] {
            shownAt = window.geometry().topLeft();
            close(&window);
        });
        window.showResults(&parent, {result("a.zip", QString(), false)});
        EXPECT_EQ(finishedWith, 0);
        EXPECT_FALSE(window.isVisible());
        EXPECT_EQ(shownAt, QPoint(100 + (900 - 755) / 2, 120 + (700 - 300) / 2));
    }
}

} // namespace
