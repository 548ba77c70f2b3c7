// Every alert and dialog of the application is wide enough for its title
// beside the window manager's buttons, and shows each line of its texts
// whole; a text too long for one line breaks only after punctuation or at a
// space. Checked at the scale factor of the run; ctest runs the table again
// at scale factor 2.
#include "app/AppTestSupport.h"
#include "app/widgets/RKHelpWindow.h"
#include "app/widgets/RKTopWindow.h"
#include "archive/widgets/RKProgressWindow.h"
#include "preferences/widgets/RKPreferenceWindow.h"
#include "preferences/widgets/RKProfileWindow.h"
#include "preferences/widgets/RKUnArchiveProfileWindow.h"
#include "results/widgets/RKProcessResultWindow.h"
#include "settings/RKSetting.h"
#include "shortcut/widgets/SRAdditions.h"
#include "support/TestEnvironment.h"
#include "ui/RKErrorSheet.h"
#include "ui/RKOpenPanel.h"
#include "ui/RKPasswordWindow.h"
#include "ui/RKSavePanel.h"
#include "unarchive/widgets/RKUnArchivePasswordWindow.h"
#include "unarchive/widgets/RKUnArchiveProgressWindow.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace {

// What a window manager's frame needs beside the title: its icon and three
// buttons at the least.
constexpr int kFrameButtons = 80;

struct WindowRow {
    const char* name;
    // Makes the window (a child of parent, or owned by the row) and shows it.
    std::function<QWidget*(TestAppDelegate& app, std::unique_ptr<QWidget>& owned)> show;
    // Labels that wrap inside a column of their own by design.
    QString wrapsInColumn = {};
};

QWidget* showAlert(QMessageBox* alert)
{
    alert->show();
    return alert;
}

QWidget* errorSheet(TestAppDelegate& app, const char16_t* text)
{
    return RKShowErrorSheet(app.window(), QString::fromUtf16(text));
}

template <typename Window>
QWidget* ownedDialog(std::unique_ptr<QWidget>& owned, const std::function<void(Window&)>& prepare = {})
{
    auto window = std::make_unique<Window>();
    if (prepare) {
        prepare(*window);
    }
    window->show();
    owned = std::move(window);
    return owned.get();
}

class WindowFit : public ::testing::TestWithParam<WindowRow>
{
protected:
    void SetUp() override { RKSetting::RestoreDefault(); }
    ScriptedServices services;
};

