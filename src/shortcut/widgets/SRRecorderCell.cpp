#include "shortcut/widgets/SRRecorderCell.h"

#include "shortcut/widgets/SRAdditions.h"
#include "shortcut/widgets/SRRecorderCellDelegate.h"
#include "shortcut/widgets/SRSharedImageProvider.h"

#include <QApplication>
#include <QGuiApplication>
#include <QMessageBox>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QSettings>
#include <QVariantMap>
#include <QWidget>

#include <algorithm>

namespace {

constexpr qreal kRingWidth = 3.0;
constexpr int kButtonSize = 14;

QString settingsKey(const QString& autosaveName)
{
    return SRFormat(QStringLiteral("ShortcutRecorder %@"), {autosaveName});
}

} // namespace

SRRecorderCell::SRRecorderCell(QWidget* controlView)
    : m_controlView(controlView)
    , m_validator(this)
{
    m_transitionTimer.setInterval(kTransitionInterval);
    m_transitionTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_transitionTimer, &QTimer::timeout, this, &SRRecorderCell::advanceTransition);
    systemColorsDidChange();
}

SRRecorderCell::~SRRecorderCell()
{
    releaseKeyboard();
}

void SRRecorderCell::setAllowedFlags(quint64 flags)
{
    m_allowedFlags = flags;
    refilterFlags();
}

void SRRecorderCell::setRequiredFlags(quint64 flags)
{
    m_requiredFlags = flags;
    refilterFlags();
}

void SRRecorderCell::refilterFlags()
{
    if (m_isRecording) {
        m_recordingFlags = filteredCocoaFlags(m_currentEventFlags);
    } else {
        const quint64 filtered = filteredCocoaFlags(m_keyCombo.flags);
        if (filtered != m_keyCombo.flags) {
            m_keyCombo.flags = filtered;
            if (m_keyCombo.code != -1) {
                keyComboDidChange();
                saveKeyCombo();
            }
        }
    }
    redraw();
}

void SRRecorderCell::setAllowsKeyOnly(bool allowsKeyOnly, bool escapeKeysRecord)
{
    m_allowsKeyOnly = allowsKeyOnly;
    m_escapeKeysRecord = escapeKeysRecord;
}

void SRRecorderCell::setStyle(int style)
{
    m_style = style;
    redraw();
}

void SRRecorderCell::setAutosaveName(const QString& name)
{
    m_autosaveName = name;
    loadKeyCombo();
}

void SRRecorderCell::setBorderColor(const QColor& color)
{
    m_borderColor = color;
    redraw();
}

void SRRecorderCell::setBackGroundColor(const QColor& color)
{
    m_backgroundColor = color;
    redraw();
}

void SRRecorderCell::setKeyCombo(_KeyCombo keyCombo)
{
    m_keyCombo = SRMakeKeyCombo(keyCombo.code, filteredCocoaFlags(keyCombo.flags));
    m_hasKeyChars = false;
    keyComboDidChange();
    saveKeyCombo();
    redraw();
}

bool SRRecorderCell::isEmpty() const
{
    return !validModifierFlags(m_keyCombo.flags) || SRDisplayStringForKeyCode(m_keyCombo.code).isEmpty();
}

QString SRRecorderCell::keyComboString() const
{
    return isEmpty() ? QString() : SRGlyphStringForCocoaFlagsAndKeyCode(m_keyCombo.flags, m_keyCombo.code);
}

QString SRRecorderCell::keyChars() const
{
    return m_hasKeyChars ? m_keyChars : SRDisplayStringForKeyCode(m_keyCombo.code);
}

QString SRRecorderCell::keyCharsIgnoringModifiers() const
{
    return m_hasKeyChars ? m_keyCharsIgnoringModifiers
                         : SRLayoutCharacterForKeyCodeAndCocoaFlags(m_keyCombo.code, m_keyCombo.flags);
}

