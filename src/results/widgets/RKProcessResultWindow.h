#pragma once

#include "results/RKProcessResultInfo.h"
#include "results/RKResultDisplay.h"

#include <QDialog>
#include <QList>

#include <memory>

class QTreeWidget;
class QTreeWidgetItem;
class RKCopyableTableCellView;

namespace Ui {
class RKProcessResultWindow;
}

// The result window of a job: one fully expanded top row per archive, with
// the destination, the password (when there was one) and the errors below
// it, every path, password and message with a copy button. Main thread.
class RKProcessResultWindow : public QDialog, public RKResultDisplay
{
    Q_OBJECT

public:
    // What a row shows; kept in the label column under KindRole.
    enum class RowKind { Info, DestPath, Password, Verify, Errors, Error };
    static constexpr int KindRole = Qt::UserRole + 1;
    // The column identifiers, kept in the header under Qt::UserRole.
    static QString labelColumnIdentifier() { return QStringLiteral("LabelColumn"); }
    static QString valueColumnIdentifier() { return QStringLiteral("ValueColumn"); }

    explicit RKProcessResultWindow(QWidget* parent = nullptr);
    ~RKProcessResultWindow() override;

    // Centred over centreOver (when it is a widget), filled and run modally.
    void showResults(QObject* centreOver, const QList<RKProcessResultInfo>& results) override;

    // Stores and shows the results, sizes the window to 755 x 300 keeping its
    // origin, and queues the expansion of every row.
    void doDisplay(const QList<RKProcessResultInfo>& results);
    void expandOutline();

    QList<RKProcessResultInfo> results() const { return m_results; }
    QTreeWidget* outlineView() const;
    // The value cell of a row (every row has one).
    RKCopyableTableCellView* valueCell(QTreeWidgetItem* item) const;

public slots:
    void btnCloseTouchUpInside();
    void doubleClick();
    // Closes the window and ends its modal loop with code 0.
    bool close();
    void reject() override;

private:
    QTreeWidgetItem* addRow(QTreeWidgetItem* parent, RowKind kind, const QString& label,
                            const QString& value, bool copyable, bool masked);
    void reloadData();

    std::unique_ptr<Ui::RKProcessResultWindow> ui;
    QList<RKProcessResultInfo> m_results;
};
