#pragma once

#include <QByteArray>
#include <QObject>

// The keymap that a Wayland compositor sends its clients (XKB's text form)
// and the active group (layout) in it: the layout that gives keys their
// texts there, where no X display tells. Empty outside a Wayland session.
// Main thread.
class RKSessionKeymap : public QObject
{
    Q_OBJECT

public:
    static RKSessionKeymap* instance();

    QByteArray keymap() const { return m_keymap; }
    quint32 group() const { return m_group; }

    void setKeymap(const QByteArray& keymap);
    void setGroup(quint32 group);

signals:
    // The keymap or the active group changed.
    void changed();

private:
    QByteArray m_keymap;
    quint32 m_group = 0;
};
