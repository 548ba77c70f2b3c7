#include "results/widgets/RKCopyableTableCellView.h"

#include "platform/RKFileManager.h"

#include <QClipboard>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QResizeEvent>
#include <QSizePolicy>
#include <QToolButton>

#include <algorithm>

RKCopyableTableCellView::RKCopyableTableCellView(QWidget* parent)
    : QWidget(parent)
    , m_textField(new QLabel(this))
    , m_btnCopy(new QToolButton(this))
    , m_btnShowFolder(new QToolButton(this))
{
    setObjectName(QStringLiteral("ValueCellView"));
    m_textField->setObjectName(QStringLiteral("textField"));
    // A long path is clipped by the column instead of widening the window.
    m_textField->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_textField->setTextFormat(Qt::PlainText);

    m_btnCopy->setObjectName(QStringLiteral("btnCopy"));
    m_btnCopy->setText(QStringLiteral("コピー"));
    m_btnCopy->setToolTip(QStringLiteral("クリップボードにコピー"));
    m_btnCopy->setFocusPolicy(Qt::NoFocus);

    m_btnShowFolder->setObjectName(QStringLiteral("btnShowFolder"));
    m_btnShowFolder->setText(QStringLiteral("フォルダを開く"));
    m_btnShowFolder->setToolTip(QStringLiteral("ファイルマネージャーで表示"));
    m_btnShowFolder->setFocusPolicy(Qt::NoFocus);
    m_btnShowFolder->setVisible(false);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(2, 0, 2, 0);
    layout->setSpacing(4);
    layout->addWidget(m_textField, 1);
    layout->addWidget(m_btnShowFolder, 0);
    layout->addWidget(m_btnCopy, 0);

    connect(m_btnCopy, &QToolButton::clicked, this, &RKCopyableTableCellView::btnCopyTouchUpInside);
    connect(m_btnShowFolder, &QToolButton::clicked, this,
            &RKCopyableTableCellView::btnShowFolderTouchUpInside);
}

void RKCopyableTableCellView::setWrapsText(bool wraps)
{
    m_textField->setWordWrap(wraps);
    QSizePolicy policy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    policy.setHeightForWidth(wraps);
    m_textField->setSizePolicy(policy);
    m_textField->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
}

void RKCopyableTableCellView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    const int width = event->size().width();
    if (!m_textField->wordWrap() || width == m_fittedWidth) {
        return;
    }
    m_fittedWidth = width;
    const int needed = std::max(m_btnCopy->sizeHint().height() + 2, layout()->totalHeightForWidth(width));
    if (needed != height()) {
        emit heightNeeded(needed);
    }
}

void RKCopyableTableCellView::setShowItemPath(const QString& path)
{
    m_showItemPath = path;
    m_btnShowFolder->setVisible(!path.isEmpty());
    m_btnShowFolder->setEnabled(!path.isEmpty() && QFileInfo::exists(path));
}

void RKCopyableTableCellView::btnShowFolderTouchUpInside()
{
    if (!m_showItemPath.isEmpty()) {
        RKFileManager::current()->showItem(m_showItemPath);
    }
}

void RKCopyableTableCellView::setLabelString(const QString& string, bool hidden)
{
    m_innerString = string;
    m_showString = hidden ? QString(string.size(), QLatin1Char('*')) : string;
    m_textField->setText(m_showString);
    m_textField->setToolTip(hidden ? QString() : m_showString);
}

void RKCopyableTableCellView::btnCopyTouchUpInside()
{
    QGuiApplication::clipboard()->setText(m_innerString, QClipboard::Clipboard);
}
