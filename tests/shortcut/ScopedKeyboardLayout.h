#pragma once

#include "shortcut/SRKeyboardLayout.h"

#include <QByteArray>

#include <memory>

// Puts a keyboard layout built from XKB names in place of the session's one
// (or of an enclosing one) for the life of the object, so key texts do not
// depend on the machine.
class ScopedKeyboardLayout
{
public:
    explicit ScopedKeyboardLayout(const QByteArray& layout);
    ~ScopedKeyboardLayout();

    SRKeyboardLayout* layout() const { return m_layout.get(); }

private:
    std::unique_ptr<SRKeyboardLayout> m_layout;
    SRKeyboardLayout* m_previous;
};
