#include "app/widgets/RKHeldKeyFilter.h"

#include "platform/RKKeyStateSource.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QKeyEvent>

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
    // release counts only when the keyboard agrees.
    if (type == QEvent::KeyRelease && !key->isAutoRepeat()) {
        RKKeyStateSource* source = RKKeyStateSource::current();
        const bool stillHeld = source->knowsState(QGuiApplication::focusWindow() != nullptr)
                               && source->heldX11KeyCodes().contains(code);
        if (!stillHeld) {
            m_ignored.remove(code);
            update();
        }
    }
    return true;
}
