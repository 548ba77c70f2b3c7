#pragma once

#include <QString>

#include <functional>

// Opens a file, folder or address with the desktop's default application
// through xdg-open, and tells whether that worked: xdg-open ends with status
// 0 only when an application took the target. Qt's own openUrl() reports
// success as soon as xdg-open has started, which tells nothing on a desktop
// without a browser. Main thread.
class RKXdgOpen
{
public:
    // Starts the program on target and returns at once; done (may be empty)
    // runs on the main thread with true once it ended with status 0, with
    // false when it could not be started or failed. While it runs it belongs
    // to nobody: leaving the application never ends an application that
    // xdg-open waits for.
    static void open(const QString& target, std::function<void(bool opened)> done = {});

    // The program run; "xdg-open" unless a test put another in its place
    // (empty restores it).
    static QString program();
    static void setProgram(const QString& program);
};
