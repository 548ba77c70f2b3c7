#pragma once

#include <QFileDialog>
#include <QFileInfo>
#include <QString>
#include <QStringList>

class QLabel;

// The save panel: Qt's own (non-native) file dialog, so that the placement
// its caller gives it stands, with a message line above the browser.
class RKSavePanel : public QFileDialog
{
    Q_OBJECT

public:
    explicit RKSavePanel(QWidget* parent = nullptr);

    // The message shown above the browser.
    void setMessage(const QString& message);
    QString message() const;

    // The folder of url becomes the initial folder, its last component the
    // proposed name (set the allowed types first: a name without one of them
    // is proposed with its extension replaced by the first, or for a folder
    // with the type appended).
    void setProposedPath(const QString& url);

    // File types (extensions without dot) that may be saved; empty: any. A
    // name typed without one of them gets the first appended.
    void setAllowedFileTypes(const QStringList& types);
    QStringList allowedFileTypes() const { return m_types; }

    // The chosen path after the panel was confirmed.
    QString chosenPath() const;

    // The name with the first allowed type appended when it has none of them.
    static QString nameWithAllowedType(const QString& name, const QStringList& types);
    static QString proposedName(const QFileInfo& proposed, const QStringList& types);

public slots:
    void accept() override;

private:
    QLabel* m_message;
    QStringList m_types;
};
