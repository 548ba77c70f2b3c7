#include "ui/RKPanelMemory.h"

#include <QFileDialog>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QSettings>
#include <QTreeView>

#include <algorithm>

namespace {

QString key(const QString& name, const char* what)
{
    return QStringLiteral("Panels/%1/%2").arg(name, QLatin1String(what));
}

} // namespace

void RKPanelMemory::attach(QFileDialog* panel, const QString& name)
{
    const QSettings settings;
    const QByteArray state = settings.value(key(name, "state")).toByteArray();
    if (!state.isEmpty()) {
        panel->restoreState(state);
    }
    const QSize size = settings.value(key(name, "size")).toSize();
    if (size.isValid()) {
        panel->resize(size);
    }
    if (auto* model = panel->findChild<QFileSystemModel*>()) {
        QObject::connect(model, &QFileSystemModel::directoryLoaded, panel, [panel] { fitColumns(panel); });
    }
    QObject::connect(panel, &QDialog::finished, panel, [panel, name] {
        QSettings settings;
        settings.setValue(key(name, "state"), panel->saveState());
        settings.setValue(key(name, "size"), panel->size());
    });
}

void RKPanelMemory::fitColumns(QFileDialog* panel)
{
    auto* view = panel->findChild<QTreeView*>(QStringLiteral("treeView"));
    if (!view || !view->model()) {
        return;
    }
    QHeaderView* header = view->header();
    int details = 0;
    for (int column = 1; column < header->count(); ++column) {
        if (header->isSectionHidden(column)) {
            continue;
        }
        const int wanted = std::max(static_cast<QAbstractItemView*>(view)->sizeHintForColumn(column), header->sectionSizeHint(column));
        if (header->sectionSize(column) < wanted) {
            header->resizeSection(column, wanted);
        }
        details += header->sectionSize(column);
    }
    // The name column gives way to the details, down to a third of the view.
    const int viewWidth = view->viewport()->width();
    header->resizeSection(0, std::max(viewWidth / 3, viewWidth - details));
}
