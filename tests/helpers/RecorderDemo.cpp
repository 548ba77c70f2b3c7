// A window with shortcut recorders in their three looks, to be looked at
// (and photographed) on a real display: one holding ⌃⇧F5, one empty, and a
// disabled one with clear colours as in the preferences' shortcut column.
// Its menu has 終了 on Ctrl+Q, which the recorders refuse with an alert.
// Prints the centre of each recorder on the screen, so a script can click it.
// Not part of the application.
#include "platform/SRCommon.h"
#include "ui/RKTranslations.h"
#include "ui/SRRecorderControl.h"

#include <QApplication>
#include <QFormLayout>
#include <QMainWindow>
#include <QMenuBar>
#include <QTimer>
#include <QWidget>

#include <cstdio>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    RKTranslations::install(app);

    QMainWindow window;
    window.setWindowTitle(QString::fromUtf16(u"ショートカットの記録"));
    window.menuBar()
        ->addMenu(QString::fromUtf16(u"ファイル(&F)"))
        ->addAction(QString::fromUtf16(u"終了(&Q)"), QKeySequence(QStringLiteral("Ctrl+Q")), &app, &QApplication::quit);
    auto* rows = new QWidget(&window);
    window.setCentralWidget(rows);
    auto* layout = new QFormLayout(rows);

    auto* profile = new SRRecorderControl(rows);
    profile->setAllowsKeyOnly(true, false);
    profile->setStyle(app.arguments().contains(QStringLiteral("--grey")) ? 1 : 0);
    profile->setAnimates(true);
    profile->setKeyCombo(SRMakeKeyCombo(96, SRCocoaControlFlag | SRCocoaShiftFlag));
    layout->addRow(QString::fromUtf16(u"プロファイル:"), profile);

    auto* password = new SRRecorderControl(rows);
    password->setAllowsKeyOnly(true, false);
    layout->addRow(QString::fromUtf16(u"パスワード:"), password);

    auto* cell = new SRRecorderControl(rows);
    cell->setBorderColor(Qt::transparent);
    cell->setBackGroundColor(Qt::transparent);
    cell->setEnabled(false);
    cell->setKeyCombo(SRMakeKeyCombo(35, SRCocoaCommandFlag));
    layout->addRow(QString::fromUtf16(u"一覧の表示:"), cell);

    window.resize(360, window.sizeHint().height());
    window.move(40, 40);
    window.show();
    QTimer::singleShot(500, &window, [&] {
        for (const SRRecorderControl* recorder : {profile, password, cell}) {
            const QPoint centre = recorder->mapToGlobal(recorder->rect().center());
            std::printf("%d %d\n", centre.x(), centre.y());
        }
        std::fflush(stdout);
    });
    return app.exec();
}
