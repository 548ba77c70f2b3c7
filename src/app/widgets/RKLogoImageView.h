#pragma once

#include <QIcon>
#include <QLabel>

// The application image in the drop window; a click opens the help page.
class RKLogoImageView : public QLabel
{
    Q_OBJECT

public:
    explicit RKLogoImageView(QWidget* parent = nullptr);

    // The application image "AppIconFULL".
    static QIcon appIconFULL();

signals:
    void clicked();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    bool m_pressed = false;
};
