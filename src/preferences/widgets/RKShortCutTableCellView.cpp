#include "preferences/widgets/RKShortCutTableCellView.h"

#include "shortcut/widgets/SRRecorderControl.h"

#include <QVBoxLayout>

RKShortCutTableCellView::RKShortCutTableCellView(QWidget* parent)
    : QWidget(parent)
    , m_shortCutControl(new SRRecorderControl(this))
{
    setObjectName(QStringLiteral("ShortCutViewCell"));
    m_shortCutControl->setObjectName(QStringLiteral("shortCutControl"));
    m_shortCutControl->setBorderColor(Qt::transparent);
    m_shortCutControl->setBackGroundColor(Qt::transparent);
    auto* fill = new QVBoxLayout(this);
    fill->setContentsMargins(0, 0, 0, 0);
    fill->addWidget(m_shortCutControl);
}

void RKShortCutTableCellView::setShortCut(quint64 code, qint64 flags, bool readonly)
{
    m_shortCutControl->setAllowsKeyOnly(true, false);
    m_shortCutControl->setEnabled(!readonly);
    setAttribute(Qt::WA_TransparentForMouseEvents, readonly);
    m_shortCutControl->setAttribute(Qt::WA_TransparentForMouseEvents, readonly);
    m_shortCutControl->setKeyCombo(SRMakeKeyCombo(qint64(code), quint64(flags)));
    m_shortCutControl->setHidden(code == ~quint64(0) && flags == 0);
}