quint64 SRRecorderCell::filteredCocoaFlags(quint64 flags) const
{
    quint64 filtered = 0;
    for (const quint64 modifier :
         {SRCocoaCommandFlag, SRCocoaOptionFlag, SRCocoaControlFlag, SRCocoaShiftFlag, SRFunctionFlag}) {
        if ((m_requiredFlags & modifier) || ((flags & modifier) && (m_allowedFlags & modifier))) {
            filtered |= modifier;
        }
    }
    return filtered;
}

bool SRRecorderCell::validModifierFlags(quint64 flags) const
{
    return m_allowsKeyOnly || (flags & SRCocoaModifierFlags) != 0;
}

bool SRRecorderCell::isFirstResponder() const
{
    return m_controlView->window()->focusWidget() == m_controlView;
}

bool SRRecorderCell::performKeyEquivalent(const KeyEvent& event)
{
    m_currentEventFlags = event.modifierFlags;
    // A transition runs to its end; keys pressed meanwhile are dropped.
    if (m_isAnimatingNow) {
        return true;
    }
    const quint64 flags = filteredCocoaFlags(event.modifierFlags);
    const bool snapback = m_cancelCharacterSet.contains(event.keyCode);
    const bool valid = validModifierFlags(snapback ? event.modifierFlags : flags);

    if (!m_isRecording && event.characters == QStringLiteral(" ")) {
        startRecording();
        return true;
    }
    if (m_isRecording && valid) {
        const bool cancels = snapback && m_allowsKeyOnly && (flags == 0 || flags == SRFunctionFlag) && !m_escapeKeysRecord;
        if (!cancels) {
            if (event.charactersIgnoringModifiers.toUpper().isEmpty()) {
                // A dead key types nothing by itself.
                QApplication::beep();
            } else {
                SRValidationError error;
                if (m_validator.isKeyCodeAndFlagsTaken(event.keyCode, SRCarbonFlagsFromCocoaFlags(flags), &error)) {
                    QPointer<SRRecorderCell> alive(this);
                    showAlert(error);
                    if (alive) {
                        m_recordingFlags =
                            filteredCocoaFlags(SRCocoaFlagsFromQtModifiers(QGuiApplication::queryKeyboardModifiers()));
                        redraw();
                    }
                    return true;
                }
                m_keyCombo = SRMakeKeyCombo(event.keyCode, flags);
                m_hasKeyChars = true;
                m_keyChars = event.characters;
                m_keyCharsIgnoringModifiers = event.charactersIgnoringModifiers;
                keyComboDidChange();
                saveKeyCombo();
                m_comboJustChanged = true;
            }
        }
        finishRecording();
        return true;
    }
    if (m_isRecording && snapback) {
        finishRecording();
        return true;
    }
    if (isFirstResponder() && m_controlView->isEnabled() && event.characters.startsWith(QLatin1Char(' '))) {
        startRecording();
    }
    return false;
}

void SRRecorderCell::flagsChanged(quint64 modifierFlags)
{
    m_currentEventFlags = modifierFlags;
    if (m_isRecording) {
        m_recordingFlags = filteredCocoaFlags(modifierFlags);
        redraw();
    }
}

void SRRecorderCell::mousePressed(const QPoint& position, const QRect& cellFrame)
{
    const QRect button = buttonRect(cellFrame);
    m_mouseDown = button.contains(position);
    m_mouseInsideTrackingArea = m_mouseDown;
    redraw();
}

void SRRecorderCell::mouseMoved(const QPoint& position, const QRect& cellFrame)
{
    const bool inside = buttonRect(cellFrame).contains(position);
    if (inside != m_mouseInsideTrackingArea) {
        m_mouseInsideTrackingArea = inside;
        redraw();
    }
}

