#include "ui/RKOpenPanel.h"

#include "ui/RKPanelMessage.h"
#include "ui/RKWindowFit.h"

#include <QFileInfo>
#include <QLabel>

RKOpenPanel::RKOpenPanel(QWidget* parent)
    : QFileDialog(parent)
{
    setOption(QFileDialog::DontUseNativeDialog, true);
    setAcceptMode(QFileDialog::AcceptOpen);
    // New folders may be made in the panel.
    setOption(QFileDialog::ReadOnly, false);
    m_message = RKAddPanelMessage(this);
    setSelectMode(0);
}

void RKOpenPanel::setMessage(const QString& message)
{
    m_message->setText(message);
    m_message->setVisible(!message.isEmpty());
    RKFitLabelToText(m_message, RKLongestLineWidth(this));
}

QString RKOpenPanel::message() const
{
    return m_message->text();
}

void RKOpenPanel::setSelectMode(int selectMode)
{
    m_selectMode = selectMode;
    switch (selectMode) {
    case 1:
        setFileMode(QFileDialog::Directory);
        setOption(QFileDialog::ShowDirsOnly, true);
        break;
    case 2:
        // Qt's dialog chooses either files or folders; in folder mode with
        // files listed, accept() below lets a file through as well.
        setFileMode(QFileDialog::Directory);
        setOption(QFileDialog::ShowDirsOnly, false);
        break;
    default:
        setFileMode(QFileDialog::ExistingFile);
        setOption(QFileDialog::ShowDirsOnly, false);
        break;
    }
}

void RKOpenPanel::accept()
{
    const QStringList files = selectedFiles();
    m_chosenPath = files.isEmpty() ? QString() : files.first();
    if (m_selectMode == 2 && !m_chosenPath.isEmpty() && QFileInfo(m_chosenPath).isFile()) {
        // Folder mode would refuse a file; in this mode a file is an answer.
        QDialog::accept();
        return;
    }
    QFileDialog::accept();
    if (result() != QDialog::Accepted) {
        m_chosenPath.clear();
    } else {
        const QStringList chosen = selectedFiles();
        m_chosenPath = chosen.isEmpty() ? QString() : chosen.first();
    }
}
