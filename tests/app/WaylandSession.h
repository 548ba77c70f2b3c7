#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QTemporaryDir>

#include <string>

// A headless sway session of the test's own, with XWayland, and a virtual
// keyboard in it. sway refuses to run as root, so it runs as the
// unprivileged user "nobody", in a mount and network namespace of its own:
// the X display its XWayland takes (socket and abstract socket) is seen by
// nobody else. Programs run in the session as the same user; the programs
// the test names are copied into the session's folder first, so that the
// user can run them wherever the build lies. Needs root, unshare, nsenter,
// setpriv and sway (error() says what is missing).
class WaylandSession
{
public:
    WaylandSession();
    ~WaylandSession();

    WaylandSession(const WaylandSession&) = delete;
    WaylandSession& operator=(const WaylandSession&) = delete;

    bool isRunning() const { return m_error.empty(); }
    std::string error() const { return m_error; }

    // A folder the session's user owns (home, settings, items).
    QString folder() const { return m_dir.path(); }
    // Gives the session's user everything below folder() made since.
    void handOver() const;
    // XWayland's display (":N").
    QString xDisplay() const { return m_xDisplay; }

    // Starts program (copied into the session) in the session with HOME,
    // XDG_RUNTIME_DIR, XDG_CONFIG_HOME (folder()/config) and WAYLAND_DISPLAY
    // set, and environment added.
    void start(QProcess& process, const QString& program, const QStringList& arguments,
               const QProcessEnvironment& environment = QProcessEnvironment()) const;

    // The virtual keyboard: presses or releases a key (evdev code).
    bool press(int evdevCode) { return key("press", evdevCode); }
    bool release(int evdevCode) { return key("release", evdevCode); }

private:
    bool key(const char* verb, int evdevCode);
    QString copied(const QString& program) const;

    QTemporaryDir m_dir;
    QProcess m_compositor;
    QProcess m_keyboard;
    qint64 m_compositorPid = 0;
    QString m_waylandDisplay;
    QString m_xDisplay;
    std::string m_error;
};
