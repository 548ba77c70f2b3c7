#include "shortcut/ScopedKeyboardLayout.h"

ScopedKeyboardLayout::ScopedKeyboardLayout(const QByteArray& layout)
    : m_layout(SRKeyboardLayout::fromNames(layout))
    , m_previous(SRKeyboardLayout::current())
{
    SRKeyboardLayout::setCurrent(m_layout.get());
}

ScopedKeyboardLayout::~ScopedKeyboardLayout()
{
    SRKeyboardLayout::setCurrent(m_previous);
}
