#include "preferences/widgets/RKSegmentedControl.h"

#include <QHBoxLayout>
#include <QToolButton>

RKSegmentedControl::RKSegmentedControl(QWidget* parent)
    : QWidget(parent)
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void RKSegmentedControl::setSegmentLabels(const QStringList& labels)
{
    m_labels = labels;
    qDeleteAll(m_segments);
    m_segments.clear();
    for (int index = 0; index < labels.size(); ++index) {
        auto* button = new QToolButton(this);
        button->setObjectName(QStringLiteral("segment%1").arg(index));
        button->setText(labels.at(index));
        button->setToolButtonStyle(Qt::ToolButtonTextOnly);
        const bool filler = labels.at(index).isEmpty();
        button->setSizePolicy(filler ? QSizePolicy::Expanding : QSizePolicy::Minimum, QSizePolicy::Fixed);
        button->setFocusPolicy(filler ? Qt::NoFocus : Qt::TabFocus);
        connect(button, &QToolButton::clicked, this, [this, index] {
            m_selectedSegment = index;
            emit segmentPressed(index);
        });
        layout()->addWidget(button);
        m_segments.append(button);
    }
    setSegmentToolTips(m_toolTips);
}

void RKSegmentedControl::setSegmentToolTips(const QStringList& toolTips)
{
    m_toolTips = toolTips;
    for (int index = 0; index < m_segments.size(); ++index) {
        m_segments.at(index)->setToolTip(toolTips.value(index));
    }
}

QAbstractButton* RKSegmentedControl::segment(int index) const
{
    return m_segments.value(index, nullptr);
}