void SRRecorderCell::mouseReleased(const QPoint& position, const QRect& cellFrame)
{
    const bool onButton = m_mouseDown && buttonRect(cellFrame).contains(position);
    const bool enabled = m_controlView->isEnabled();
    if (onButton) {
        if (m_isRecording) {
            finishRecording();
        } else {
            setKeyCombo(SRMakeKeyCombo(-1, 0));
        }
    } else if (!m_isRecording && enabled && cellFrame.contains(position)) {
        startRecording();
    }
    if (enabled) {
        m_controlView->setFocus(Qt::MouseFocusReason);
    }
    resetTrackingRects();
    redraw();
}

void SRRecorderCell::becomeFirstResponder()
{
    redraw();
}

void SRRecorderCell::resignFirstResponder()
{
    // The alert of a refused combination takes the focus while it is up;
    // recording goes on behind it.
    if (m_showingAlert) {
        return;
    }
    m_transitionTimer.stop();
    m_isAnimatingNow = false;
    if (m_isRecording) {
        m_recordingFlags = 0;
        leaveRecording();
    }
    resetTrackingRects();
    redraw();
}

void SRRecorderCell::startRecording()
{
    if (m_isRecording || m_isAnimatingNow) {
        return;
    }
    if (m_isAnimating && m_style == GreyStyle) {
        beginTransition(true);
    } else {
        enterRecording();
    }
}

void SRRecorderCell::finishRecording()
{
    m_recordingFlags = 0;
    if (m_isAnimating && m_style == GreyStyle) {
        beginTransition(false);
    } else {
        leaveRecording();
    }
    resetTrackingRects();
    redraw();
}

void SRRecorderCell::beginTransition(bool towardsRecording)
{
    m_isAnimatingNow = true;
    m_isAnimatingTowardsRecording = towardsRecording;
    m_transitionProgress = 0.0;
    m_transitionTimer.start();
    redraw();
}

void SRRecorderCell::advanceTransition()
{
    if (!m_isAnimatingNow) {
        m_transitionTimer.stop();
        return;
    }
    m_transitionProgress += kTransitionStep;
    if (m_transitionProgress >= 0.998) {
        m_transitionTimer.stop();
        m_isAnimatingNow = false;
        m_transitionProgress = 1.0;
        if (m_isAnimatingTowardsRecording) {
            enterRecording();
        } else {
            leaveRecording();
        }
    }
    redraw();
}

void SRRecorderCell::enterRecording()
{
    m_isRecording = true;
    m_recordingFlags = m_requiredFlags;
    if (m_globalHotKeys) {
        m_controlView->grabKeyboard();
    }
    redraw();
}

void SRRecorderCell::leaveRecording()
{
    m_isRecording = false;
    m_comboJustChanged = false;
    releaseKeyboard();
    redraw();
}

void SRRecorderCell::releaseKeyboard()
{
    if (QWidget::keyboardGrabber() == m_controlView) {
        m_controlView->releaseKeyboard();
    }
}

void SRRecorderCell::showAlert(const SRValidationError& error)
{
    std::unique_ptr<QMessageBox> alert = alertWithNonRecoverableError(error, m_controlView->window());
    alert->setObjectName(QStringLiteral("SRValidationAlert"));
    alert->setIcon(QMessageBox::Critical);
    alert->setWindowModality(Qt::WindowModal);
    // The alert must get the keys its button answers to.
    releaseKeyboard();
    m_showingAlert = true;
    QPointer<SRRecorderCell> alive(this);
    alert->exec();
    if (!alive) {
        return;
    }
    m_showingAlert = false;
    if (m_isRecording && m_globalHotKeys) {
        m_controlView->grabKeyboard();
    }
}

void SRRecorderCell::resetTrackingRects()
{
    m_mouseInsideTrackingArea = false;
    m_mouseDown = false;
}

void SRRecorderCell::keyComboDidChange()
{
    if (m_delegate) {
        m_delegate->shortcutRecorderCellKeyComboDidChange(this, m_keyCombo);
    }
}

