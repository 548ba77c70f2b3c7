#include "shortcut/widgets/SRRecorderControl.h"

#include "platform/RKKeyCodeTable.h"
#include "shortcut/widgets/SRRecorderCell.h"
#include "shortcut/widgets/SRRecorderControlDelegate.h"

#include <QKeyEvent>
#include <QPainter>
#include <QPointer>
#include <QVariantMap>

namespace {

bool isModifierKey(qint64 keyCode)
{
    // Right Command … fn: Command, Shift, Caps Lock, Option, Control, their
    // right-hand twins and fn are all one block of codes.
    return keyCode >= 54 && keyCode <= 63;
}

// The stored key code comes from the key pressed, so the same key records
// the same combination whatever layout is active.
SRRecorderCell::KeyEvent keyEventFrom(const QKeyEvent* event)
{
    SRRecorderCell::KeyEvent keyEvent;
    keyEvent.keyCode = RKKeyCodeTable::virtualKeyCode(int(event->nativeScanCode()));
    keyEvent.modifierFlags = SRCocoaFlagsFromQtModifiers(event->modifiers());
    if (keyEvent.keyCode >= 0 && RKKeyCodeTable::isFunctionKey(int(keyEvent.keyCode))) {
        keyEvent.modifierFlags |= SRFunctionFlag;
    }
    keyEvent.characters = event->text();
    if (keyEvent.keyCode >= 0) {
        keyEvent.charactersIgnoringModifiers =
            SRCharactersIgnoringModifiersForKeyCode(keyEvent.keyCode, keyEvent.modifierFlags);
    }
    return keyEvent;
}

} // namespace

