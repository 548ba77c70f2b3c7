#pragma once

#include <QStringList>
#include <QWidget>

class QAbstractButton;

// A row of joined buttons, each a command of its own (momentary: none stays
// pressed). A segment without a label fills the rest of the row and does
// nothing but report that it was pressed.
class RKSegmentedControl : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(QStringList segmentLabels READ segmentLabels WRITE setSegmentLabels)
    Q_PROPERTY(QStringList segmentToolTips READ segmentToolTips WRITE setSegmentToolTips)

public:
    explicit RKSegmentedControl(QWidget* parent = nullptr);

    // One segment per label, replacing those there were.
    QStringList segmentLabels() const { return m_labels; }
    void setSegmentLabels(const QStringList& labels);
    QStringList segmentToolTips() const { return m_toolTips; }
    void setSegmentToolTips(const QStringList& toolTips);

    int segmentCount() const { return int(m_segments.size()); }
    QAbstractButton* segment(int index) const;
    // The segment pressed last; -1 before any.
    int selectedSegment() const { return m_selectedSegment; }

signals:
    void segmentPressed(int segment);

private:
    QStringList m_labels;
    QStringList m_toolTips;
    QList<QAbstractButton*> m_segments;
    int m_selectedSegment = -1;
};
