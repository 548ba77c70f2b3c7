#include "results/widgets/RKCopyableTableCellView.h"
#include "results/widgets/RKProcessResultWindow.h"
#include "support/TestEnvironment.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <gtest/gtest.h>

namespace {

using Kind = RKProcessResultWindow::RowKind;

RKProcessResultInfo result(const QString& title, const QString& dest, const QString& password,
                           bool showPassword, const QList<RQError>& errors)
{
    RKProcessResultInfo info;
    info.title = title;
    info.destPath.stringValue = dest;
    info.password.stringValue = password;
    info.password.showPassword = showPassword;
    info.errors.items = errors;
    return info;
}

// One row as the user sees it.
struct Row {
    int depth;
    Kind kind;
    QString label;
    QString value;
    bool copyButton;
};

class RKProcessResultWindowTest : public ::testing::Test
{
protected:
    void display(const QList<RKProcessResultInfo>& results)
    {
        window.doDisplay(results);
        // The expansion is queued; it has run once every row is expanded.
        ASSERT_TRUE(TestEnvironment::waitFor([&] { return allExpanded(); }));
    }

    bool allExpanded() const
    {
        bool expanded = true;
        forEach([&](QTreeWidgetItem* item, int) {
            if (item->childCount() > 0 && !item->isExpanded()) {
                expanded = false;
            }
        });
        return expanded;
    }

    template <typename F>
    void forEach(F f) const
    {
        std::function<void(QTreeWidgetItem*, int)> walk = [&](QTreeWidgetItem* item, int depth) {
            f(item, depth);
            for (int i = 0; i < item->childCount(); ++i) {
                walk(item->child(i), depth + 1);
            }
        };
        QTreeWidget* tree = window.outlineView();
        for (int i = 0; i < tree->topLevelItemCount(); ++i) {
            walk(tree->topLevelItem(i), 0);
        }
    }

    QList<Row> rows() const
    {
        QList<Row> all;
        forEach([&](QTreeWidgetItem* item, int depth) {
            RKCopyableTableCellView* cell = window.valueCell(item);
            all.append({depth, Kind(item->data(0, RKProcessResultWindow::KindRole).toInt()),
                        item->text(0), cell->textField()->text(), !cell->btnCopy()->isHidden()});
        });
        return all;
    }

    QTreeWidgetItem* rowOf(Kind kind) const
    {
        QTreeWidgetItem* found = nullptr;
        forEach([&](QTreeWidgetItem* item, int) {
            if (!found && Kind(item->data(0, RKProcessResultWindow::KindRole).toInt()) == kind) {
                found = item;
            }
        });
        return found;
    }

    RKProcessResultWindow window;
};

void expectRows(const QList<Row>& actual, const QList<Row>& expected)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (qsizetype i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(::testing::Message() << "row " << i << " " << expected[i].label.toStdString());
        EXPECT_EQ(actual[i].depth, expected[i].depth);
        EXPECT_EQ(actual[i].kind, expected[i].kind);
        EXPECT_EQ(actual[i].label, expected[i].label);
        EXPECT_EQ(actual[i].value, expected[i].value);
        EXPECT_EQ(actual[i].copyButton, expected[i].copyButton);
    }
}

TEST_F(RKProcessResultWindowTest, TwoArchivesTheSecondWithOneError)
{
    const RQError error = RQError::initWithErrorCode(2, QStringLiteral("/src/b/broken.txt"));
    display({result("a.zip", "/out/a.zip", QString(), false, {}),
             result("b.zip", "/out/b.zip", QString(), false, {error})});

    EXPECT_EQ(window.outlineView()->topLevelItemCount(), 2);
    expectRows(rows(), {
        {0, Kind::Info, "a.zip", "処理が完了しました。", false},
        {1, Kind::DestPath, "保存先", "/out/a.zip", true},
        {1, Kind::Errors, "エラー(0)", "", false},
        {0, Kind::Info, "b.zip", "処理が完了しましたが、エラーがあります。", false},
        {1, Kind::DestPath, "保存先", "/out/b.zip", true},
        {1, Kind::Errors, "エラー(1)", "", false},
        {2, Kind::Error, "/src/b/broken.txt", error.localizedDescription(), true},
    });
    EXPECT_EQ(window.size(), QSize(755, 300));
}

TEST_F(RKProcessResultWindowTest, MaskedPasswordCopiesInClear)
{
    display({result("a.zip", "/out/a.zip", "pa55word", false, {})});
    QTreeWidgetItem* password = rowOf(Kind::Password);
    ASSERT_NE(password, nullptr);
    // The password row sits between the destination and the errors.
    EXPECT_EQ(password->parent()->indexOfChild(password), 1);
    RKCopyableTableCellView* cell = window.valueCell(password);
    EXPECT_EQ(cell->textField()->text(), QStringLiteral("********"));
    cell->btnCopy()->click();
    EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("pa55word"));
}