TEST_P(WindowFit, TitleAndEveryLineFit)
{
    TestAppDelegate app;
    app.window()->show();
    std::unique_ptr<QWidget> owned;
    QWidget* window = GetParam().show(app, owned);
    ASSERT_NE(window, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
    QCoreApplication::processEvents();

    QFont bold = QApplication::font();
    bold.setBold(true);
    const int title = QFontMetrics(bold).horizontalAdvance(window->windowTitle());
    EXPECT_GE(window->width(), title + kFrameButtons)
        << window->windowTitle().toStdString() << " at scale " << window->devicePixelRatio();

    for (QLabel* label : window->findChildren<QLabel*>()) {
        if (!label->isVisible() || label->text().isEmpty() || Qt::mightBeRichText(label->text())
            || GetParam().wrapsInColumn == label->objectName()) {
            continue;
        }
        const QStringList lines = label->text().split('\n');
        for (qsizetype i = 0; i < lines.size(); ++i) {
            EXPECT_LE(label->fontMetrics().horizontalAdvance(lines[i]), label->contentsRect().width())
                << lines[i].toStdString() << " in " << label->objectName().toStdString();
            if (label->wordWrap() && i + 1 < lines.size()) {
                EXPECT_TRUE(QString::fromUtf16(u"、。，．！？）」』】〕・：； ").contains(lines[i].back()))
                    << "broken inside a word: " << lines[i].toStdString();
            }
        }
    }
    if (auto* alert = qobject_cast<QMessageBox*>(window)) {
        alert->done(0);
    }
}

INSTANTIATE_TEST_SUITE_P(
    App, WindowFit,
    ::testing::Values(
        WindowRow{"MixedItemsAlert",
                  [](TestAppDelegate& app, auto&) {
                      app.showMixedItemsAlert(false);
                      return app.window()->findChild<QMessageBox*>("mixedItemsAlert");
                  }},
        WindowRow{"LongestProfileRefusal",
                  [](TestAppDelegate& app, auto&) {
                      return errorSheet(app, u"パスワード設定のショートカットが圧縮プロファイルのショートカットと重複しています");
                  }},
        WindowRow{"ResetConfirmation",
                  [](TestAppDelegate& app, auto&) {
                      app.window()->show();
                      auto* preferences = new RKPreferenceWindow(app.window());
                      preferences->show();
                      preferences->btnDefaultTouchUpInside();
                      return preferences->findChild<QMessageBox*>("resetConfirmation");
                  }},
        WindowRow{"ShortcutTakenBySystemAlert",
                  [](TestAppDelegate& app, auto&) {
                      const SRValidationError error{
                          QString::fromUtf16(u"キーの組み合わせ ⌃⌥R は使用できません！"),
                          QString::fromUtf16(
                              u"キーの組み合わせ「Control + Option + R」は、システム全体のキーボードショートカットで既に使われているため使用できません。"
                              u"（どうしてもこのキーの組み合わせを使いたい場合は、ほとんどのショートカットをデスクトップの設定の「キーボード」で変更できます。）"),
                          {QStringLiteral("OK")}};
                      return showAlert(alertWithNonRecoverableError(error, app.window()).release());
                  }},
        WindowRow{"Preferences", [](auto&, auto& owned) { return ownedDialog<RKPreferenceWindow>(owned); }},
        WindowRow{"ArchiveProfile", [](auto&, auto& owned) { return ownedDialog<RKProfileWindow>(owned); }},
        WindowRow{"UnArchiveProfile", [](auto&, auto& owned) { return ownedDialog<RKUnArchiveProfileWindow>(owned); }},
        WindowRow{"PasswordWindow", [](auto&, auto& owned) { return ownedDialog<RKPasswordWindow>(owned); }},
        WindowRow{"ArchivePasswordPrompt", [](auto&, auto& owned) { return ownedDialog<RKUnArchivePasswordWindow>(owned); }},
        WindowRow{"ArchiveProgress",
                  [](auto&, auto& owned) {
                      return ownedDialog<RKProgressWindow>(owned, [](RKProgressWindow& w) {
                          w.setWindowTitle(QStringLiteral("圧縮中 - 100.0%"));
                      });
                  }},
        WindowRow{"ExtractionProgress",
                  [](auto&, auto& owned) {
                      return ownedDialog<RKUnArchiveProgressWindow>(owned, [](RKUnArchiveProgressWindow& w) {
                          w.setWindowTitle(QStringLiteral("コピー中 - 100.0%"));
                      });
                  }},
        WindowRow{"ResultWindow",
                  [](auto&, auto& owned) {
                      return ownedDialog<RKProcessResultWindow>(owned, [](RKProcessResultWindow& w) {
                          RKProcessResultInfo info;
                          info.title = QStringLiteral("資料.zip");
                          info.destPath.stringValue = QStringLiteral("/out/資料.zip");
                          info.errors.items = {RQError::initWithUnArchiverErrorCode(2, QStringLiteral("/in/資料.zip"))};
                          w.doDisplay({info});
                      });
                  },
                  "textField"},
        WindowRow{"SavePanel",
                  [](auto&, auto& owned) {
                      return ownedDialog<RKSavePanel>(owned, [](RKSavePanel& w) {
                          w.setWindowTitle(QStringLiteral("MOKUZA-FULL"));
                          w.setMessage(QString::fromUtf16(u"とても長い名前の付いた資料フォルダ（二〇二六年度版・最終稿）.txtの保存先を選択して下さい。"));
                      });
                  }},
        WindowRow{"OpenPanel",
                  [](auto&, auto& owned) {
                      return ownedDialog<RKOpenPanel>(owned, [](RKOpenPanel& w) {
                          w.setWindowTitle(QStringLiteral("MOKUZA-FULL"));
                          w.setMessage(QString::fromUtf16(u"保存先を選択して下さい。"));
                      });
                  }},
        WindowRow{"HelpWindow", [](auto&, auto& owned) { return ownedDialog<RKHelpWindow>(owned); }},
        WindowRow{"DropWindow", [](TestAppDelegate& app, auto&) -> QWidget* { return app.window(); }}),
    [](const auto& info) { return std::string(info.param.name); });

} // namespace
