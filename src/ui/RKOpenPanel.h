#pragma once

#include <QFileDialog>
#include <QString>

class QLabel;

// The open panel: Qt's own (non-native) file dialog, so that the placement
// its caller gives it stands, with a message line above the browser. New
// folders can be made in it.
class RKOpenPanel : public QFileDialog
{
    Q_OBJECT

public:
    explicit RKOpenPanel(QWidget* parent = nullptr);

    void setMessage(const QString& message);
    QString message() const;

    // 0: files only, 1: folders only, 2: files and folders.
    void setSelectMode(int selectMode);
    int selectMode() const { return m_selectMode; }

    // The chosen path after the panel was confirmed.
    QString chosenPath() const { return m_chosenPath; }

public slots:
    void accept() override;

private:
    QLabel* m_message;
    int m_selectMode = 0;
    QString m_chosenPath;
};