SRRecorderControl::SRRecorderControl(QWidget* parent)
    : QWidget(parent)
    , m_cell(std::make_unique<SRRecorderCell>(this))
{
    m_cell->setDelegate(this);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    // Keys must come as they are pressed, not composed by an input method.
    setAttribute(Qt::WA_InputMethodEnabled, false);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

// The cell goes first, while this is still a widget: it lets the keyboard go.
SRRecorderControl::~SRRecorderControl() = default;

quint64 SRRecorderControl::allowedFlags() const
{
    return m_cell->allowedFlags();
}

void SRRecorderControl::setAllowedFlags(quint64 flags)
{
    m_cell->setAllowedFlags(flags);
}

quint64 SRRecorderControl::requiredFlags() const
{
    return m_cell->requiredFlags();
}

void SRRecorderControl::setRequiredFlags(quint64 flags)
{
    m_cell->setRequiredFlags(flags);
}

bool SRRecorderControl::allowsKeyOnly() const
{
    return m_cell->allowsKeyOnly();
}

void SRRecorderControl::setAllowsKeyOnly(bool allowsKeyOnly)
{
    m_cell->setAllowsKeyOnly(allowsKeyOnly);
}

bool SRRecorderControl::escapeKeysRecord() const
{
    return m_cell->escapeKeysRecord();
}

void SRRecorderControl::setEscapeKeysRecord(bool escapeKeysRecord)
{
    m_cell->setEscapeKeysRecord(escapeKeysRecord);
}

void SRRecorderControl::setAllowsKeyOnly(bool allowsKeyOnly, bool escapeKeysRecord)
{
    m_cell->setAllowsKeyOnly(allowsKeyOnly, escapeKeysRecord);
}

bool SRRecorderControl::canCaptureGlobalHotKeys() const
{
    return m_cell->canCaptureGlobalHotKeys();
}

void SRRecorderControl::setCanCaptureGlobalHotKeys(bool on)
{
    m_cell->setCanCaptureGlobalHotKeys(on);
}

bool SRRecorderControl::animates() const
{
    return m_cell->animates();
}

void SRRecorderControl::setAnimates(bool animates)
{
    m_cell->setAnimates(animates);
}

int SRRecorderControl::style() const
{
    return m_cell->style();
}

void SRRecorderControl::setStyle(int style)
{
    m_cell->setStyle(style);
}

QString SRRecorderControl::autosaveName() const
{
    return m_cell->autosaveName();
}

void SRRecorderControl::setAutosaveName(const QString& name)
{
    m_cell->setAutosaveName(name);
}

void SRRecorderControl::setBorderColor(const QColor& color)
{
    m_cell->setBorderColor(color);
}

void SRRecorderControl::setBackGroundColor(const QColor& color)
{
    m_cell->setBackGroundColor(color);
}

_KeyCombo SRRecorderControl::keyCombo() const
{
    return m_cell->keyCombo();
}

void SRRecorderControl::setKeyCombo(_KeyCombo keyCombo)
{
    m_cell->setKeyCombo(keyCombo);
}

QString SRRecorderControl::keyComboString() const
{
    return m_cell->keyComboString();
}

QString SRRecorderControl::keyChars() const
{
    return m_cell->keyChars();
}

QString SRRecorderControl::keyCharsIgnoringModifiers() const
{
    return m_cell->keyCharsIgnoringModifiers();
}

QVariant SRRecorderControl::objectValue() const
{
    const _KeyCombo combo = keyCombo();
    if (combo.code < 0) {
        return QVariant();
    }
    return QVariantMap{
        {QStringLiteral("characters"), keyCharsIgnoringModifiers()},
        {QStringLiteral("keyCode"), combo.code},
        {QStringLiteral("modifierFlags"), combo.flags},
    };
}

void SRRecorderControl::setObjectValue(const QVariant& value)
{
    if (value.isNull()) {
        setKeyCombo(SRMakeKeyCombo(-1, 0));
        return;
    }
    const QVariantMap map = value.toMap();
    setKeyCombo(SRMakeKeyCombo(map.value(QStringLiteral("keyCode")).toLongLong(),
                               map.value(QStringLiteral("modifierFlags")).toULongLong()));
}

QSize SRRecorderControl::sizeHint() const
{
    const QFontMetrics metrics = fontMetrics();
    const int height = std::max(24, metrics.height() + 12);
    return QSize(metrics.horizontalAdvance(SRLoc("Click to record shortcut")) + 2 * height, height);
}

QSize SRRecorderControl::minimumSizeHint() const
{
    const QSize hint = sizeHint();
    return QSize(hint.height() * 3, hint.height());
}

bool SRRecorderControl::shortcutRecorderCellIsKeyCodeAndFlagsTaken(SRRecorderCell*, qint64 keyCode, quint64 flags,
                                                                   QString* reason)
{
    return m_delegate && m_delegate->shortcutRecorderIsKeyCodeAndFlagsTaken(this, keyCode, flags, reason);
}

void SRRecorderControl::shortcutRecorderCellKeyComboDidChange(SRRecorderCell*, _KeyCombo newKeyCombo)
{
    if (m_delegate) {
        m_delegate->shortcutRecorderKeyComboDidChange(this, newKeyCombo);
    }
    emit objectValueChanged(objectValue());
}

bool SRRecorderControl::event(QEvent* event)
{
    if (m_cell->isRecording()) {
        // While recording every key is the recorder's: no menu shortcut
        // fires and Tab does not move the focus.
        if (event->type() == QEvent::ShortcutOverride) {
            event->accept();
            return true;
        }
        if (event->type() == QEvent::KeyPress) {
            keyPressEvent(static_cast<QKeyEvent*>(event));
            return true;
        }
    }
    return QWidget::event(event);
}

void SRRecorderControl::keyPressEvent(QKeyEvent* event)
{
    const SRRecorderCell::KeyEvent keyEvent = keyEventFrom(event);
    if (isModifierKey(keyEvent.keyCode)) {
        m_cell->flagsChanged(keyEvent.modifierFlags);
        event->accept();
        return;
    }
    if (keyEvent.keyCode < 0) {
        // A key the stored codes have no name for cannot be recorded.
        event->setAccepted(m_cell->isRecording());
        return;
    }
    QPointer<SRRecorderControl> alive(this);
    const bool handled = m_cell->performKeyEquivalent(keyEvent);
    if (!alive) {
        return;
    }
    if (handled) {
        event->accept();
    } else {
        QWidget::keyPressEvent(event);
    }
}

void SRRecorderControl::keyReleaseEvent(QKeyEvent* event)
{
    const SRRecorderCell::KeyEvent keyEvent = keyEventFrom(event);
    if (isModifierKey(keyEvent.keyCode)) {
        m_cell->flagsChanged(keyEvent.modifierFlags);
        event->accept();
        return;
    }
    QWidget::keyReleaseEvent(event);
}

void SRRecorderControl::focusInEvent(QFocusEvent* event)
{
    QWidget::focusInEvent(event);
    m_cell->becomeFirstResponder();
}

void SRRecorderControl::focusOutEvent(QFocusEvent* event)
{
    QWidget::focusOutEvent(event);
    m_cell->resignFirstResponder();
}

void SRRecorderControl::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        m_cell->mousePressed(event->position().toPoint(), rect());
    }
    event->accept();
}

void SRRecorderControl::mouseMoveEvent(QMouseEvent* event)
{
    m_cell->mouseMoved(event->position().toPoint(), rect());
}

void SRRecorderControl::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        m_cell->mouseReleased(event->position().toPoint(), rect());
    }
    event->accept();
}

void SRRecorderControl::leaveEvent(QEvent* event)
{
    m_cell->mouseMoved(QPoint(-1, -1), rect());
    QWidget::leaveEvent(event);
}

void SRRecorderControl::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    m_cell->drawWithFrame(&painter, rect());
}

void SRRecorderControl::hideEvent(QHideEvent* event)
{
    m_cell->resignFirstResponder();
    QWidget::hideEvent(event);
}

void SRRecorderControl::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange) {
        m_cell->systemColorsDidChange();
    }
    QWidget::changeEvent(event);
}