void SRRecorderCell::saveKeyCombo() const
{
    if (m_autosaveName.isEmpty()) {
        return;
    }
    QVariantMap kept{
        {QStringLiteral("keyCode"), qint16(m_keyCombo.code)},
        {QStringLiteral("modifierFlags"), m_keyCombo.flags},
        {QStringLiteral("modifiers"), SRCarbonFlagsFromCocoaFlags(m_keyCombo.flags)},
    };
    if (m_hasKeyChars) {
        kept.insert(QStringLiteral("keyChars"), m_keyChars);
        kept.insert(QStringLiteral("keyCharsIgnoringModifiers"), m_keyCharsIgnoringModifiers);
    }
    QSettings().setValue(settingsKey(m_autosaveName), kept);
}

void SRRecorderCell::loadKeyCombo()
{
    if (m_autosaveName.isEmpty()) {
        return;
    }
    const QVariantMap kept = QSettings().value(settingsKey(m_autosaveName)).toMap();
    if (kept.isEmpty()) {
        return;
    }
    const quint64 flags = kept.contains(QStringLiteral("modifierFlags"))
                              ? kept.value(QStringLiteral("modifierFlags")).toULongLong()
                              : SRCocoaFlagsFromCarbonFlags(kept.value(QStringLiteral("modifiers")).toUInt());
    m_keyCombo = SRMakeKeyCombo(qint16(kept.value(QStringLiteral("keyCode")).toInt()), filteredCocoaFlags(flags));
    m_hasKeyChars = kept.contains(QStringLiteral("keyChars"));
    m_keyChars = kept.value(QStringLiteral("keyChars")).toString();
    m_keyCharsIgnoringModifiers = kept.value(QStringLiteral("keyCharsIgnoringModifiers")).toString();
    redraw();
}

void SRRecorderCell::redraw()
{
    m_controlView->update();
}

bool SRRecorderCell::shortcutValidatorIsKeyCodeAndFlagsTaken(SRValidator*, qint64 keyCode, quint64 flags,
                                                             QString* reason)
{
    return m_delegate && m_delegate->shortcutRecorderCellIsKeyCodeAndFlagsTaken(this, keyCode, flags, reason);
}

// ---- drawing

namespace {

// The field leaves room around it for the focus ring.
QRectF fieldRect(const QRect& cellFrame)
{
    const qreal inset = kRingWidth - 0.5;
    return QRectF(cellFrame).adjusted(inset, inset, -inset, -inset);
}

} // namespace

QRect SRRecorderCell::buttonRect(const QRect& cellFrame) const
{
    const bool showsRecording = m_isAnimatingNow ? m_isAnimatingTowardsRecording : m_isRecording;
    if (!m_controlView->isEnabled() || (!showsRecording && isEmpty())) {
        return QRect();
    }
    const QRectF field = fieldRect(cellFrame);
    const int size = std::min(kButtonSize, int(field.height()) - 6);
    if (size < 8) {
        return QRect();
    }
    const qreal margin = (field.height() - size) / 2.0;
    return QRect(int(field.right() - margin - size), int(field.center().y() - size / 2.0), size, size);
}

void SRRecorderCell::systemColorsDidChange()
{
    const QColor highlight = m_controlView->palette().color(QPalette::Highlight);
    m_recordingGradient = QLinearGradient(0, 0, 0, 1);
    m_recordingGradient.setCoordinateMode(QGradient::ObjectMode);
    m_recordingGradient.setColorAt(0.0, QColor::fromHslF(highlight.hslHueF(), highlight.hslSaturationF() * 0.8, 0.93));
    m_recordingGradient.setColorAt(1.0, QColor::fromHslF(highlight.hslHueF(), highlight.hslSaturationF() * 0.8, 0.82));
}

