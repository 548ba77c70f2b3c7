#include "ui/RKSavePanel.h"

#include "ui/RKPanelMessage.h"
#include "ui/RKWindowFit.h"

#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>

RKSavePanel::RKSavePanel(QWidget* parent)
    : QFileDialog(parent)
{
    setOption(QFileDialog::DontUseNativeDialog, true);
    setAcceptMode(QFileDialog::AcceptSave);
    setFileMode(QFileDialog::AnyFile);
    m_message = RKAddPanelMessage(this);
}

void RKSavePanel::setMessage(const QString& message)
{
    m_message->setText(message);
    m_message->setVisible(!message.isEmpty());
    RKFitLabelToText(m_message, RKLongestLineWidth(this));
}

QString RKSavePanel::message() const
{
    return m_message->text();
}

void RKSavePanel::setProposedPath(const QString& url)
{
    if (url.isEmpty()) {
        return;
    }
    const QFileInfo proposed(url);
    setDirectory(proposed.absolutePath());
    selectFile(proposedName(proposed, m_types));
}

void RKSavePanel::setAllowedFileTypes(const QStringList& types)
{
    m_types = types;
    if (types.isEmpty()) {
        setNameFilters({});
        return;
    }
    QStringList globs;
    for (const QString& type : types) {
        globs.append(QStringLiteral("*.") + type);
    }
    setNameFilter(QStringLiteral("%1 (%2)").arg(types.join(QLatin1Char(',')), globs.join(QLatin1Char(' '))));
}

QString RKSavePanel::nameWithAllowedType(const QString& name, const QStringList& types)
{
    if (types.isEmpty() || name.isEmpty()) {
        return name;
    }
    for (const QString& type : types) {
        if (name.endsWith(QLatin1Char('.') + type, Qt::CaseInsensitive)
            && name.size() > type.size() + 1) {
            return name;
        }
    }
    return name + QLatin1Char('.') + types.first();
}

QString RKSavePanel::proposedName(const QFileInfo& proposed, const QStringList& types)
{
    const QString name = proposed.fileName();
    if (types.isEmpty() || nameWithAllowedType(name, types) == name) {
        return name;
    }
    // A dropped item is proposed under its archive's name: the name of a
    // folder would make the dialog open that folder instead of saving.
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    const QString base = (proposed.isDir() || dot <= 0) ? name : name.left(dot);
    return base + QLatin1Char('.') + types.first();
}

QString RKSavePanel::chosenPath() const
{
    const QStringList files = selectedFiles();
    return files.isEmpty() ? QString() : files.first();
}

void RKSavePanel::accept()
{
    // The type goes on before the dialog checks for an existing file, so the
    // replace question is asked about the name that will be written.
    if (auto* nameEdit = findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))) {
        const QString typed = nameEdit->text();
        const QString withType = nameWithAllowedType(typed, m_types);
        if (withType != typed) {
            nameEdit->setText(withType);
        }
    }
    QFileDialog::accept();
}
