#pragma once

#include <QMainWindow>

class RKAppDelegate;
class RKTopView;

// The drop window: the application's main window, with the menu whose
// Preferences and Help items reach the application delegate.
class RKTopWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit RKTopWindow(RKAppDelegate* appDelegate, QWidget* parent = nullptr);

    RKTopView* topView() const { return m_topView; }

private:
    void buildMenu(RKAppDelegate* appDelegate);

    RKTopView* m_topView = nullptr;
};