void SRRecorderCell::drawWithFrame(QPainter* painter, const QRect& cellFrame) const
{
    const QPalette& palette = m_controlView->palette();
    const bool enabled = m_controlView->isEnabled();
    const bool showsRecording = m_isAnimatingNow ? m_isAnimatingTowardsRecording : m_isRecording;
    // How far the look has gone from idle (0) to recording (1).
    double recordingLook = m_isRecording ? 1.0 : 0.0;
    if (m_isAnimatingNow) {
        const double eased = SREaseInOut(std::min(m_transitionProgress, 1.0));
        recordingLook = m_isAnimatingTowardsRecording ? eased : 1.0 - eased;
    }

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QRectF field = fieldRect(cellFrame);
    const qreal radius = field.height() / 2.0;
    QPainterPath outline;
    outline.addRoundedRect(field, radius, radius);

    QColor background = m_backgroundColor;
    if (!background.isValid()) {
        background = m_style == GreyStyle ? palette.color(QPalette::Button) : palette.color(QPalette::Base);
    }
    painter->fillPath(outline, background);
    if (recordingLook > 0.0) {
        painter->setOpacity(recordingLook);
        painter->fillPath(outline, m_recordingGradient);
        painter->setOpacity(1.0);
    }
    if (m_borderColor.isValid()) {
        painter->setPen(QPen(m_borderColor, 1.0));
    } else {
        // Shaded: darker along the top edge, as if the field were sunk in.
        QLinearGradient shade(field.topLeft(), field.bottomLeft());
        const QColor dark = palette.color(QPalette::Dark);
        shade.setColorAt(0.0, m_style == GreyStyle ? dark : dark.darker(115));
        shade.setColorAt(1.0, m_style == GreyStyle ? dark : palette.color(QPalette::Mid));
        painter->setPen(QPen(QBrush(shade), 1.0));
    }
    painter->drawPath(outline);
    if (recordingLook > 0.0) {
        QColor ring = palette.color(QPalette::Highlight);
        ring.setAlphaF(0.55 * recordingLook);
        painter->setPen(QPen(ring, kRingWidth));
        const qreal out = kRingWidth / 2.0;
        painter->drawRoundedRect(field.adjusted(-out, -out, out, out), radius + out, radius + out);
    }

    const QRect button = buttonRect(cellFrame);
    if (!button.isEmpty()) {
        QString image = QStringLiteral("SRSnapback");
        if (!showsRecording) {
            image = QStringLiteral("SRRemoveShortcut");
            if (m_mouseDown && m_mouseInsideTrackingArea) {
                image = SRFormat(QStringLiteral("SRRemoveShortcut%@"), {QStringLiteral("Pressed")});
            } else if (m_mouseInsideTrackingArea) {
                image = SRFormat(QStringLiteral("SRRemoveShortcut%@"), {QStringLiteral("Rollover")});
            }
        }
        painter->drawPixmap(button, SRSharedImageProvider::supportingImageWithName(image));
    }

    QString text;
    bool prompt = false;
    if (showsRecording) {
        const QString held = SRModifierGlyphsForCocoaFlags(m_recordingFlags);
        if (m_mouseInsideTrackingArea) {
            text = SRLoc("Use old shortcut");
        } else if (!held.isEmpty()) {
            text = held;
        } else {
            text = SRLoc("Type shortcut");
            prompt = true;
        }
    } else {
        text = keyComboString();
        if (text.isNull()) {
            text = SRLoc("Click to record shortcut");
            prompt = true;
        }
    }
    QFont font = m_controlView->font();
    font.setBold(m_comboJustChanged);
    painter->setFont(font);
    QColor color = palette.color(QPalette::Active, QPalette::Text);
    if (prompt) {
        color = palette.color(QPalette::PlaceholderText);
    } else if (!enabled) {
        // Disabled, the control is a read-only display (a table's shortcut
        // column): dimmed, yet readable, unlike the palette's disabled text.
        color.setAlphaF(0.6);
    }
    painter->setPen(color);
    // The text is centred on the field, clear of the button on the right.
    const qreal side = button.isEmpty() ? radius : field.right() - button.left() + 2.0;
    const QRectF textRect = field.adjusted(side, 0, -side, 0);
    painter->drawText(textRect, Qt::AlignCenter,
                      painter->fontMetrics().elidedText(text, Qt::ElideMiddle, int(textRect.width())));
    painter->restore();
}