struct MaskCase {
    const char* name;
    QString password;
    bool showPassword;
    QString shown;
};

class RKCopyableTableCellViewMask : public ::testing::TestWithParam<MaskCase>
{
};

TEST_P(RKCopyableTableCellViewMask, ShowsAndCopies)
{
    const MaskCase& row = GetParam();
    RKCopyableTableCellView cell;
    cell.setLabelString(row.password, !row.showPassword);
    EXPECT_EQ(cell.showString(), row.shown);
    EXPECT_EQ(cell.textField()->text(), row.shown);
    cell.btnCopy()->click();
    EXPECT_EQ(QApplication::clipboard()->text(), row.password);
}

INSTANTIATE_TEST_SUITE_P(
    Passwords, RKCopyableTableCellViewMask,
    ::testing::Values(
        MaskCase{"ShownInClear", "pa55word", true, "pa55word"},
        MaskCase{"OneStarPerCharacter", "パスワード", false, "*****"},
        // Masking counts UTF-16 units: a character outside the BMP is two.
        MaskCase{"SurrogatePairCountsTwice", QString::fromUtf8("a\xF0\x9F\x94\x91"), false, "***"},
        MaskCase{"EmptyStaysEmpty", "", false, ""}),
    [](const ::testing::TestParamInfo<MaskCase>& info) { return std::string(info.param.name); });

TEST_F(RKProcessResultWindowTest, NoPasswordRowWithoutPasswordButOneForEmptyText)
{
    display({result("a.zip", "/out/a.zip", QString(), false, {}),
             result("b.zip", "/out/b.zip", QString(""), true, {})});
    QTreeWidget* tree = window.outlineView();
    QTreeWidgetItem* first = tree->topLevelItem(0);
    ASSERT_EQ(first->childCount(), 2);
    EXPECT_EQ(first->child(1)->text(0), QStringLiteral("エラー(0)"));
    EXPECT_EQ(tree->topLevelItem(1)->childCount(), 3);
}

TEST_F(RKProcessResultWindowTest, ErrorsRowWithoutErrorsCannotExpand)
{
    display({result("a.zip", "/out/a.zip", QString(), false, {})});
    QTreeWidgetItem* errors = rowOf(Kind::Errors);
    ASSERT_NE(errors, nullptr);
    EXPECT_EQ(errors->childCount(), 0);
    EXPECT_EQ(errors->childIndicatorPolicy(), QTreeWidgetItem::DontShowIndicatorWhenChildless);
}

TEST_F(RKProcessResultWindowTest, VerifyRowOnlyWhenFilled)
{
    RKProcessResultInfo info = result("a.zip", "/out/a.zip", "pw", true, {});
    display({info});
    EXPECT_EQ(rowOf(Kind::Verify), nullptr);
    info.verify.crc = QStringLiteral("1A2B3C");
    display({info});
    QTreeWidgetItem* verify = rowOf(Kind::Verify);
    ASSERT_NE(verify, nullptr);
    EXPECT_EQ(verify->text(0), QStringLiteral("CRC"));
    EXPECT_EQ(verify->parent()->indexOfChild(verify), 2); // after the password
}

// Ways to end the window; each must end the modal loop with code 0.
struct CloseCase {
    const char* name;
    std::function<void(RKProcessResultWindow*)> close;
};

class RKProcessResultWindowClose : public ::testing::TestWithParam<CloseCase>
{
};

TEST_P(RKProcessResultWindowClose, EndsTheModalLoopWithZero)
{
    QWidget parent;
    parent.setGeometry(100, 120, 900, 700);
    parent.show();
    RKProcessResultWindow window;
    QPoint shownAt;
    int finishedWith = -99;
    QObject::connect(&window, &QDialog::finished, [&](int code) { finishedWith = code; });
    QTimer::singleShot(0, &window, [&] {
        shownAt = window.pos();
        GetParam().close(&window);
    });
    window.showResults(&parent, {result("a.zip", "/out/a.zip", QString(), false, {})});
    EXPECT_EQ(finishedWith, 0);
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(shownAt, QPoint(100 + (900 - 755) / 2, 120 + (700 - 300) / 2));
}

INSTANTIATE_TEST_SUITE_P(
    Ways, RKProcessResultWindowClose,
    ::testing::Values(
        CloseCase{"CloseButton",
                  [](RKProcessResultWindow* w) { w->findChild<QPushButton*>("btnClose")->click(); }},
        CloseCase{"WindowManager", [](RKProcessResultWindow* w) { w->QDialog::close(); }},
        CloseCase{"Escape", [](RKProcessResultWindow* w) { w->reject(); }}),
    [](const ::testing::TestParamInfo<CloseCase>& info) { return std::string(info.param.name); });

} // namespace
