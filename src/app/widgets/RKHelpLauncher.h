#pragma once

class QWidget;
class RKHelpWindow;

// Opens the help page that ships with the application: in the desktop's
// browser, or, where xdg-open finds none to take it, in a help window of the
// application. When the page is missing, an alert on parent says so.
class RKHelpLauncher
{
public:
    // Returns at once (false when the page is missing); the help window, if
    // needed, comes once xdg-open has failed.
    static bool openHelpPage(QWidget* parent);

    // The help window showing the page, made on first use over parent's
    // window and reused; nullptr when none was made or it was closed for good.
    static RKHelpWindow* helpWindow();
};
