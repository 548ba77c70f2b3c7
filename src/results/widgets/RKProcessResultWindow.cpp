#include "results/widgets/RKProcessResultWindow.h"

#include "results/widgets/RKCopyableTableCellView.h"
#include "ui/RKWindowFit.h"
#include "ui/RKWindowPlacement.h"
#include "ui_RKProcessResultWindow.h"

#include <QHeaderView>
#include <QLabel>
#include <QScreen>
#include <QTreeWidget>
#include <QToolButton>
#include <QTreeWidgetItem>

#include <algorithm>

namespace {

constexpr int kLabelColumn = 0;
constexpr int kValueColumn = 1;

} // namespace

RKProcessResultWindow::RKProcessResultWindow(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::RKProcessResultWindow>())
{
    ui->setupUi(this);
    QTreeWidgetItem* header = ui->outlineView->headerItem();
    header->setData(kLabelColumn, Qt::UserRole, labelColumnIdentifier());
    header->setData(kValueColumn, Qt::UserRole, valueColumnIdentifier());
    ui->outlineView->header()->setStretchLastSection(true);
    ui->outlineView->setColumnWidth(kLabelColumn, 260);

    connect(ui->btnClose, &QPushButton::clicked, this,
            &RKProcessResultWindow::btnCloseTouchUpInside);
    // A double-click neither collapses a row nor does anything else.
    ui->outlineView->setExpandsOnDoubleClick(false);
    connect(ui->outlineView, &QTreeWidget::itemDoubleClicked, this,
            &RKProcessResultWindow::doubleClick);
    RKFitToText(this);
}

RKProcessResultWindow::~RKProcessResultWindow() = default;

QTreeWidget* RKProcessResultWindow::outlineView() const
{
    return ui->outlineView;
}

void RKProcessResultWindow::showResults(QObject* centreOver,
                                        const QList<RKProcessResultInfo>& results)
{
    doDisplay(results);
    RKCentreOver(this, centreOver);
    exec();
}

void RKProcessResultWindow::doDisplay(const QList<RKProcessResultInfo>& results)
{
    m_results = results;
    resize(755, 300);
    reloadData();
    // The rows are expanded once the view has laid them out.
    QMetaObject::invokeMethod(this, &RKProcessResultWindow::expandOutline, Qt::QueuedConnection);
}

void RKProcessResultWindow::expandOutline()
{
    ui->outlineView->expandAll();
}

void RKProcessResultWindow::reloadData()
{
    QTreeWidget* tree = ui->outlineView;
    tree->clear();
    for (const RKProcessResultInfo& info : std::as_const(m_results)) {
        QTreeWidgetItem* top = addRow(
            nullptr, RowKind::Info, info.title,
            info.cancelled       ? QStringLiteral("処理がキャンセルされました。")
                : info.hasErrors() ? QStringLiteral("処理が完了しましたが、エラーがあります。")
                                   : QStringLiteral("処理が完了しました。"),
            false, false);
        QTreeWidgetItem* destination = addRow(top, RowKind::DestPath, QStringLiteral("保存先"),
                                              info.destPath.stringValue, true, false);
        valueCell(destination)->setShowItemPath(info.destPath.stringValue);
        if (info.password.leftEmpty()) {
            addRow(top, RowKind::Password, QStringLiteral("パスワード"),
                   QString::fromUtf16(u"なし（パスワードが空のため、暗号化されていません）"), false,
                   false);
        } else if (!info.password.stringValue.isNull()) {
            addRow(top, RowKind::Password, QStringLiteral("パスワード"),
                   info.password.stringValue, true, !info.password.showPassword);
        }
        if (!info.verify.crc.isNull()) {
            addRow(top, RowKind::Verify, QStringLiteral("CRC"), info.verify.crc, true, false);
        }
        QTreeWidgetItem* errors =
            addRow(top, RowKind::Errors,
                   QStringLiteral("エラー(%1)").arg(info.errors.items.size()), QString(), false,
                   false);
        for (const RQError& error : info.errors.items) {
            const QString reason = error.localizedFailureReason();
            QTreeWidgetItem* row =
                addRow(errors, RowKind::Error, error.localizedRecoverySuggestion(),
                       reason.isEmpty() ? error.localizedDescription()
                                        : error.localizedDescription() + QStringLiteral("（")
                               + reason + QStringLiteral("）"),
                       true, false);
            RKCopyableTableCellView* cell = valueCell(row);
            cell->setWrapsText(true);
            connect(cell, &RKCopyableTableCellView::heightNeeded, this, [this, row, cell](int height) {
                // The view takes the cell's own size hint too, which a
                // wrapping label makes tall and narrow: the row is held to
                // what the text needs. Laid out again on the next turn, as
                // this runs inside the view's own placing of its cells.
                row->setSizeHint(kValueColumn, QSize(0, height));
                cell->setFixedHeight(height);
                QMetaObject::invokeMethod(ui->outlineView, &QTreeWidget::doItemsLayout, Qt::QueuedConnection);
            });
        }
    }
}

QTreeWidgetItem* RKProcessResultWindow::addRow(QTreeWidgetItem* parent, RowKind kind,
                                               const QString& label, const QString& value,
                                               bool copyable, bool masked)
{
    auto* item = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(ui->outlineView);
    item->setText(kLabelColumn, label);
    item->setToolTip(kLabelColumn, label);
    item->setData(kLabelColumn, KindRole, static_cast<int>(kind));
    // A row without children (an errors row with no errors) shows no
    // expansion mark and cannot be expanded.
    item->setChildIndicatorPolicy(QTreeWidgetItem::DontShowIndicatorWhenChildless);

    auto* cell = new RKCopyableTableCellView;
    cell->setLabelString(value, masked);
    cell->btnCopy()->setVisible(copyable);
    ui->outlineView->setItemWidget(item, kValueColumn, cell);
    // Every row is as tall as one with a copy button, shown or not.
    item->setSizeHint(kValueColumn, QSize(0, cell->btnCopy()->sizeHint().height() + 2));
    return item;
}

RKCopyableTableCellView* RKProcessResultWindow::valueCell(QTreeWidgetItem* item) const
{
    return qobject_cast<RKCopyableTableCellView*>(ui->outlineView->itemWidget(item, kValueColumn));
}

void RKProcessResultWindow::btnCloseTouchUpInside()
{
    close();
}

void RKProcessResultWindow::doubleClick()
{
}

bool RKProcessResultWindow::close()
{
    done(0);
    return QDialog::close();
}

void RKProcessResultWindow::reject()
{
    // The window manager's close button and Escape end the loop like the
    // close button.
    done(0);
}
