#pragma once

#include "shortcut/SRCommon.h"
#include "shortcut/widgets/SRRecorderCellDelegate.h"

#include <QColor>
#include <QVariant>
#include <QWidget>

#include <memory>

class SRRecorderCell;
class SRRecorderControlDelegate;

// The control with which the user records a keyboard shortcut. A click or
// Space starts recording; the next key pressed with acceptable modifiers
// becomes the combination, unless the owner (the delegate), a shortcut of
// the desktop or an item of the main menu already has it, which an alert
// explains while recording goes on. Keys are told apart by the key pressed
// (the event's native key code), not by what the layout makes of it.
// Disabled, it only shows its combination (the shortcut column of a table).
// The state machine and the drawing are its cell's.
class SRRecorderControl : public QWidget, public SRRecorderCellDelegate
{
    Q_OBJECT
    Q_PROPERTY(qulonglong allowedFlags READ allowedFlags WRITE setAllowedFlags)
    Q_PROPERTY(qulonglong requiredFlags READ requiredFlags WRITE setRequiredFlags)
    Q_PROPERTY(bool allowsKeyOnly READ allowsKeyOnly WRITE setAllowsKeyOnly)
    Q_PROPERTY(bool escapeKeysRecord READ escapeKeysRecord WRITE setEscapeKeysRecord)
    Q_PROPERTY(bool canCaptureGlobalHotKeys READ canCaptureGlobalHotKeys WRITE setCanCaptureGlobalHotKeys)
    Q_PROPERTY(bool animates READ animates WRITE setAnimates)
    Q_PROPERTY(int style READ style WRITE setStyle)
    Q_PROPERTY(QString autosaveName READ autosaveName WRITE setAutosaveName)
    Q_PROPERTY(QVariant objectValue READ objectValue WRITE setObjectValue NOTIFY objectValueChanged)

public:
    explicit SRRecorderControl(QWidget* parent = nullptr);
    ~SRRecorderControl() override;

    SRRecorderControlDelegate* delegate() const { return m_delegate; }
    void setDelegate(SRRecorderControlDelegate* delegate) { m_delegate = delegate; }

    SRRecorderCell* cell() const { return m_cell.get(); }

    // Cocoa flags of the modifiers that may take part (all five at first)
    // and that are always part of the combination (none at first).
    quint64 allowedFlags() const;
    void setAllowedFlags(quint64 flags);
    quint64 requiredFlags() const;
    void setRequiredFlags(quint64 flags);
    // A combination may have no modifier; with that, escapeKeysRecord makes
    // Escape, Delete and forward Delete combinations instead of cancel keys.
    bool allowsKeyOnly() const;
    void setAllowsKeyOnly(bool allowsKeyOnly);
    bool escapeKeysRecord() const;
    void setEscapeKeysRecord(bool escapeKeysRecord);
    void setAllowsKeyOnly(bool allowsKeyOnly, bool escapeKeysRecord);
    bool canCaptureGlobalHotKeys() const;
    void setCanCaptureGlobalHotKeys(bool on);
    bool animates() const;
    void setAnimates(bool animates);
    int style() const;
    void setStyle(int style);
    QString autosaveName() const;
    void setAutosaveName(const QString& name);
    // Invalid colours draw with the palette; Qt::transparent draws nothing.
    void setBorderColor(const QColor& color);
    void setBackGroundColor(const QColor& color);

    _KeyCombo keyCombo() const;
    void setKeyCombo(_KeyCombo keyCombo);
    // The glyph string (⌃⇧F5); null when the combination is empty.
    QString keyComboString() const;
    QString keyChars() const;
    QString keyCharsIgnoringModifiers() const;
    // Null when there is no key; else a map with "characters" (the
    // characters ignoring modifiers), "keyCode" and "modifierFlags".
    QVariant objectValue() const;
    // Takes "keyCode" and "modifierFlags" of such a map; null clears.
    void setObjectValue(const QVariant& value);

    static quint32 cocoaToCarbonFlags(quint64 cocoaFlags) { return SRCarbonFlagsFromCocoaFlags(cocoaFlags); }
    static quint64 carbonToCocoaFlags(quint32 carbonFlags) { return SRCocoaFlagsFromCarbonFlags(carbonFlags); }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    bool shortcutRecorderCellIsKeyCodeAndFlagsTaken(SRRecorderCell* cell, qint64 keyCode, quint64 flags,
                                                    QString* reason) override;
    void shortcutRecorderCellKeyComboDidChange(SRRecorderCell* cell, _KeyCombo newKeyCombo) override;

signals:
    // After every change of the combination, with the new objectValue.
    void objectValueChanged(const QVariant& objectValue);

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    std::unique_ptr<SRRecorderCell> m_cell;
    SRRecorderControlDelegate* m_delegate = nullptr;
};
