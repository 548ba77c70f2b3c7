#include "app/widgets/RKTopWindow.h"

#include "app/widgets/RKAppDelegate.h"
#include "app/widgets/RKLogoImageView.h"
#include "app/widgets/RKTopView.h"
#include "platform/RKAppInfo.h"
#include "shortcut/widgets/SRValidator.h"

#include <QAction>
#include <QGuiApplication>
#include <QScreen>
#include <QKeySequence>
#include <QMenuBar>

namespace {

// The desktop's key for a standard command, or ours where the desktop names
// none (Qt knows no preferences key outside macOS, and some platforms no
// quit key): every command keeps a key, and the shortcut recorders refuse
// the keys of this menu.
QKeySequence desktopKeyOr(QKeySequence::StandardKey command, const QString& fallback)
{
    const QList<QKeySequence> desktopKeys = QKeySequence::keyBindings(command);
    return desktopKeys.isEmpty() ? QKeySequence(fallback) : desktopKeys.first();
}

} // namespace

RKTopWindow::RKTopWindow(RKAppDelegate* appDelegate, QWidget* parent)
    : QMainWindow(parent)
{
    setObjectName(QStringLiteral("window"));
    setWindowTitle(RKAppInfo::applicationTitle());
    setWindowIcon(RKLogoImageView::appIconFULL());
    m_topView = new RKTopView(appDelegate, this);
    setCentralWidget(m_topView);
    buildMenu(appDelegate);
    resize(480, 520);
    // The job's panels and windows are centred over this window, so it starts
    // in the middle of the screen where they have room on every side.
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        QRect frame(QPoint(0, 0), size());
        frame.moveCenter(screen->availableGeometry().center());
        move(frame.topLeft());
    }
}

void RKTopWindow::buildMenu(RKAppDelegate* appDelegate)
{
    QMenu* fileMenu = menuBar()->addMenu(QString::fromUtf16(u"ファイル(&F)"));
    QAction* preferences = fileMenu->addAction(QString::fromUtf16(u"環境設定…"));
    preferences->setObjectName(QStringLiteral("doPrefernces"));
    preferences->setShortcut(desktopKeyOr(QKeySequence::Preferences, QStringLiteral("Ctrl+,")));
    preferences->setMenuRole(QAction::PreferencesRole);
    connect(preferences, &QAction::triggered, appDelegate, &RKAppDelegate::doPrefernces);
    fileMenu->addSeparator();
    QAction* quit = fileMenu->addAction(QString::fromUtf16(u"終了"));
    quit->setShortcut(desktopKeyOr(QKeySequence::Quit, QStringLiteral("Ctrl+Q")));
    quit->setMenuRole(QAction::QuitRole);
    connect(quit, &QAction::triggered, this, &QWidget::close);

    QMenu* helpMenu = menuBar()->addMenu(QString::fromUtf16(u"ヘルプ(&H)"));
    QAction* help = helpMenu->addAction(QString::fromUtf16(u"MOKUZA-FULL ヘルプ"));
    help->setObjectName(QStringLiteral("doHelp"));
    help->setShortcut(desktopKeyOr(QKeySequence::HelpContents, QStringLiteral("F1")));
    connect(help, &QAction::triggered, appDelegate, &RKAppDelegate::doHelp);

    // Shortcut recorders refuse the combinations of this menu.
    SRValidator::setMainMenu(menuBar());
}
