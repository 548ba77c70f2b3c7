#include "app/widgets/RKHeldKeyFilter.h"

#include "platform/RKKeyStateSource.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QTimer>
#include <QWindow>

RKHeldKeyFilter::RKHeldKeyFilter(QObject* parent)
    : QObject(parent)
{
}

RKHeldKeyFilter::~RKHeldKeyFilter()
{
    if (m_installed && QCoreApplication::instance()) {
        QCoreApplication::instance()->removeEventFilter(this);
    }
}

void RKHeldKeyFilter::ignore(const QSet<int>& x11KeyCodes)
{
    m_ignored = x11KeyCodes;
    update();
}

void RKHeldKeyFilter::update()
{
    const bool wanted = !m_ignored.isEmpty();
    if (wanted != m_installed && QCoreApplication::instance()) {
        if (wanted) {
            QCoreApplication::instance()->installEventFilter(this);
        } else {
            QCoreApplication::instance()->removeEventFilter(this);
        }
        m_installed = wanted;
    }
}

bool RKHeldKeyFilter::eventFilter(QObject* watched, QEvent* event)
{
    const QEvent::Type type = event->type();
    if (type != QEvent::KeyPress && type != QEvent::KeyRelease && type != QEvent::ShortcutOverride) {
        return QObject::eventFilter(watched, event);
    }
    const auto* key = static_cast<QKeyEvent*>(event);
    const int code = int(key->nativeScanCode());
    if (!m_ignored.contains(code)) {
        return false;
    }
    // An X server's auto-repeat is a release and a press at a time; Qt tells
    // it from a real release only when both have arrived together, so a
    // release counts only when the keyboard agrees. While the focus moves
    // between windows, XWayland reports no key held for a moment: such a
    // release is checked again once the keyboard is known.
    if (type == QEvent::KeyRelease && !key->isAutoRepeat() && m_releaseChecks == 0) {
        forgetReleased();
    }
    return true;
}

void RKHeldKeyFilter::forgetReleased()
{
    constexpr int kChecks = 40;
    constexpr int kCheckIntervalMs = 50;
    RKKeyStateSource* source = RKKeyStateSource::current();
    if (!source->knowsState(QGuiApplication::focusWindow())) {
        // Without the focus for two seconds: kept until the next job, at the
        // cost of one press, rather than typed.
        if (++m_releaseChecks <= kChecks) {
            QTimer::singleShot(kCheckIntervalMs, this, &RKHeldKeyFilter::forgetReleased);
        } else {
            m_releaseChecks = 0;
        }
        return;
    }
    m_releaseChecks = 0;
    const QSet<int> held = source->heldX11KeyCodes();
    for (auto it = m_ignored.begin(); it != m_ignored.end();) {
        it = held.contains(*it) ? std::next(it) : m_ignored.erase(it);
    }
    update();
}
