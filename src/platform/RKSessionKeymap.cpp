#include "platform/RKSessionKeymap.h"

RKSessionKeymap* RKSessionKeymap::instance()
{
    static RKSessionKeymap keymap;
    return &keymap;
}

void RKSessionKeymap::setKeymap(const QByteArray& keymap)
{
    if (keymap != m_keymap) {
        m_keymap = keymap;
        emit changed();
    }
}

void RKSessionKeymap::setGroup(quint32 group)
{
    if (group != m_group) {
        m_group = group;
        emit changed();
    }
}
