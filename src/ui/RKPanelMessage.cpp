#include "ui/RKPanelMessage.h"

#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>

#include <tuple>
#include <vector>

QLabel* RKAddPanelMessage(QFileDialog* panel)
{
    auto* label = new QLabel(panel);
    label->setObjectName(QStringLiteral("message"));
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setVisible(false);

    auto* grid = qobject_cast<QGridLayout*>(panel->layout());
    if (!grid) {
        return label;
    }
    // Every item moves one row down to make the first row free for the message.
    std::vector<std::tuple<QLayoutItem*, int, int, int, int>> items;
    while (grid->count() > 0) {
        int row = 0;
        int column = 0;
        int rowSpan = 0;
        int columnSpan = 0;
        grid->getItemPosition(0, &row, &column, &rowSpan, &columnSpan);
        items.emplace_back(grid->takeAt(0), row, column, rowSpan, columnSpan);
    }
    const int columns = grid->columnCount();
    for (const auto& [item, row, column, rowSpan, columnSpan] : items) {
        grid->addItem(item, row + 1, column, rowSpan, columnSpan);
    }
    grid->addWidget(label, 0, 0, 1, columns);
    return label;
}
