#pragma once

#include <QObject>
#include <QSet>

// Keeps keys that were held when a job started from typing into the windows
// the job opens: the key that chose the profile or asked for the password is
// still down when the password window or the save panel takes the focus, and
// its auto-repeat would fill the field ("pppp"). Their presses and releases
// are swallowed application-wide, by native scan code (the X11 key code on
// xcb and on Wayland), until each is released. A key released while no
// window of the application had the focus is forgotten at the next job (or
// loses one press). Main thread.
class RKHeldKeyFilter : public QObject
{
    Q_OBJECT

public:
    explicit RKHeldKeyFilter(QObject* parent = nullptr);
    ~RKHeldKeyFilter() override;

    // Ignores these keys (X11 key codes, the keys held now) from now on,
    // until each is released; keys ignored before and no longer held are
    // forgotten.
    void ignore(const QSet<int>& x11KeyCodes);
    QSet<int> ignored() const { return m_ignored; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void update();
    // Forgets the ignored keys the keyboard no longer holds, once it is known.
    void forgetReleased();

    QSet<int> m_ignored;
    bool m_installed = false;
    int m_releaseChecks = 0;
};
