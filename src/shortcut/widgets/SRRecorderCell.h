#pragma once

#include "shortcut/SRCommon.h"
#include "shortcut/widgets/SRValidator.h"
#include "shortcut/widgets/SRValidatorDelegate.h"

#include <QColor>
#include <QLinearGradient>
#include <QObject>
#include <QRect>
#include <QSet>
#include <QString>
#include <QTimer>

class QPainter;
class QWidget;
class SRRecorderCellDelegate;
struct SRValidationError;

// The state machine and the drawing of a shortcut recorder. Idle, it shows
// the current combination (or a prompt) with a button that clears it;
// recording, it shows the modifiers held and takes the next key pressed with
// acceptable modifiers as the new combination, after asking the validator.
// Space starts recording; Escape, Delete and forward Delete (the cancel
// keys), the snapback button and losing the focus end it unchanged. Its
// control (the widget it draws in, takes the keyboard for and asks its
// questions through) hands it the events.
class SRRecorderCell : public QObject, public SRValidatorDelegate
{
    Q_OBJECT

public:
    // A key event: the stored key code (-1 for a key that has none), the
    // modifiers in the Cocoa encoding, what the key typed and what it types
    // with no modifier but Shift.
    struct KeyEvent {
        qint64 keyCode = -1;
        quint64 modifierFlags = 0;
        QString characters;
        QString charactersIgnoringModifiers;
    };

    // Styles: 0 a white field with a shaded border, 1 a grey field that fades
    // into recording and back.
    static constexpr int GradientBorderStyle = 0;
    static constexpr int GreyStyle = 1;

    static constexpr int kTransitionInterval = 1000 / 30;
    static constexpr double kTransitionStep = 0.095238;

    explicit SRRecorderCell(QWidget* controlView);
    ~SRRecorderCell() override;

    SRRecorderCellDelegate* delegate() const { return m_delegate; }
    void setDelegate(SRRecorderCellDelegate* delegate) { m_delegate = delegate; }

    quint64 allowedFlags() const { return m_allowedFlags; }
    void setAllowedFlags(quint64 flags);
    quint64 requiredFlags() const { return m_requiredFlags; }
    void setRequiredFlags(quint64 flags);
    bool allowsKeyOnly() const { return m_allowsKeyOnly; }
    void setAllowsKeyOnly(bool allowsKeyOnly) { m_allowsKeyOnly = allowsKeyOnly; }
    bool escapeKeysRecord() const { return m_escapeKeysRecord; }
    void setEscapeKeysRecord(bool escapeKeysRecord) { m_escapeKeysRecord = escapeKeysRecord; }
    void setAllowsKeyOnly(bool allowsKeyOnly, bool escapeKeysRecord);
    // While recording, the keyboard is grabbed, so that a shortcut of the
    // desktop reaches the recorder instead of firing.
    bool canCaptureGlobalHotKeys() const { return m_globalHotKeys; }
    void setCanCaptureGlobalHotKeys(bool on) { m_globalHotKeys = on; }
    bool animates() const { return m_isAnimating; }
    void setAnimates(bool animates) { m_isAnimating = animates; }
    int style() const { return m_style; }
    void setStyle(int style);
    // The combination is kept in the application's settings under
    // "ShortcutRecorder <name>"; setting a name reads what is kept under it.
    QString autosaveName() const { return m_autosaveName; }
    void setAutosaveName(const QString& name);
    QColor borderColor() const { return m_borderColor; }
    void setBorderColor(const QColor& color);
    QColor backgroundColor() const { return m_backgroundColor; }
    void setBackGroundColor(const QColor& color);

    _KeyCombo keyCombo() const { return m_keyCombo; }
    void setKeyCombo(_KeyCombo keyCombo);
    // The glyph string of the combination; null when it is empty.
    QString keyComboString() const;
    QString keyChars() const;
    QString keyCharsIgnoringModifiers() const;

    // The five modifiers that are required, or present and allowed.
    quint64 filteredCocoaFlags(quint64 flags) const;
    // Always with allowsKeyOnly; otherwise when at least one modifier is set.
    bool validModifierFlags(quint64 flags) const;

    bool isRecording() const { return m_isRecording; }
    quint64 recordingFlags() const { return m_recordingFlags; }
    bool isAnimatingNow() const { return m_isAnimatingNow; }
    bool isAnimatingTowardsRecording() const { return m_isAnimatingTowardsRecording; }
    double transitionProgress() const { return m_transitionProgress; }
    // The timer that drives a transition; advanceTransition is its step.
    QTimer* transitionTimer() { return &m_transitionTimer; }
    void advanceTransition();

    // True when the event was handled; otherwise it goes on to the control's
    // parents.
    bool performKeyEquivalent(const KeyEvent& event);
    // The modifiers held changed (Cocoa flags).
    void flagsChanged(quint64 modifierFlags);
    void mousePressed(const QPoint& position, const QRect& cellFrame);
    void mouseMoved(const QPoint& position, const QRect& cellFrame);
    void mouseReleased(const QPoint& position, const QRect& cellFrame);
    void becomeFirstResponder();
    // Ends recording at once (no transition); so does hiding the control.
    void resignFirstResponder();

    // The remove button while idle, the snapback button while recording;
    // empty when neither is shown.
    QRect buttonRect(const QRect& cellFrame) const;
    void drawWithFrame(QPainter* painter, const QRect& cellFrame) const;
    // Makes the recording background again from the control's palette.
    void systemColorsDidChange();

    bool shortcutValidatorIsKeyCodeAndFlagsTaken(SRValidator* validator, qint64 keyCode, quint64 flags,
                                                 QString* reason) override;

private:
    bool isEmpty() const;
    // After a change of the allowed or required flags.
    void refilterFlags();
    bool isFirstResponder() const;
    void startRecording();
    void finishRecording();
    void beginTransition(bool towardsRecording);
    void enterRecording();
    void leaveRecording();
    void releaseKeyboard();
    void showAlert(const SRValidationError& error);
    void resetTrackingRects();
    void keyComboDidChange();
    void saveKeyCombo() const;
    void loadKeyCombo();
    void redraw();

    QWidget* m_controlView;
    QLinearGradient m_recordingGradient;
    QString m_autosaveName;
    bool m_isRecording = false;
    bool m_mouseInsideTrackingArea = false;
    bool m_mouseDown = false;
    int m_style = GradientBorderStyle;
    bool m_isAnimating = false;
    double m_transitionProgress = 0.0;
    bool m_isAnimatingNow = false;
    bool m_isAnimatingTowardsRecording = false;
    bool m_comboJustChanged = false;
    _KeyCombo m_keyCombo;
    bool m_hasKeyChars = false;
    QString m_keyChars;
    QString m_keyCharsIgnoringModifiers;
    quint64 m_allowedFlags = SRCocoaModifierFlags;
    quint64 m_requiredFlags = 0;
    quint64 m_recordingFlags = 0;
    bool m_allowsKeyOnly = false;
    bool m_escapeKeysRecord = false;
    QSet<qint64> m_cancelCharacterSet{53, 51, 117};
    SRValidator m_validator;
    SRRecorderCellDelegate* m_delegate = nullptr;
    bool m_globalHotKeys = false;
    bool m_showingAlert = false;
    // The modifiers of the last key or modifier event, Cocoa flags.
    quint64 m_currentEventFlags = 0;
    QColor m_borderColor;
    QColor m_backgroundColor;
    QTimer m_transitionTimer;
};
