#pragma once

class QWidget;

// Opens the help page that ships with the application in the default
// browser. When the page is missing or no browser takes it, an alert on
// parent says so.
class RKHelpLauncher
{
public:
    static bool openHelpPage(QWidget* parent);
};
